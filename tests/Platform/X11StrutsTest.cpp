#include "Platform/Desktop/X11Struts.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/QuietTime.h"

#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>

using namespace kestrum;

namespace {

// Two screens side by side, and one below the left one.
const QRect left(0, 0, 1280, 800);
const QRect right(1280, 0, 1920, 1080);
const QRect lower(0, 800, 1280, 1024);

X11Struts::Strut top(int first, int last, int depth)
{
    return { Qt::TopEdge, QRect(first, 0, last - first + 1, depth) };
}

} // namespace

class X11StrutsTest : public QObject {
    Q_OBJECT

    QRasterWindow m_other;

    static void set(const QWindow& window, const char* property, const char* numbers)
    {
        const QString name = QString::fromLatin1(property);
        Programs::output(QStringLiteral("xprop"),
            { QStringLiteral("-id"), QString::number(window.winId()), QStringLiteral("-f"), name,
                QStringLiteral("32c"), QStringLiteral("-set"), name, QString::fromLatin1(numbers) });
    }

    /// As a window manager does.
    static void tellWorkArea(int top)
    {
        const QString name = text("_NET_WORKAREA");
        Programs::output(text("xprop"),
            words("-root -f")
                << name << words("32c -set") << name
                << text("0,%1,%2,%3").arg(top).arg(VirtualDisplay::width).arg(VirtualDisplay::height - top));
    }
    /// The screen without its upper rows.
    static QRect below(int top)
    {
        return QGuiApplication::primaryScreen()->geometry().adjusted(0, top, 0, 0);
    }

    static void showPanel(QWindow& panel)
    {
        panel.setGeometry(0, 0, VirtualDisplay::width, 30);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
    }

private Q_SLOTS:
    void whatPanelsLeaveOfAScreen_data()
    {
        QTest::addColumn<QRect>("screen");
        QTest::addColumn<QList<X11Struts::Strut>>("struts");
        QTest::addColumn<QRect>("rest");
        const auto row = [](const char* name, const QRect& screen, const QList<X11Struts::Strut>& struts,
                             const QRect& rest) { QTest::newRow(name) << screen << struts << rest; };
        const X11Struts::Strut topOfLeft = top(0, 1279, 30);
        const QRect belowPanel = left.adjusted(0, 30, 0, 0);
        row("nothing", left, {}, left);
        row("a panel at its top", left, { topOfLeft }, belowPanel);
        row("another screen's panel", right, { topOfLeft }, right);
        row("another screen's, counted one too far", right, { top(0, 1280, 30) }, right);
        row("of two panels the deeper one", left, { topOfLeft, top(100, 300, 48), top(0, 1279, 24) },
            left.adjusted(0, 48, 0, 0));
        row("one for all screens", right, { top(0, 3199, 26) }, right.adjusted(0, 26, 0, 0));
        row("at the left", left, { { Qt::LeftEdge, QRect(0, 0, 64, 800) } }, left.adjusted(64, 0, 0, 0));
        row("at the right", right, { { Qt::RightEdge, QRect(3200 - 64, 0, 64, 1080) } },
            right.adjusted(0, 0, -64, 0));
        row("between the screens: of the right one", right, { { Qt::LeftEdge, QRect(0, 0, 1280 + 50, 800) } },
            right.adjusted(50, 0, 0, 0));
        row("between the screens: none of the left one", left,
            { { Qt::LeftEdge, QRect(0, 0, 1280 + 50, 800) } }, left);
        row("at the bottom", lower, { { Qt::BottomEdge, QRect(0, 1824 - 40, 1280, 40) } },
            lower.adjusted(0, 0, 0, -40));
        row("at the top of the screen below", lower, { top(0, 1279, 800 + 30) }, lower.adjusted(0, 30, 0, 0));
        row("which is none of the screen above", left, { top(0, 1279, 800 + 30) }, left);
        row("on all sides", left,
            { topOfLeft, { Qt::LeftEdge, QRect(0, 0, 10, 800) }, { Qt::RightEdge, QRect(1260, 0, 20, 800) },
                { Qt::BottomEdge, QRect(0, 760, 1280, 40) } },
            QRect(10, 30, 1250, 730));
        row("more than there is", left,
            { { Qt::TopEdge, QRect(0, 0, 1280, 500) }, { Qt::BottomEdge, QRect(0, 200, 1280, 600) } }, left);
    }
    void whatPanelsLeaveOfAScreen()
    {
        QFETCH(const QRect, screen);
        QFETCH(const QList<X11Struts::Strut>, struts);
        QTEST(X11Struts::rest(screen, struts), "rest");
    }

    void aStrutOfTheTopCoversNoOtherScreen()
    {
        const auto room = [](const QRect& window) {
            const auto strut = X11Struts::topStrut(window, { left, right, lower });
            return strut ? strut->room : QRect();
        };
        QCOMPARE(room(QRect(980, 0, 300, 22)), QRect(980, 0, 300, 22));
        // Below a panel, the strut covers the panel's room too, because it is counted from the display's edge.
        QCOMPARE(room(QRect(980, 30, 300, 22)), QRect(980, 0, 300, 52));
        QCOMPARE(room(QRect(1280, 0, 300, 22)), QRect(1280, 0, 300, 22));
        QCOMPARE(room(QRect(980, 800, 300, 22)), QRect());
    }

    void whatAWindowReservesItselfIsFreeForIt()
    {
        QRasterWindow own;
        own.create();
        X11Struts struts(own);
        const QScreen& screen = *QGuiApplication::primaryScreen();
        const auto free = [&](int top) { return struts.available(screen) == below(top); };
        tellWorkArea(0);
        // Twice, because the first place could become the reason of the second one.
        for (int round = 0; round < 2; ++round) {
            QVERIFY(free(0));
            struts.reserve(screen, QRect(700, 0, 300, 22));
            QVERIFY(free(0)); // the window manager has not heard of it yet
            tellWorkArea(22);
        }
        QVERIFY(free(0));

        // A panel above it counts, also where the own reservation hides it, and no longer when it is gone.
        QRasterWindow panel;
        showPanel(panel);
        set(panel, "_NET_WM_STRUT", "0,0,30,0");
        QVERIFY(free(30));
        tellWorkArea(30);
        QVERIFY(free(30));
        struts.reserve(screen, QRect(700, 30, 300, 22));
        tellWorkArea(52);
        QVERIFY(free(30));
        panel.hide();
        QTRY_VERIFY(free(0));
        // The window manager may tell the room of an earlier place for a while.
        struts.reserve(screen, QRect(700, 0, 300, 22));
        QVERIFY(free(0));
        tellWorkArea(22);
        QVERIFY(free(0));
        struts.reserve(screen, {});
        QVERIFY(free(0));
        tellWorkArea(0);
        QVERIFY(free(0));
    }

    void whatTheWindowManagerReservesItselfIsNot()
    {
        QRasterWindow own;
        own.create();
        X11Struts struts(own);
        const QScreen& screen = *QGuiApplication::primaryScreen();
        tellWorkArea(40);
        QCOMPARE(struts.available(screen), below(40));
        struts.reserve(screen, QRect(700, 40, 300, 22));
        tellWorkArea(62);
        QCOMPARE(struts.available(screen), below(40));
        tellWorkArea(0);
        QCOMPARE(struts.available(screen), below(0));
        Programs::output(text("xprop"), words("-root -remove _NET_WORKAREA"));
    }

    void withoutAWindowManagerShownWindowsAreLookedAt()
    {
        QRasterWindow own;
        X11Struts struts(own);
        const QScreen& screen = *QGuiApplication::primaryScreen();
        const QRect all(0, 0, VirtualDisplay::width, VirtualDisplay::height);
        QCOMPARE(struts.available(screen), all);

        QRasterWindow panel;
        panel.create();
        set(panel, "_NET_WM_STRUT", "0,0,30,0");
        QCOMPARE(struts.available(screen), all);
        showPanel(panel);
        QCOMPARE(struts.available(screen), all.adjusted(0, 30, 0, 0));
        // The newer property has priority over the older one. An empty range means the whole edge.
        set(panel, "_NET_WM_STRUT_PARTIAL", "0,0,0,44,0,0,0,0,0,0,0,0");
        QCOMPARE(struts.available(screen), all.adjusted(0, 0, 0, -44));
    }

    void windowsOfOneProcessAreNoPanelsToEachOther()
    {
        QRasterWindow first;
        showPanel(first);
        X11Struts struts(first);
        const QScreen& screen = *QGuiApplication::primaryScreen();
        struts.reserve(screen, QRect(700, 0, 300, 22));
        QRasterWindow second;
        second.create();
        QCOMPARE(X11Struts(second).available(screen), screen.geometry());
        // A popover beside the pointer stands below the strip.
        QCOMPARE(X11Struts().available(screen), screen.geometry().adjusted(0, 22, 0, 0));
    }

    void aChangeOfAPanelIsToldOnce()
    {
        QRasterWindow panel;
        showPanel(panel);
        set(panel, "_NET_WM_STRUT", "0,0,30,0");
        X11Struts struts(m_other);
        struts.available(*QGuiApplication::primaryScreen());
        QSignalSpy changed(&struts, &X11Struts::changed);
        set(panel, "_NET_WM_STRUT", "0,0,35,0");
        QVERIFY(changed.wait()); // this change and all earlier ones
        set(panel, "WM_NAME", "7");
        QTest::qWait(quietTime);
        QCOMPARE(changed.count(), 1);
        set(panel, "_NET_WM_STRUT", "0,0,40,0");
        QTRY_COMPARE(changed.count(), 2);
    }

    void propertiesThatAreNoStrutsAreNone()
    {
        QRasterWindow panel;
        showPanel(panel);
        X11Struts struts(m_other);
        const QScreen& screen = *QGuiApplication::primaryScreen();
        const QRect all = screen.geometry();
        for (const char* numbers : { "30", "-5,-5,-5,-5", "0,0,2000000000,0", "0,0,30" }) {
            set(panel, "_NET_WM_STRUT", numbers);
            QCOMPARE(struts.available(screen), all);
        }
        set(panel, "_NET_WM_STRUT_PARTIAL", "0,0,30,0,0,0,0,0,-2147483648,2147483647,0,0");
        QCOMPARE(struts.available(screen), all.adjusted(0, 30, 0, 0));
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(X11StrutsTest)
#include "X11StrutsTest.moc"
