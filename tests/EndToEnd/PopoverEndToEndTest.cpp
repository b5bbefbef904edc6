// The popovers of the built agent on an X display with a window manager: where they stand, and the ways to open and close them.

#include "tests/Support/PopoverTest.h"

#include <QMouseEvent>

using namespace kestrum;

using Programs::patience;

namespace {

/// Counts the presses that reach the windows of this process.
struct PressCounter : QObject {
    int presses = 0;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::MouseButtonPress && watched->isWindowType())
            ++presses;
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

class PopoverEndToEndTest : public PopoverTest {
    Q_OBJECT

private Q_SLOTS:
    void aClickOpensItBelowItsItemAndASecondOneClosesIt()
    {
        const auto listener = fixture().listener("menuBarChanged");
        const QByteArray window = clickAndOpen("storage", "Disk");
        QVERIFY(!window.isEmpty());
        QCOMPARE(DesktopFixture::activeWindow(), window);
        const QRect shown = DesktopFixture::geometry(window);
        QCOMPARE(shown.width(), 300);
        QCOMPARE(shown.top(), popoverTop);
        const QPoint item = place("storage");
        QVERIFY(item.x() + 150 < VirtualDisplay::width - 8);
        QVERIFY2(
            std::abs(shown.left() - (item.x() - 150)) <= 1, QByteArray::number(shown.left()).constData());
        const QByteArray properties
            = Programs::output(text("xprop"), words("-id " + window + " _NET_WM_WINDOW_TYPE"));
        QVERIFY_CONTAINS(properties, "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU");
        DesktopFixture::click(item);
        waitForNone();
        // Clicks are no drags: nothing is stored, and nobody is told of another order.
        QCOMPARE(Programs::run(fixture().program("kestrumctl"), words("read menuBarOrder --stored")).code, 1);
        QVERIFY(!listener->bytesAvailable());
        Programs::end(*listener);
    }

    void itKeepsAwayFromTheScreensEdge()
    {
        const QRect shown = DesktopFixture::geometry(clickAndOpen("cpu", "CPU"));
        QCOMPARE(shown.right(), VirtualDisplay::width - 8 - 1);
    }

    void anotherItemsClickChangesItInPlace()
    {
        const QByteArray cpu = clickAndOpen("cpu", "CPU");
        const QByteArray memory = clickAndOpen("memory", "Memory");
        QVERIFY(!cpu.isEmpty());
        QCOMPARE(memory, cpu);
        press("Right");
        QCOMPARE(opened("CPU"), cpu);
        press("Right");
        QCOMPARE(opened("Disk"), cpu);
        press("Left");
        QCOMPARE(opened("CPU"), cpu);
        QCOMPARE(windows().size(), 1);
    }

    void aPressElsewhereClosesItAndReachesWhatItHits()
    {
        clickAndOpen("cpu", "CPU");
        PressCounter counter;
        qApp->installEventFilter(&counter);
        DesktopFixture::click({ 50, panelHeight + 25 }); // the other program's window
        QTRY_COMPARE_WITH_TIMEOUT(counter.presses, 1, patience);
        waitForNone();
        // On the empty desktop, too.
        clickAndOpen("cpu", "CPU");
        DesktopFixture::click({ 300, 700 });
        waitForNone();
    }

    void pressesInsideAndTheWheelDoNotCloseIt()
    {
        const QByteArray window = clickAndOpen("cpu", "CPU");
        DesktopFixture::click(DesktopFixture::geometry(window).center());
        DesktopFixture::moveTo({ 300, 700 });
        VirtualDisplay::xdotool("click 4");
        VirtualDisplay::xdotool("click 5");
        QTest::qWait(200);
        QCOMPARE(windows(), QByteArrayList { window });
    }

    void escapeClosesIt()
    {
        clickAndOpen("memory", "Memory");
        press("Escape");
        waitForNone();
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverEndToEndTest)
#include "PopoverEndToEndTest.moc"
