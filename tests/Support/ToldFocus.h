#pragma once

#include <qpa/qwindowsysteminterface.h>

namespace kestrum {

/// Does at once what the platform does when `window` gets the focus, or with none when another program's window gets it.
/// Qt has given the call that does so another name since 6.4; only a template may name one that is not there.
template <typename System = QWindowSystemInterface> void tellOfFocus(QWindow* window)
{
    using Delivery = QWindowSystemInterface::SynchronousDelivery;
    if constexpr (requires { System::template handleFocusWindowChanged<Delivery>(window); })
        System::template handleFocusWindowChanged<Delivery>(window);
    else
        System::template handleWindowActivated<Delivery>(window);
}

} // namespace kestrum
