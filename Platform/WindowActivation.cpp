// On X11 the window manager is asked by a message, and told when the user asked for the window, which it compares with
// what they did since. The toolkit would send the time of the last event that it saw, long past in a window that nobody
// works in. A request that stems from people themselves counts as one of a panel's. On Wayland the toolkit has
// the protocol and looks for the token in the environment.

#include "Platform/WindowActivation.h"

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <qguiapplication_platform.h>
#include <xcb/xcb.h>

namespace kestrum {

namespace {

constexpr const char* waylandToken = "XDG_ACTIVATION_TOKEN";
constexpr const char* x11Token = "DESKTOP_STARTUP_ID";
constexpr quint32 asPeopleThemselves = 2;

template <class Reply> struct Released {
    void operator()(Reply* reply) const { std::free(reply); }
};
template <class Reply> using Owned = std::unique_ptr<Reply, Released<Reply>>;

/// A window of ours on an X server, and the messages that it can send.
class X11Window {
public:
    X11Window(xcb_connection_t* connection, const QWindow& window)
        : m_connection(connection)
        , m_window(xcb_window_t(window.winId()))
        , m_root(rootOf(m_window))
    {
    }

    /// Whether there is a window manager that could be asked.
    bool isManaged() const
    {
        const auto cookie = xcb_get_property(
            m_connection, 0, m_root, atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 0, 1);
        const Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
        return reply && xcb_get_property_value_length(reply.get()) > 0;
    }

    void askForFocus(quint32 time) const
    {
        xcb_client_message_event_t message = emptyMessage(32, "_NET_ACTIVE_WINDOW");
        message.data.data32[0] = asPeopleThemselves;
        message.data.data32[1] = time;
        send(message, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
    }

    /// Tells whoever shows that a program is being started that it has come.
    void tellThatStartEnded(const QByteArray& token) const
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
            xcb_client_message_event_t message = emptyMessage(8, type);
            std::memcpy(
                message.data.data8, text.constData() + from, size_t(std::min(piece, text.size() - from)));
            send(message, XCB_EVENT_MASK_PROPERTY_CHANGE);
            type = "_NET_STARTUP_INFO";
        }
    }

    void flush() const { xcb_flush(m_connection); }

private:
    xcb_window_t rootOf(xcb_window_t window) const
    {
        const Owned<xcb_get_geometry_reply_t> reply(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        return reply ? reply->root : xcb_window_t(XCB_NONE);
    }

    xcb_atom_t atom(const char* name) const
    {
        const auto cookie = xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name);
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    xcb_client_message_event_t emptyMessage(uint8_t format, const char* type) const
    {
        xcb_client_message_event_t message {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = format;
        message.window = m_window;
        message.type = atom(type);
        return message;
    }

    void send(const xcb_client_message_event_t& message, uint32_t mask) const
    {
        xcb_send_event(m_connection, 0, m_root, mask, reinterpret_cast<const char*>(&message));
    }

    xcb_connection_t* m_connection;
    xcb_window_t m_window;
    xcb_window_t m_root;
};

void activateOnWayland(QWindow& window, const QByteArray& token)
{
    if (!token.isEmpty())
        qputenv(waylandToken, token);
    window.requestActivate();
    qunsetenv(waylandToken);
}

} // namespace

QByteArray WindowActivation::token()
{
    const QByteArray wayland = qgetenv(waylandToken);
    return wayland.isEmpty() ? qgetenv(x11Token) : wayland;
}

QByteArray WindowActivation::takeToken()
{
    const QByteArray taken = token();
    qunsetenv(waylandToken);
    qunsetenv(x11Token);
    return taken;
}

bool WindowActivation::takeIsInBackground()
{
    const bool isIn = !qgetenv(backgroundVariable).isEmpty();
    qunsetenv(backgroundVariable);
    return isIn;
}

quint32 WindowActivation::time(const QByteArray& token)
{
    constexpr QByteArrayView mark("_TIME");
    const qsizetype at = token.lastIndexOf(mark);
    return at < 0 ? 0 : token.mid(at + mark.size()).toUInt();
}

void WindowActivation::bringForward(QWindow& window, const QByteArray& token)
{
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.setVisible(true);
    window.raise();
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // Qt's platform without a display has the interface too, and nothing behind it.
    if (!x11 || !x11->connection()) {
        activateOnWayland(window, token);
        return;
    }
    const X11Window ours(x11->connection(), window);
    if (ours.isManaged())
        ours.askForFocus(time(token));
    else
        window.requestActivate();
    if (!token.isEmpty())
        ours.tellThatStartEnded(token);
    ours.flush();
}

} // namespace kestrum
