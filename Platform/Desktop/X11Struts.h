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

/// The room that panels reserve along the edges of an X server's screens. The toolkit knows one rectangle for all screens
/// together. Of several screens it subtracts either nothing or the panel of another screen. Where there is no X server, the
/// toolkit's value holds.
class X11Struts final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// Room that is reserved along an edge of the whole display, in pixels of the device. It may belong to an inner screen:
    /// then it reaches from the edge of the display through the screens before that one.
    struct Strut {
        Qt::Edge edge;
        QRect room;
    };

    /// The part of a screen that struts leave free, in pixels of the device. A strut that takes the whole depth of the
    /// screen is meant for a screen behind it, and one that reaches in by a single pixel for a screen beside it.
    static QRect rest(const QRect& screen, const QList<Strut>& struts);

    /// For the server that shows `window`, which is created if necessary.
    explicit X11Struts(const QWindow& window);
    ~X11Struts() override;

    /// The part of the screen that panels leave free, in the toolkit's units. Asks the server and waits for its answer.
    QRect available(const QScreen& screen);

Q_SIGNALS:
    /// The free part of a screen may have changed. Emitted 50 ms after a change, once for all changes within that time.
    void changed();

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    quint32 atom(const QByteArray& name) const;
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
    quint32 m_desktopsWorkAreas = 0; ///< of the last current desktop
    QSet<quint32> m_panels;          ///< whose properties are followed
    QTimer m_pause;
};

} // namespace kestrum
