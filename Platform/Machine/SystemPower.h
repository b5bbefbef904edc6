#pragma once

#include "Platform/Machine/KernelFile.h"

#include <QStringList>
#include <optional>
#include <vector>

namespace kestrum {

/// Power of the whole machine, as batteries and other supplies in "/sys/class/power_supply" measure it. A firmware may take
/// its time to answer: for a worker.
class SystemPower {
public:
    explicit SystemPower(const QString& root = {});

    /// Watts: what the discharging batteries give together, else what the mains adapters that measure it give, less what
    /// goes into the batteries. Nothing where nobody measures.
    std::optional<double> read();

private:
    struct Supply {
        explicit Supply(const QString& folder, bool isBattery);
        std::optional<double> watts();
        bool isBattery;
        KernelFile state; ///< "status" of a battery, "online" of an adapter
        KernelFile power;
        KernelFile current;
        KernelFile voltage;
    };
    void findSupplies();

    QString m_folder;
    QStringList m_names;
    std::vector<Supply> m_supplies;
};

} // namespace kestrum
