// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/ItemDrawing.h"
#include "KestrumShared/Items/ItemReadout.h"

namespace kestrum {

/// The facts about one section's item: a row of the table of sections. Each row has a file of its own. Members without a
/// default value: a row that forgets a fact does not compile.
struct SectionItem {
    QLatin1StringView letters;
    QStringView symbol;
    /// What the symbol says, in the interface language.
    QString (*description)();
    /// As the settings call the section, in the interface language.
    QString (*name)();
    ItemMeter (*meter)(const Appearance&);
    ItemReadout (*readout)(const Appearance&);
    /// The value that the meter shows, which is said where no readout is chosen; empty for an item without a meter.
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
        return cpu; // for a number that is no section
    }
};

} // namespace kestrum
