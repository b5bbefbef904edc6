// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "Platform/Machine/Sensors.h"

namespace kestrum {

/// The sources whose readings the visible items show.
struct WantedReadings {
    bool cpuLoad = false;
    bool cpuPower = false;
    bool memory = false;
    bool memoryPressure = false;
    bool storage = false;
    bool systemPower = false;
    Sensors::Wanted sensors;

    /// The sources of the items of `sections`, with the readouts that `appearance` has for them.
    static WantedReadings of(
        const QList<MonitorSection>& sections, const Appearance& appearance = Appearance::current());

    bool operator==(const WantedReadings&) const = default;
};

} // namespace kestrum
