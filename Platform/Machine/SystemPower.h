// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <QStringList>
#include <optional>
#include <vector>

namespace kestrum {

/// Power of the whole machine, as measured by batteries and other supplies in "/sys/class/power_supply". Firmware may
/// answer slowly, so it belongs on a worker.
class SystemPower {
public:
    explicit SystemPower(const QString& root = {});

    /// In watts: the sum of the discharging batteries, else the sum of the mains adapters that measure it, less the power
    /// that charges batteries. Nothing where nothing measures it.
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
