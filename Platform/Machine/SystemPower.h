// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/PowerSupplies.h"

#include <optional>

namespace kestrum {

/// The power of the whole machine, as batteries and other supplies in "/sys/class/power_supply" measure it. Firmware may
/// answer slowly, so call `read` on a worker thread.
class SystemPower {
public:
    explicit SystemPower(const QString& root = {});

    /// The power in watts. While a battery discharges, the power is the sum over the discharging batteries. Otherwise it
    /// is the sum over the mains adapters that measure their power, minus the power that charges batteries. Nothing if no
    /// supply measures the power.
    std::optional<double> read();
    /// The same of these supplies.
    static std::optional<double> of(std::vector<PowerSupply>& supplies);

private:
    PowerSupplies m_supplies;
};

} // namespace kestrum
