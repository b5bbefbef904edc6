// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// Whether a translucent window shows what is behind it. On X11 only while a compositing manager runs, which can come and
/// go; without one it would be black. Asks the X server, so not for every frame. Needs an application object.
bool isTranslucencyShown();

} // namespace kestrum
