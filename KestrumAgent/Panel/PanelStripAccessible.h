// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// Shows strips to screen readers: a group with a button for each item.
namespace PanelStripAccessible {

/// Must be called before the first strip is used. Further calls have no effect.
void install();

} // namespace PanelStripAccessible
} // namespace kestrum
