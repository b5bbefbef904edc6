// Presses of buttons that are heard wherever they happen on an X display.

#include "Platform/Desktop/X11Presses.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace kestrum;

class X11PressesTest : public QObject {
    Q_OBJECT

    /// Clicks on the empty desktop.
    static void click() { VirtualDisplay::xdotool("mousemove 300 400 click 1"); }

private Q_SLOTS:
    void eachOfTwoHearsEveryPress()
    {
        const X11Presses one, other;
        QSignalSpy byOne(&one, &X11Presses::pressed);
        QSignalSpy byOther(&other, &X11Presses::pressed);
        click();
        QTRY_COMPARE(byOne.count(), 1);
        QTRY_COMPARE(byOther.count(), 1);
        QCOMPARE(byOne.first().first().toPoint(), QPoint(300, 400));
    }

    void theEndOfOneDoesNotDeafenTheOther()
    {
        auto one = std::make_unique<X11Presses>();
        const X11Presses other;
        QSignalSpy byOther(&other, &X11Presses::pressed);
        one.reset();
        click();
        QTRY_COMPARE(byOther.count(), 1);
    }

    void aLaterOneHearsAfterAllOthersHaveEnded()
    {
        std::make_unique<X11Presses>().reset();
        const X11Presses later;
        QSignalSpy heard(&later, &X11Presses::pressed);
        click();
        QTRY_COMPARE(heard.count(), 1);
        QTest::qWait(quietTime);
        QCOMPARE(heard.count(), 1);
    }
};

KESTRUM_TEST_MAIN_OF(X11PressesTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QGuiApplication application(argc, argv);
    X11PressesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "X11PressesTest.moc"
