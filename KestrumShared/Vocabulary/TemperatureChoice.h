// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"

namespace kestrum {

namespace Units {

/// The choice of the unit in which temperatures are shown; `system` means the usual unit in the user's region.
enum class TemperatureChoice { system, celsius, fahrenheit };

} // namespace Units

template <> struct Enumeration<Units::TemperatureChoice> {
    static constexpr EnumerationCase<Units::TemperatureChoice> cases[] = {
        { Units::TemperatureChoice::system, "system", "System" },
        { Units::TemperatureChoice::celsius, "celsius", "Celsius" },
        { Units::TemperatureChoice::fahrenheit, "fahrenheit", "Fahrenheit" },
    };
};

} // namespace kestrum
