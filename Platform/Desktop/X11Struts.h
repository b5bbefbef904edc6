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

/// The space that panels reserve along the edges of an X server's screens. The toolkit knows only one rectangle for all
/// screens together. With several screens, the toolkit subtracts either nothing or the panel of another screen. Without an
/// X server, the toolkit's value is used.
class X11Struts final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// Space that is reserved along an edge of the whole display, in device pixels. The panel may be on an inner screen.
    /// Then the space also covers the screens between the panel and the edge of the display.
    struct Strut {
        Qt::Edge edge;
        QRect room;
    };

    /// The part of `screen` that `struts` leave free, in device pixels. A strut that takes the whole depth of the screen
    /// is ignored, because it belongs to a screen further inside. A strut that meets the screen with a single pixel of its
    /// length is ignored too, because it belongs to a screen beside this one.
    static QRect rest(const QRect& screen, const QList<Strut>& struts);

    /// Uses the X server that shows `window`. The native window is created if necessary.
    explicit X11Struts(const QWindow& window);

    /// The part of the screen that panels leave free, in the toolkit's units. The call asks the server and waits for the
    /// answer.
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
    // Atoms of properties.
    quint32 m_strut = 0;
    quint32 m_partialStrut = 0;
    quint32 m_clients = 0;
    quint32 m_workArea = 0;
    quint32 m_desktop = 0;
    quint32 m_desktopsWorkAreas = 0; ///< of the current desktop at the last request
    QSet<quint32> m_panels;          ///< the windows whose properties are followed
    QTimer m_pause;
};

} // namespace kestrum
