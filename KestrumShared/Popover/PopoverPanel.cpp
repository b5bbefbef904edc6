// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverPanel.h"

#include "KestrumShared/Popover/SectionPanel.h"

namespace kestrum {

PopoverPanel PopoverPanel::of(MonitorSection section, const PopoverReadings& readings,
    const PopoverState& state, const SettingsSnapshot& settings, const PanelEnvironment& environment)
{
    const SectionPanel panel(readings, state, settings, environment);
    switch (section) {
    case MonitorSection::cpu:
        return panel.cpu();
    case MonitorSection::memory:
        return panel.memory();
    case MonitorSection::storage:
        return panel.disk();
    case MonitorSection::sensors:
        return panel.sensors();
    }
    return panel.cpu(); // for a number that is not an enumerator
}

} // namespace kestrum
