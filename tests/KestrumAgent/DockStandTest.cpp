// Which presses dismiss a window beside the strip on an X display.

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class DockStandTest : public QObject {
    Q_OBJECT

    static void click(QPoint at)
    {
        VirtualDisplay::xdotool(
            "mousemove " + QByteArray::number(at.x()) + ' ' + QByteArray::number(at.y()) + " click 1");
    }

private Q_SLOTS:
    void whereAWindowReallyStandsPressesDoNotDismissIt()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        PanelStrip strip(std::make_shared<FakeReadings>());
        DockStand stand(strip);
        QSignalSpy dismissed(&stand, &PopoverStand::dismissed);
        const QRect free(0, 0, VirtualDisplay::width, 700);
        stand.setGround(QRect(600, 0, 400, 22), free);
        QWidget window;
        stand.show(window, QSize(200, 200), QRect(100, 0, 60, 22));
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // As a window manager moves it.
        const QPoint elsewhere(100, 400);
        VirtualDisplay::xdotool("windowmove " + QByteArray::number(window.winId()) + " 100 400");
        QTRY_COMPARE(window.geometry().topLeft(), elsewhere);
        click(elsewhere + QPoint(100, 100));
        QTest::qWait(quietTime);
        QVERIFY(dismissed.isEmpty());
        // Where it was asked to stand, there is nothing of it.
        click(
            DockStand::place(QSize(200, 200), QRect(700, 0, 60, 22), QRect(600, 0, 400, 22), free).center());
        QTRY_COMPARE(dismissed.count(), 1);
        stand.hide();
    }
};

KESTRUM_TEST_MAIN_OF(DockStandTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    DockStandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DockStandTest.moc"
