// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"
#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Popover/PopoverState.h"
#include "Platform/Store/SettingsSnapshot.h"

namespace kestrum {

/// The parts of one section's popover, from top to bottom. A popover is `width` points wide.
struct PopoverPanel {
    static constexpr double width = 300;
    static constexpr int rowFontSize = 12; ///< the settings' small pictures of popovers have another one

    PanelPart header;          ///< with the divider below it; stays when the sections scroll
    QList<PanelPart> sections; ///< with the dividers between them, if any

    /// The popover of `section` with `readings`, in the interface language. Accents, units and shapes are those of
    /// `settings`.
    static PopoverPanel of(MonitorSection section, const PopoverReadings& readings, const PopoverState& state,
        const SettingsSnapshot& settings, const PanelEnvironment& environment);
};

} // namespace kestrum
