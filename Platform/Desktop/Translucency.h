#pragma once

namespace kestrum {

/// Whether what lies behind a translucent window is seen through it. On X11 only while a program mixes the windows, which can
/// come and go; without one it would be black. Asks the X server: not for every frame. Needs an application object.
bool isTranslucencyShown();

} // namespace kestrum
