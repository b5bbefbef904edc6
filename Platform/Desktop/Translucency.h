// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// Whether the windows behind a translucent window are visible. On X11 they are visible only while a compositing manager
/// runs, which can start and end at any time; otherwise the translucent window is black. The call waits for the X server,
/// so do not call this function for every frame. Needs an application object.
bool isTranslucencyShown();

} // namespace kestrum
