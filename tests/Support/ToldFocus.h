#pragma once

#include <qpa/qwindowsysteminterface.h>

namespace kestrum {

/// Reports at once that `window` got the focus, as the platform does. A null `window` means that another program has the focus.
/// The Qt function got another name in Qt 6.4. Only a template may name a function that does not exist.
template <typename System = QWindowSystemInterface> void tellOfFocus(QWindow* window)
{
    using Delivery = QWindowSystemInterface::SynchronousDelivery;
    if constexpr (requires { System::template handleFocusWindowChanged<Delivery>(window); })
        System::template handleFocusWindowChanged<Delivery>(window);
    else
        System::template handleWindowActivated<Delivery>(window);
}

} // namespace kestrum
