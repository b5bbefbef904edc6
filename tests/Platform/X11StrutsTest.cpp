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
const QRect below(0, 800, 1280, 1024);

X11Struts::Strut top(int first, int last, int depth)
{
    return { Qt::TopEdge, QRect(first, 0, last - first + 1, depth) };
}

} // namespace

class X11StrutsTest : public QObject {
    Q_OBJECT

    static void set(const QWindow& window, const char* property, const char* numbers)
    {
        const QString name = QString::fromLatin1(property);
        Programs::output(QStringLiteral("xprop"),
            { QStringLiteral("-id"), QString::number(window.winId()), QStringLiteral("-f"), name,
                QStringLiteral("32c"), QStringLiteral("-set"), name, QString::fromLatin1(numbers) });
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
        row("at the bottom", below, { { Qt::BottomEdge, QRect(0, 1824 - 40, 1280, 40) } },
            below.adjusted(0, 0, 0, -40));
        row("at the top of the screen below", below, { top(0, 1279, 800 + 30) }, below.adjusted(0, 30, 0, 0));
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

    void aChangeOfAPanelIsToldOnce()
    {
        QRasterWindow panel;
        showPanel(panel);
        set(panel, "_NET_WM_STRUT", "0,0,30,0");
        X11Struts struts(panel);
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
        X11Struts struts(panel);
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
