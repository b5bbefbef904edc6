// SPDX-License-Identifier: MIT
#include "Platform/Desktop/X11Embedding.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <qguiapplication_platform.h>
#include <utility>

namespace kestrum {

X11Embedding::X11Embedding(QWindow& window)
    : m_window(window)
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection())
        return;
    m_connection = x11->connection();
    m_id = quint32(window.winId());
    m_root = xcbScreen(m_connection)->root;
    qGuiApp->installNativeEventFilter(this);
}

X11Embedding::Place X11Embedding::place()
{
    Place place { m_window.position(), m_window.screen() };
    if (!m_connection)
        return place;
    const auto translation = xcb_translate_coordinates(m_connection, m_id, m_root, 0, 0);
    const auto geometry = xcb_get_geometry(m_connection, m_id);
    const XcbReply<xcb_translate_coordinates_reply_t> reply(
        xcb_translate_coordinates_reply(m_connection, translation, nullptr));
    const XcbReply<xcb_get_geometry_reply_t> size(xcb_get_geometry_reply(m_connection, geometry, nullptr));
    if (!reply || !size)
        return place;
    m_size = QSize(size->width, size->height);
    const QPoint pixel(reply->dst_x, reply->dst_y);
    // The toolkit gives a screen's top left corner in device pixels, but sizes and distances in points.
    for (QScreen* screen : QGuiApplication::screens()) {
        const QPoint corner = screen->geometry().topLeft();
        const double scale = screen->devicePixelRatio();
        if (!QRect(corner, (QSizeF(screen->geometry().size()) * scale).toSize()).contains(pixel))
            continue;
        place = { corner + (QPointF(pixel - corner) / scale).toPoint(), screen };
        break;
    }
    tellToolkit(QRect(pixel, m_size));
    return place;
}

/// The toolkit believes in places and sizes that are told in this way, as window managers do. It does not hear of moves of the
/// window that has taken ours in, and assistive programs ask the toolkit. Of several messages the toolkit sees only the last one,
/// which may be older than the server's word: so the truth is asked for after each, and each is told once.
void X11Embedding::tellToolkit(const QRect& pixels)
{
    if (std::exchange(m_told, pixels) == pixels)
        return;
    xcb_configure_notify_event_t told {};
    told.response_type = XCB_CONFIGURE_NOTIFY;
    told.event = m_id;
    told.window = m_id;
    told.x = int16_t(pixels.x());
    told.y = int16_t(pixels.y());
    told.width = uint16_t(pixels.width());
    told.height = uint16_t(pixels.height());
    xcb_send_event(
        m_connection, 0, m_id, XCB_EVENT_MASK_STRUCTURE_NOTIFY, reinterpret_cast<const char*>(&told));
    xcb_flush(m_connection);
}

bool X11Embedding::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr uint8_t sentByOthers = 0x80;
    switch (event->response_type & ~sentByOthers) {
    case XCB_REPARENT_NOTIFY: {
        const auto* told = reinterpret_cast<const xcb_reparent_notify_event_t*>(event);
        if (told->window != m_id || told->event != m_id)
            break;
        const bool isEmbedded = told->parent != m_root;
        if (std::exchange(m_isEmbedded, isEmbedded) != isEmbedded)
            isEmbedded ? Q_EMIT this->embedded() : Q_EMIT released();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto* told = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
        if (told->window == m_id && m_isEmbedded)
            Q_EMIT configured();
        break;
    }
    case XCB_DESTROY_NOTIFY:
        if (reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window == m_id
            && std::exchange(m_isEmbedded, false))
            Q_EMIT released();
        break;
    default:
        break;
    }
    return false; // others may hear it too
}

} // namespace kestrum
