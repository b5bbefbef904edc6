// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Items/WantedReadings.h"

#include <QString>
#include <optional>

namespace kestrum {

/// A readout: a value that an item shows as text. The members describe the value's title, format and source. `kind` is null
/// for an item without a readout.
struct ItemReadout {
    /// A kind of value. `room` is the width in points that is reserved for the text, without the gap before the text. This
    /// width does not depend on the value, so that an item's width does not change with the readings.
    struct Kind {
        double room;
        /// Formats `value` for the item; nothing if the value counts as absent.
        std::optional<QString> (*text)(double value, const Appearance& appearance);
        /// Adds the unit to the item's text, for use outside of the item; null if the text needs no change.
        QString (*said)(const QString& text);
    };
    static const Kind percent, degrees, watts, bytes, revolutions;

    /// Calls the member function `reading` of `readings`.
    template <auto reading> static std::optional<double> value(const MenuBarReadings& readings)
    {
        return (readings.*reading)();
    }

    const char* title = nullptr; ///< in English
    const Kind* kind = nullptr;
    std::optional<double> (*read)(const MenuBarReadings&) = nullptr;
    /// Marks the source of the reading as wanted; null if the item's meter already needs this source.
    void (*want)(WantedReadings&) = nullptr;
    /// Whether high values are shown in a warning colour, see `HeatColour`. The value must be a temperature.
    bool warns = false;

    double room() const { return kind ? kind->room : 0; }
    /// The text for the item; nothing if there is no readout or the reading is absent.
    std::optional<QString> text(const MenuBarReadings& readings, const Appearance& appearance) const;
};

} // namespace kestrum
