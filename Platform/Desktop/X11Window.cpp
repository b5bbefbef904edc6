// SPDX-License-Identifier: MIT
#include "Platform/Desktop/X11Window.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cstring>
#include <qguiapplication_platform.h>
#include <xcb/shape.h>

namespace kestrum {

namespace {

constexpr quint32 asPeopleThemselves = 2;
constexpr quint32 everyDesktop = 0xFFFFFFFF;

} // namespace

std::optional<X11Window> X11Window::of(const QWindow& window)
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // On Qt's platform without a display, this interface exists, but its connection is null.
    if (!x11 || !x11->connection())
        return std::nullopt;
    return X11Window(x11->connection(), quint32(window.winId()));
}

X11Window::X11Window(xcb_connection_t* connection, quint32 window)
    : m_connection(connection)
    , m_window(window)
{
    const XcbReply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), nullptr));
    if (reply)
        m_root = reply->root;
}

/// The window by which a running window manager shows that it is there; none without a window manager.
quint32 X11Window::managersWindow() const
{
    const auto cookie = xcb_get_property(
        m_connection, 0, m_root, xcbAtom(m_connection, "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
    return reply && xcb_get_property_value_length(reply.get()) == int(sizeof(xcb_window_t))
        ? *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()))
        : xcb_window_t(XCB_WINDOW_NONE);
}

bool X11Window::isManaged() const
{
    return managersWindow() != XCB_WINDOW_NONE;
}

/// The window that has the focus; none while no window has it.
quint32 X11Window::focusedWindow() const
{
    const XcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    const bool isWindow = reply && reply->focus != XCB_INPUT_FOCUS_POINTER_ROOT && reply->focus != m_root;
    return isWindow ? reply->focus : xcb_window_t(XCB_WINDOW_NONE);
}

/// Whether the same program made both windows. The upper bits of a window's number stand for the program.
bool X11Window::areOfOneProgram(quint32 one, quint32 other) const
{
    return ((one ^ other) & ~xcb_get_setup(m_connection)->resource_id_mask) == 0;
}

bool X11Window::isOwnFocused() const
{
    return areOfOneProgram(focusedWindow(), m_window);
}

bool X11Window::isOtherFocused() const
{
    const quint32 focused = focusedWindow();
    return focused != XCB_WINDOW_NONE && !areOfOneProgram(focused, m_window)
        && !areOfOneProgram(focused, managersWindow());
}

void X11Window::askForFocus(quint32 time) const
{
    const quint32 request[] = { asPeopleThemselves, time };
    send(32, "_NET_ACTIVE_WINDOW", request, sizeof request,
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
}

void X11Window::tellThatStartEnded(const QByteArray& token) const
{
    QByteArray text = "remove: ID=\"";
    for (const char character : token) {
        if (character == '"' || character == '\\')
            text += '\\';
        text += character;
    }
    text += QByteArrayView("\"\0", 2);
    const char* type = "_NET_STARTUP_INFO_BEGIN";
    constexpr qsizetype piece = sizeof xcb_client_message_data_t::data8;
    for (qsizetype from = 0; from < text.size(); from += piece) {
        send(8, type, text.constData() + from, std::min(piece, text.size() - from),
            XCB_EVENT_MASK_PROPERTY_CHANGE);
        type = "_NET_STARTUP_INFO";
    }
}

void X11Window::standOnAllDesktops() const
{
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window,
        xcbAtom(m_connection, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1, &everyDesktop);
}

void X11Window::setShadow(QSize size, const QMargins& margins) const
{
    const std::array extents { uint32_t(margins.left()), uint32_t(margins.right()), uint32_t(margins.top()),
        uint32_t(margins.bottom()) };
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window,
        xcbAtom(m_connection, "_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL, 32, extents.size(), extents.data());
    // A request of an extension that the server does not have would end the connection.
    const auto* shapes = xcb_get_extension_data(m_connection, &xcb_shape_id);
    if (!shapes || !shapes->present)
        return;
    const QRect body = QRect(QPoint(), size).marginsRemoved(margins);
    const xcb_rectangle_t rectangle { int16_t(body.x()), int16_t(body.y()), uint16_t(body.width()),
        uint16_t(body.height()) };
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
        m_window, 0, 0, 1, &rectangle);
}

void X11Window::flush() const
{
    xcb_flush(m_connection);
}

void X11Window::send(quint8 format, const char* type, const void* data, qsizetype size, quint32 mask) const
{
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = format;
    message.window = m_window;
    message.type = xcbAtom(m_connection, type);
    std::memcpy(&message.data, data, size_t(size));
    xcb_send_event(m_connection, 0, m_root, mask, reinterpret_cast<const char*>(&message));
}

} // namespace kestrum
