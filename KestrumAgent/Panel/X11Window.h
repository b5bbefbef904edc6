#pragma once

#include <QWidget>

namespace kestrum {

/// What Qt has no word for on X11. Nothing happens on other platforms.
namespace X11Window {

/// Makes a window that was not shown yet a dock. Creates the window.
void makeDock(QWidget& window);

/// Has a window that is hidden stand on all virtual desktops when it is shown; window managers forget it with every hiding.
void putOnAllDesktops(const QWidget& window);

} // namespace X11Window
} // namespace kestrum
