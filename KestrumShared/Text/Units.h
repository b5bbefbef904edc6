// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/TemperatureChoice.h"

#include <QString>

namespace kestrum {

/// Display texts of temperatures. All arguments are in degrees Celsius. Each call reads the choice of the unit, the language
/// and the region again.
namespace Units {

enum class TemperatureUnit { celsius, fahrenheit };

/// The stored choice of the unit; `system` when it is absent or not understood.
TemperatureChoice temperatureChoice();

/// The unit for display: the chosen unit or, for `system`, the usual unit in the user's region.
TemperatureUnit temperatureUnit();
TemperatureUnit temperatureUnit(TemperatureChoice choice);

/// A short text for menu-bar items, such as "65°", without the unit's letter. The value is converted to the displayed unit
/// and rounded, halves away from zero. `celsius` must be finite, and small enough for a 64-bit integer.
QString degrees(double celsius);
QString degrees(double celsius, TemperatureUnit unit);

/// A text with the unit's symbol and exactly `fraction` decimals, such as "21.3°C".
QString temperature(double celsius, int fraction);
QString temperature(double celsius, int fraction, TemperatureUnit unit);

} // namespace Units

} // namespace kestrum
