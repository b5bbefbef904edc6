// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "Platform/Machine/Sensors.h"

namespace kestrum {

/// Which readings the shown items draw: one truth value for each source.
struct WantedReadings {
    bool cpuLoad = false;
    bool cpuPower = false;
    bool memory = false;
    bool memoryPressure = false;
    bool storage = false;
    bool systemPower = false;
    Sensors::Wanted sensors;

    /// What the items of `sections` draw with the readouts of `appearance`.
    static WantedReadings of(
        const QList<MonitorSection>& sections, const Appearance& appearance = Appearance::current());

    bool operator==(const WantedReadings&) const = default;
};

} // namespace kestrum
