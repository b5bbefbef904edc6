// SPDX-License-Identifier: MIT
#include "Platform/Desktop/Translucency.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <qguiapplication_platform.h>
#include <string_view>
#include <xcb/xcb.h>

namespace kestrum {

namespace {

// The compositing manager of the first X screen owns this selection. Hardly any server has a second X screen.
constexpr std::string_view mixersSelection = "_NET_WM_CM_S0";

} // namespace

bool isTranslucencyShown()
{
    // Other platforms offer an interface for X11 too, but without a connection.
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return true;
    xcb_connection_t* server = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    const XcbReply<xcb_intern_atom_reply_t> selection(xcb_intern_atom_reply(server,
        xcb_intern_atom(server, 0, uint16_t(mixersSelection.size()), mixersSelection.data()), nullptr));
    if (!selection)
        return false;
    const XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(server, xcb_get_selection_owner(server, selection->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace kestrum
