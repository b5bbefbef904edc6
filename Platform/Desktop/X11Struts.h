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

/// What panels keep for themselves along the edges of an X server's screens. The toolkit knows a rectangle for all screens
/// together, and of several screens it takes either nothing away or what a panel of another screen keeps. Where there is no X
/// server, the toolkit's word holds.
class X11Struts final : public QObject, QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// Room that is kept along an edge of the whole display, in pixels of the device. It may be an inner screen's: then it reaches
    /// from the edge of the display through the screens before that one.
    struct Strut {
        Qt::Edge edge;
        QRect room;
    };

    /// What the struts leave of a screen, all in pixels of the device. A strut that takes the whole depth of the screen is meant
    /// for one behind it, and one that reaches in by a single pixel for one beside it.
    static QRect rest(const QRect& screen, const QList<Strut>& struts);

    /// Of the server that shows `window`, which is created if it is not there yet.
    explicit X11Struts(const QWindow& window);
    ~X11Struts() override;

    /// What panels leave free of the screen, in the toolkit's units. Asks the server and waits for its answer.
    QRect available(const QScreen& screen);

Q_SIGNALS:
    /// Something of this may be different now. Told 50 ms after it happens, once for all that happens in that time.
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
    // Names of properties.
    quint32 m_strut = 0;
    quint32 m_partialStrut = 0;
    quint32 m_clients = 0;
    quint32 m_workArea = 0;
    quint32 m_desktop = 0;
    quint32 m_desktopsWorkAreas = 0; ///< that of the desktop that was shown last
    QSet<quint32> m_panels;          ///< whose properties are followed
    QTimer m_pause;
};

} // namespace kestrum
