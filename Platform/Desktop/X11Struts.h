// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QObject>
#include <QRect>
#include <QSet>
#include <QTimer>

class QScreen;
class QWindow;
struct xcb_connection_t;

namespace kestrum {

/// Finds the part of a screen that panels leave free on an X server. The toolkit knows only one free rectangle for all
/// screens together. With several screens, the toolkit subtracts either nothing or the panel of another screen. Without
/// an X server, the toolkit's value is used.
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

    /// Uses the X server that shows `window`. The native window is created if necessary.
    explicit X11Struts(const QWindow& window);

    /// The part of the screen that panels leave free, in the toolkit's units. The call waits for the X server.
    QRect available(const QScreen& screen);

Q_SIGNALS:
    /// The free part of a screen may have changed. Emitted 50 ms after a change, once for all changes within that time.
    void changed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    QList<qint32> numbersOfRoot(quint32 property) const;
    QList<quint32> topWindows() const;
    QList<Strut> struts();
    QRect desktopsWord(const QRect& screen);

    xcb_connection_t* m_connection = nullptr;
    quint32 m_root = 0;
    // X atoms of the properties that are read.
    quint32 m_strut = 0;
    quint32 m_partialStrut = 0;
    quint32 m_clients = 0;
    quint32 m_workArea = 0;
    quint32 m_desktop = 0;
    quint32 m_desktopsWorkAreas = 0; ///< for the desktop that was current at the last request
    QSet<quint32> m_panels;          ///< the windows whose properties are followed
    QTimer m_pause;
};

} // namespace kestrum
