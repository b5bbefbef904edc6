#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "Platform/Machine/Sensors.h"

#include <QList>

namespace kestrum {

/// Which readings the shown items draw: one truth value a source.
struct WantedReadings {
    bool cpuLoad = false;
    bool cpuPower = false;
    bool memory = false;
    bool memoryPressure = false;
    bool storage = false;
    bool systemPower = false;
    Sensors::Wanted sensors;

    /// What items of `sections` need, with the readouts that are chosen now.
    static WantedReadings of(const QList<MonitorSection>& sections);

    bool operator==(const WantedReadings&) const = default;
};

} // namespace kestrum
