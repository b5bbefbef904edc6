// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMargins>
#include <QSize>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// A window of this process on an X server, with requests that Qt has no function for. The requests are sent by the next
/// `flush`, or together with the toolkit's own requests.
class X11Window {
public:
    /// Returns nothing if the display is not an X server. Creates the native window if necessary.
    static std::optional<X11Window> of(const QWindow& window);

    /// Whether a running window manager accepts these requests.
    bool isManaged() const;
    /// Asks the window manager for the focus on behalf of the user. `time` is the X server's time of the user's action.
    void askForFocus(quint32 time) const;
    /// Whether a window of this process has the focus. It keeps the focus while another program has grabbed the keyboard. Waits for
    /// the X server.
    bool isOwnFocused() const;
    /// Whether a window of another program has the focus. A grab, as of a screen locker, does not count, nor does the window
    /// manager itself, which holds the focus while no window has it. Waits for the X server.
    bool isOtherFocused() const;
    /// Ends the start-up notification with the id `token`, which desktops show while a program is starting.
    void tellThatStartEnded(const QByteArray& token) const;
    /// Call this before each time the window is shown. The window then appears on all virtual desktops. Window managers
    /// forget this setting when the window is hidden.
    void standOnAllDesktops() const;
    /// Tells that of a window of `size` the outer `margins` are only its shadow, all in pixels of the X server: window managers
    /// place the window without them, and presses there go to what is below. To be called after each change of the size.
    void setShadow(QSize size, const QMargins& margins) const;
    void flush() const;

private:
    X11Window(xcb_connection_t* connection, quint32 window);
    quint32 managersWindow() const;
    quint32 focusedWindow() const;
    bool areOfOneProgram(quint32 one, quint32 other) const;
    void send(quint8 format, const char* type, const void* data, qsizetype size, quint32 mask) const;

    xcb_connection_t* m_connection;
    quint32 m_window;
    quint32 m_root = 0;
};

} // namespace kestrum
