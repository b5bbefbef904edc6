// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// One of our windows on an X server, with the requests that Qt has no function for. The requests are sent by the next
/// `flush`, or together with the toolkit's own requests.
class X11Window {
public:
    /// Creates the native window if necessary. Nothing where the display is not an X server.
    static std::optional<X11Window> of(const QWindow& window);

    /// Whether a window manager runs that accepts such requests.
    bool isManaged() const;
    /// Asks the window manager for the focus on behalf of the user, whose last action was at the server's `time`.
    void askForFocus(quint32 time) const;
    /// Ends the start-up notification of `token`, which desktops show while a program is starting.
    void tellThatStartEnded(const QByteArray& token) const;
    /// Makes the hidden window appear on all virtual desktops when it is shown. Window managers forget this setting each
    /// time the window is hidden.
    void standOnAllDesktops() const;
    void flush() const;

private:
    X11Window(xcb_connection_t* connection, quint32 window);
    void send(quint8 format, const char* type, const void* data, qsizetype size, quint32 mask) const;

    xcb_connection_t* m_connection;
    quint32 m_window;
    quint32 m_root = 0;
};

} // namespace kestrum
