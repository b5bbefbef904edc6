// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverPanel.h"

#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/PanelDivider.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverHeader.h"

namespace kestrum {

PopoverPanel PopoverPanel::of(MonitorSection, const PopoverReadings&, const PopoverState& state,
    const SettingsSnapshot&, const PanelEnvironment&)
{
    PopoverHeader header;
    header.title = QStringLiteral("CPU");
    header.isPinned = state.isPinned;
    return { PanelStack { { header, PanelDivider {} } }, { DenseSection { QStringLiteral("USAGE"), {} } } };
}

} // namespace kestrum
