// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Items/WantedReadings.h"

#include <QString>
#include <optional>

namespace kestrum {

/// A value that an item can show as text: its title, its format, and its source. `kind` is null for an item without a
/// readout.
struct ItemReadout {
    /// How values of a kind are formatted, and the width in points that is reserved for them, without the gap before it. The
    /// width does not depend on the value, so an item's width does not change with its readings.
    struct Kind {
        double room;
        /// Formats `value` for the item; nothing if the value counts as absent.
        std::optional<QString> (*text)(double value, const Appearance& appearance);
        /// Makes a longer text with the unit for other places; null if the text needs no change.
        QString (*said)(const QString& text);
    };
    static const Kind percent, degrees, watts, bytes, revolutions;

    /// Calls the function `reading`; the result is absent if the machine has no such reading.
    template <auto reading> static std::optional<double> value(const MenuBarReadings& readings)
    {
        return (readings.*reading)();
    }

    const char* title = nullptr; ///< in English
    const Kind* kind = nullptr;
    std::optional<double> (*read)(const MenuBarReadings&) = nullptr;
    /// Marks the source of the reading as wanted; null without a readout, and if the item's meter wants the same
    /// source.
    void (*want)(WantedReadings&) = nullptr;
    /// Whether the value is a temperature that is shown in a warning colour when it is high.
    bool warns = false;

    double room() const { return kind ? kind->room : 0; }
    /// The text for the item; nothing if there is no readout or the reading is absent.
    std::optional<QString> text(const MenuBarReadings& readings, const Appearance& appearance) const;
};

} // namespace kestrum
