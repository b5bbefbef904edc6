// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QObject>
#include <QRect>
#include <QSet>
#include <QTimer>
#include <optional>

class QScreen;
class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// Finds the part of a screen that panels leave free on an X server, and reserves room for one window itself. The toolkit
/// knows only one free rectangle for all screens together. With several screens, the toolkit subtracts either nothing or the
/// panel of another screen. Without an X server, the toolkit's value is used, and nothing is reserved.
class X11Struts final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// Space that is reserved along an edge of the whole display, in device pixels. If the panel is on an inner screen,
    /// the space also covers the screens between the panel and this edge.
    struct Strut {
        Qt::Edge edge;
        QRect room;
    };

    /// Returns the part of `screen` that `struts` leave free, in device pixels. A strut that covers the whole depth of
    /// `screen` is ignored, because it belongs to a screen further inside. A strut that meets `screen` with a single
    /// pixel of its length is ignored too, because it belongs to a neighbouring screen.
    static QRect rest(const QRect& screen, const QList<Strut>& struts);

    /// The strut that keeps `window` free, and all that is between it and the display's top edge. Nothing if another of the
    /// `screens` is in between, because that screen's room would be reserved too. All in device pixels.
    static std::optional<Strut> topStrut(const QRect& window, const QList<QRect>& screens);

    /// Only finds free parts of screens.
    X11Struts();
    /// Room can be reserved for `window`. The native window is created if necessary.
    explicit X11Struts(const QWindow& window);
    ~X11Struts() override;

    /// The part of the screen that panels leave free, in the toolkit's units. What the window itself reserves counts as free.
    /// The call waits for the X server.
    QRect available(const QScreen& screen);

    /// Reserves the room of the window at the top of `screen`, so that maximised windows leave it free. `place` is the
    /// window's, in the toolkit's units. An empty place ends the reservation.
    void reserve(const QScreen& screen, const QRect& place);

Q_SIGNALS:
    /// The free part of a screen may have changed. Emitted 50 ms after a change, once for all changes within that time.
    void changed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    QList<qint32> numbersOfRoot(quint32 property) const;
    QList<quint32> topWindows() const;
    QList<Strut> struts();
    QRect desktopsWord(const QRect& screen, bool isOnly);
    int topOfOthers(int told, int top, const QRect& screen);

    xcb_connection_t* m_connection = nullptr;
    quint32 m_root = 0;
    quint32 m_window = 0; ///< the one for which room is reserved; 0 for none
    // X atoms of the properties that are read.
    quint32 m_strut = 0;
    quint32 m_partialStrut = 0;
    quint32 m_clients = 0;
    quint32 m_workArea = 0;
    quint32 m_desktop = 0;
    quint32 m_desktopsWorkAreas = 0; ///< for the desktop that was current at the last request
    QSet<quint32> m_panels;          ///< the windows whose properties are followed
    QTimer m_pause;
    std::optional<Strut> m_reserved;
    QRect m_toldScreen;
    int m_managersTop = 0; ///< what the desktop reserves without any panel's strut, when that was seen last
};

} // namespace kestrum
