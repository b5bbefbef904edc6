// SPDX-License-Identifier: MIT
#include "Platform/Desktop/Translucency.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <qguiapplication_platform.h>

namespace kestrum {

bool isTranslucencyShown()
{
    // On other platforms, `QX11Application` may exist, but has no connection.
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return true;
    xcb_connection_t* server = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    // The compositing manager of X screen 0 owns this selection. Hardly any server has another X screen.
    static const xcb_atom_t selection = xcbAtom(server, "_NET_WM_CM_S0");
    const auto cookie = xcb_get_selection_owner(server, selection);
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(server, cookie, nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace kestrum
