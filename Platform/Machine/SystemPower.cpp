// SPDX-License-Identifier: MIT
#include "Platform/Machine/SystemPower.h"

namespace kestrum {

SystemPower::SystemPower(const QString& root)
    : m_supplies(root)
{
}

std::optional<double> SystemPower::read()
{
    return of(m_supplies.present());
}

std::optional<double> SystemPower::of(std::vector<PowerSupply>& supplies)
{
    double drawn = 0;
    double delivered = 0;
    double charged = 0;
    bool isMeasured = true;
    bool isDischarging = false;
    for (PowerSupply& supply : supplies) {
        const std::string_view state = supply.state.readWord();
        if (!supply.isBattery) {
            if (state == "1")
                delivered += supply.watts().value_or(0);
        } else if (state == "Discharging") {
            isDischarging = true;
            const auto watts = supply.watts();
            isMeasured = isMeasured && watts;
            drawn += watts.value_or(0);
        } else if (state == "Charging") {
            charged += supply.watts().value_or(0);
        }
    }
    const double watts = isDischarging ? drawn : delivered - charged;
    // A running machine uses some power, so 0 means that the firmware does not know the power.
    if ((isDischarging && !isMeasured) || watts <= 0)
        return std::nullopt;
    return watts;
}

} // namespace kestrum
