// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// Whether a translucent window shows the windows behind it. On X11 the window does so only while a compositing manager
/// runs, and would otherwise be black; a compositing manager can start and end at any time. The call waits for the X
/// server, so do not call it for every frame. Needs an application object.
bool isTranslucencyShown();

} // namespace kestrum
