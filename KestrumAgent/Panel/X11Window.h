#pragma once

#include <QWidget>

namespace kestrum {

/// What Qt has no word for on X11. Nothing happens on other platforms.
namespace X11Window {

/// Makes a window that was not shown yet a dock, which stands on all virtual desktops. Creates the window.
void makeDock(QWidget& window);

} // namespace X11Window
} // namespace kestrum
