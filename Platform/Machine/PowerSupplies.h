// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace kestrum {

/// A battery or a mains adapter in "/sys/class/power_supply". Its files stay open once they are read.
struct PowerSupply {
    /// `file` gives the supply's file of that name.
    PowerSupply(bool isBattery, const std::function<KernelFile(const char* name)>& file);

    /// The power in watts, never negative; nothing if the supply reports none.
    std::optional<double> watts();

    bool isBattery;
    KernelFile state; ///< "status" of a battery, "online" of an adapter
    KernelFile power;
    KernelFile current;
    KernelFile voltage;
    KernelFile energyNow, energyFull; ///< µWh; many batteries have the next two instead
    KernelFile chargeNow, chargeFull; ///< µAh
    KernelFile capacity;              ///< percent
};

/// The supplies that power the machine. Each reader has its own.
class PowerSupplies {
public:
    explicit PowerSupplies(const QString& root = {});

    /// The supplies at this moment; valid until the next call. The folder is listed at each call.
    std::vector<PowerSupply>& present();

private:
    QString m_folder;
    QStringList m_names;
    std::vector<PowerSupply> m_supplies;
};

} // namespace kestrum
