// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// A window of ours on an X server, and what Qt has no function for there. Requests are sent by the next `flush`, or with
/// the toolkit's own.
class X11Window {
public:
    /// Creates the window if necessary. Nothing where the display is no X server.
    static std::optional<X11Window> of(const QWindow& window);

    /// Whether a window manager runs that could be asked.
    bool isManaged() const;
    /// Asks it for the focus on behalf of the user, who last did something at the server's `time`.
    void askForFocus(quint32 time) const;
    /// Ends the start-up notification that desktops show while a program is being started.
    void tellThatStartEnded(const QByteArray& token) const;
    /// Puts the hidden window on all virtual desktops for when it is shown; window managers forget that with every hiding.
    void standOnAllDesktops() const;
    void flush() const;

private:
    X11Window(xcb_connection_t* connection, quint32 window);
    quint32 atom(const char* name) const;
    void send(quint8 format, const char* type, const void* data, qsizetype size, quint32 mask) const;

    xcb_connection_t* m_connection;
    quint32 m_window;
    quint32 m_root = 0;
};

} // namespace kestrum
