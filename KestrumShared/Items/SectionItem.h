// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/ItemDrawing.h"
#include "KestrumShared/Items/ItemReadout.h"

namespace kestrum {

/// All properties of one section's item. Each of the four objects is defined in its own file. The members have no default
/// values, so that an object with a missing member does not compile.
struct SectionItem {
    QLatin1StringView letters;
    QStringView symbol;
    /// The section's name as a screen reader says it, in the interface language.
    QString (*description)();
    /// The section's name in the settings, in the interface language.
    QString (*name)();
    ItemMeter (*meter)(const Appearance&);
    ItemReadout (*readout)(const Appearance&);
    /// The value that the meter shows; empty without a meter. `StripScene::text` uses this value if no readout is chosen.
    ItemReadout shownByMeter;

    static const SectionItem cpu, memory, storage, sensors;

    static const SectionItem& of(MonitorSection section)
    {
        switch (section) {
        case MonitorSection::cpu:
            return cpu;
        case MonitorSection::memory:
            return memory;
        case MonitorSection::storage:
            return storage;
        case MonitorSection::sensors:
            return sensors;
        }
        return cpu; // for a number that is not an enumerator
    }
};

} // namespace kestrum
