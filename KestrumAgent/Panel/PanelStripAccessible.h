// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"

namespace kestrum {

class PanelStrip;

/// Shows strips to screen readers: a group with a button for each item.
namespace PanelStripAccessible {

/// Must be called before the first strip is used. Further calls have no effect.
void install();

/// Tells that the popover of the section's item has opened or closed.
void tellExpanded(PanelStrip& strip, MonitorSection section);

} // namespace PanelStripAccessible
} // namespace kestrum
