// SPDX-License-Identifier: MIT
#include "Platform/Desktop/NotificationArea.h"

#include "Platform/Desktop/DesktopName.h"
#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <qguiapplication_platform.h>
#include <utility>

namespace kestrum {

namespace {

constexpr quint32 requestDock = 0;
constexpr int translucentDepth = 32;

QList<quint32> cardinals(xcb_connection_t* connection, quint32 window, quint32 property)
{
    constexpr uint32_t most = 16;
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection,
        xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, most), nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return { first, first + xcb_get_property_value_length(reply.get()) / int(sizeof(quint32)) };
}

int depthOf(xcb_connection_t* connection, xcb_visualid_t visual)
{
    const auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (auto depth = xcb_screen_allowed_depths_iterator(screen.data); depth.rem; xcb_depth_next(&depth)) {
        for (auto each = xcb_depth_visuals_iterator(depth.data); each.rem; xcb_visualtype_next(&each)) {
            if (each.data->visual_id == visual)
                return depth.data->depth;
        }
    }
    return 0;
}

} // namespace

NotificationArea::NotificationArea(QObject* parent)
    : QObject(parent)
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // On Qt's platform without a display, this interface exists, but its connection is null.
    if (!x11 || !x11->connection())
        return;
    m_connection = x11->connection();
    m_root = xcbScreen(m_connection)->root;
    m_selection = xcbAtom(m_connection, "_NET_SYSTEM_TRAY_S0");
    m_manager = xcbAtom(m_connection, "MANAGER");
    m_colours = xcbAtom(m_connection, "_NET_SYSTEM_TRAY_COLORS");
    m_visual = xcbAtom(m_connection, "_NET_SYSTEM_TRAY_VISUAL");
    qGuiApp->installNativeEventFilter(this);
    // A new area is announced to those who hear of the root window's structure.
    follow(m_root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    find();
}

/// Selects events of a window in addition to those that the toolkit has selected. False if the window is gone.
bool NotificationArea::follow(quint32 window, quint32 events) const
{
    const XcbReply<xcb_get_window_attributes_reply_t> now(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    if (!now)
        return false;
    const uint32_t mask = now->your_event_mask | events;
    const auto request = xcb_change_window_attributes_checked(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    xcb_discard_reply(m_connection, request.sequence);
    return true;
}

void NotificationArea::find()
{
    const XcbReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    quint32 found = owner ? owner->owner : 0;
    if (found == m_window)
        return;
    if (found && !follow(found, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE))
        found = 0;
    m_window = found;
    if (m_window) {
        m_look = readLook();
        const XcbReply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), nullptr));
        m_height = geometry ? geometry->height : 0;
    }
    Q_EMIT changed();
}

NotificationArea::Look NotificationArea::readLook() const
{
    Look look;
    const QList<quint32> colours = cardinals(m_connection, m_window, m_colours);
    const auto part = [&colours](int at) { return int(std::min<quint32>(colours[at], 0xffff) >> 8); };
    if (colours.size() >= 3)
        look.scheme = qGray(part(0), part(1), part(2)) > 127 ? ColourScheme::dark : ColourScheme::light;
    const QList<quint32> visual = cardinals(m_connection, m_window, m_visual);
    look.isTranslucent = !visual.isEmpty() && depthOf(m_connection, visual.first()) == translucentDepth;
    return look;
}

void NotificationArea::dock(const QWindow& window) const
{
    if (!m_window)
        return;
    xcb_client_message_event_t request {};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = m_window;
    request.type = xcbAtom(m_connection, "_NET_SYSTEM_TRAY_OPCODE");
    request.data.data32[0] = XCB_CURRENT_TIME;
    request.data.data32[1] = requestDock;
    request.data.data32[2] = quint32(window.winId());
    const auto sent = xcb_send_event_checked(
        m_connection, 0, m_window, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&request));
    xcb_discard_reply(m_connection, sent.sequence); // the area may be gone by now
    xcb_flush(m_connection);
}

bool NotificationArea::isMisleading()
{
    for (const char* name : { "x-cinnamon", "kde", "lxqt" }) {
        if (isDesktop(QLatin1StringView(name)))
            return true;
    }
    return false;
}

bool NotificationArea::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr uint8_t sentByOthers = 0x80;
    switch (event->response_type & ~sentByOthers) {
    case XCB_CLIENT_MESSAGE: {
        const auto* told = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (told->type == m_manager && told->format == 32 && told->data.data32[1] == m_selection)
            find();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window != m_window || !m_window)
            break;
        // A panel that starts again may get the same number for its window.
        m_window = 0;
        find();
        if (!m_window)
            Q_EMIT changed();
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto* configured = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
        if (m_window && configured->window == m_window
            && std::exchange(m_height, configured->height) != configured->height)
            Q_EMIT heightChanged();
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (!m_window || property->window != m_window
            || (property->atom != m_colours && property->atom != m_visual))
            break;
        const Look now = readLook();
        if (std::exchange(m_look, now) != now)
            Q_EMIT lookChanged();
        break;
    }
    default:
        break;
    }
    return false; // others may hear it too
}

} // namespace kestrum
