// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/TemperatureChoice.h"

#include <QString>

namespace kestrum {

/// Display texts of temperatures, which are given in degrees Celsius. Each call reads the choice, the language and the
/// region again.
namespace Units {

enum class TemperatureUnit { celsius, fahrenheit };

/// The stored choice; `system` when it is absent or not understood.
TemperatureChoice temperatureChoice();

/// The unit for display: the chosen one or, for `system`, the usual one in the user's region.
TemperatureUnit temperatureUnit();
TemperatureUnit temperatureUnit(TemperatureChoice choice);

/// The short text of the menu-bar items, such as "65°": the value in the displayed unit, rounded with halves away from zero,
/// without a unit letter. `celsius` must be finite, and small enough for a 64-bit integer.
QString degrees(double celsius);
QString degrees(double celsius, TemperatureUnit unit);

/// The full text with unit symbol and exactly `fraction` decimals, such as "21.3°C".
QString temperature(double celsius, int fraction);

} // namespace Units

} // namespace kestrum
