#include "KestrumAgent/Panel/X11Window.h"

#include <QGuiApplication>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace kestrum {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    const auto cookie = xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

} // namespace

void X11Window::makeDock(QWidget& window)
{
    window.winId();
    // Qt hears of the type only when there is a window to give it to.
    window.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
}

void X11Window::putOnAllDesktops(const QWidget& window)
{
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return;
    // Not every window manager takes it from the type.
    constexpr uint32_t everyDesktop = 0xFFFFFFFF;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, xcb_window_t(window.winId()),
        atom(connection, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1, &everyDesktop);
}

} // namespace kestrum
