// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Items/WantedReadings.h"

#include <QString>
#include <optional>

namespace kestrum {

/// One of the values that an item can show in words: what it is called, how it is written, and where it comes from. An item
/// without a readout has an empty one.
struct ItemReadout {
    /// How values of a kind are written, and the room in points that is kept for them, without the gap before it. Room does
    /// not follow the value: an item does not change its width while it counts.
    struct Kind {
        double room;
        /// Nothing for a value that is as good as absent.
        std::optional<QString> (*text)(double value, const Appearance& appearance);
        /// How it is said where there is room for a unit; null: as it is written.
        QString (*said)(const QString& text);
    };
    static const Kind percent, degrees, watts, bytes, revolutions;

    /// A reading as a value; absent where the machine has none.
    template <auto reading> static std::optional<double> value(const MenuBarReadings& readings)
    {
        return (readings.*reading)();
    }

    const char* title = nullptr; ///< in English
    const Kind* kind = nullptr;
    std::optional<double> (*read)(const MenuBarReadings&) = nullptr;
    /// Marks the source that it needs.
    void (*want)(WantedReadings&) = nullptr;
    /// Whether it is a temperature whose colour warns.
    bool warns = false;

    double room() const { return kind ? kind->room : 0; }
    /// Nothing when there is no readout, or its reading is absent.
    std::optional<QString> text(const MenuBarReadings& readings, const Appearance& appearance) const;
};

} // namespace kestrum
