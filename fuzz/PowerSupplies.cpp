// SPDX-License-Identifier: MIT
#include "Platform/Machine/PowerSupplies.h"

#include "Platform/Machine/Battery.h"
#include "Platform/Machine/KernelText.h"
#include "Platform/Machine/SystemPower.h"
#include "fuzz/FuzzTarget.h"

#include <cmath>

namespace kestrum {

namespace {

using namespace std::chrono_literals;

constexpr int mostMinutes = 99 * 60;

std::vector<PowerSupply> supplies(std::string_view input)
{
    std::vector<PowerSupply> list;
    for (std::string_view files : parts(input, 3)) {
        const bool isBattery = KernelText::takeLine(files) == "Battery";
        list.emplace_back(
            isBattery, [&files](const char*) { return KernelFile::saying(KernelText::takeLine(files)); });
    }
    return list;
}

// Three supplies: a line each for type, state, power, current, voltage, energy, full energy, charge, full charge and percentage.
void runPowerSupplies(std::string_view input)
{
    std::vector<PowerSupply> list = supplies(input);
    for (PowerSupply& supply : list) {
        const auto watts = supply.watts();
        expect(!watts || (*watts >= 0 && std::isfinite(*watts)), "a power is not negative");
    }
    const auto drawn = SystemPower::of(list);
    expect(!drawn || (*drawn > 0 && std::isfinite(*drawn)), "a machine that runs draws power");
    Battery battery;
    const auto first = battery.read(list, 100s);
    const auto later = battery.read(list, 120s);
    for (const auto& state : { first, later }) {
        if (!state)
            continue;
        expect(state->charge >= 0 && state->charge <= 1, "a charge is a share");
        expect(!state->minutes || (*state->minutes > 0 && *state->minutes <= mostMinutes),
            "a time is in its range");
        expect(!state->minutes || state->status == BatteryState::Status::charging
                || state->status == BatteryState::Status::discharging,
            "only what works has a time");
    }
    expect(!first || !first->minutes, "the first read gives no time");
    expect(first.has_value() == later.has_value(), "a battery stays a battery");
    expect(!first || (first->charge == later->charge && first->status == later->status),
        "the same files say the same");
}

const FuzzTarget powerSuppliesTarget("PowerSupplies", runPowerSupplies);

} // namespace
} // namespace kestrum
