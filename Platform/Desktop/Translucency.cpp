// SPDX-License-Identifier: MIT
#include "Platform/Desktop/Translucency.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <qguiapplication_platform.h>

namespace kestrum {

bool isTranslucencyShown()
{
    // Other platforms offer an interface for X11 too, but without a connection.
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return true;
    xcb_connection_t* server = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    // The compositing manager of the first X screen owns this selection. Hardly any server has a second X screen.
    const auto cookie = xcb_get_selection_owner(server, xcbAtom(server, "_NET_WM_CM_S0"));
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(server, cookie, nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace kestrum
