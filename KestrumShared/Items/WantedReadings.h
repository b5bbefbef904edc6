// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "Platform/Machine/Sensors.h"

namespace kestrum {

/// The sources of the readings that the visible items show.
struct WantedReadings {
    bool cpuLoad = false;
    bool cpuPower = false;
    bool memory = false;
    bool memoryPressure = false;
    bool storage = false;
    bool systemPower = false;
    Sensors::Wanted sensors;

    /// The sources that the items of `sections` need with the readouts in `appearance`.
    static WantedReadings of(
        const QList<MonitorSection>& sections, const Appearance& appearance = Appearance::current());

    /// The sources that the open popover of `section` needs besides those that only popovers have. Its header shows what
    /// the item's readout shows.
    static WantedReadings ofPopover(
        MonitorSection section, const Appearance& appearance = Appearance::current());

    /// The sources that are in one of the two, and those that are in both.
    WantedReadings operator|(const WantedReadings& other) const;
    WantedReadings operator&(const WantedReadings& other) const;

    bool operator==(const WantedReadings&) const = default;
};

} // namespace kestrum
