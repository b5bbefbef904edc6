// The popovers of the built agent on an X display with a window manager: where they stand, and the ways to open and close them.

#include "tests/Support/PanelTest.h"

#include <QMouseEvent>
#include <xcb/xcb.h>

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

/// What a screen locker does first: it takes the keyboard and the pointer for itself. Returns whether it gets both.
bool canLock()
{
    xcb_connection_t* display = xcb_connect(nullptr, nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display)).data->root;
    const auto keyboard
        = xcb_grab_keyboard(display, 1, root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const auto pointer = xcb_grab_pointer(display, 1, root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
        XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    auto* ofKeyboard = xcb_grab_keyboard_reply(display, keyboard, nullptr);
    auto* ofPointer = xcb_grab_pointer_reply(display, pointer, nullptr);
    const bool hasBoth = ofKeyboard && ofKeyboard->status == XCB_GRAB_STATUS_SUCCESS && ofPointer
        && ofPointer->status == XCB_GRAB_STATUS_SUCCESS;
    std::free(ofKeyboard);
    std::free(ofPointer);
    xcb_disconnect(display); // ends both grabs
    return hasBoth;
}

} // namespace

class PopoverEndToEndTest : public PanelTest {
    Q_OBJECT

    static constexpr int popoverTop = panelHeight + DesktopFixture::stripHeight + 6;

    /// The ids of the popover's windows. Its title begins with the section's name, the strip's with the program's.
    static QByteArrayList windows(const char* title = "(CPU|Memory|Disk|Sensors)")
    {
        const QByteArray found
            = Programs::run(text("xdotool"), words("search --onlyvisible --name ^" + QByteArray(title)))
                  .output.trimmed();
        return found.isEmpty() ? QByteArrayList() : found.split('\n');
    }
    static void waitForNone() { QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), patience); }
    /// Waits for the popover with that title and for the keyboard. Returns its window.
    static QByteArray opened(const char* title)
    {
        (void)QTest::qWaitFor([title] { return windows(title).size() == 1; }, patience);
        const QByteArray window = windows(title).value(0);
        (void)QTest::qWaitFor([&window] { return DesktopFixture::activeWindow() == window; }, patience);
        return window;
    }
    QByteArray clickAndOpen(const char* section, const char* title)
    {
        DesktopFixture::click(place(section));
        return opened(title);
    }
    static void press(const char* key) { VirtualDisplay::xdotool("key " + QByteArray(key)); }

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

    void aScreenLockerGetsItsGrabs()
    {
        const QByteArray window = clickAndOpen("memory", "Memory");
        QVERIFY(canLock());
        press("p"); // pins it
        DesktopFixture::click({ 300, 700 });
        QTest::qWait(200);
        QCOMPARE(windows(), QByteArrayList { window });
        QVERIFY(canLock());
        DesktopFixture::click(place("memory"));
        waitForNone();
    }

    void aScreenLockerGetsItsGrabsWhileTheMenuIsOpen()
    {
        const auto menu = [] {
            return Programs::run(text("xdotool"), words("search --onlyvisible --name ^Kestrum$"))
                       .output.trimmed()
                       .split('\n')
                       .size()
                == 2;
        };
        DesktopFixture::moveTo(place("memory"));
        VirtualDisplay::xdotool("click 3");
        QTRY_VERIFY_WITH_TIMEOUT(menu(), patience);
        QVERIFY(canLock());
        DesktopFixture::click({ 300, 700 });
        QTRY_VERIFY_WITH_TIMEOUT(!menu(), patience);
    }

    void aPinIsForgottenWhenItCloses()
    {
        clickAndOpen("memory", "Memory");
        press("p");
        press("Escape");
        waitForNone();
        clickAndOpen("memory", "Memory");
        DesktopFixture::click({ 300, 700 });
        waitForNone();
    }

    void itGoesWithItsItem()
    {
        clickAndOpen("memory", "Memory");
        fixture().write("showMemoryItem", "false");
        waitForNone();
    }

    void aDragWithAnOpenPopoverStillReorders()
    {
        const QByteArray window = clickAndOpen("storage", "Disk");
        const QPoint from = place("storage");
        DesktopFixture::drag(from, { VirtualDisplay::width - 2, from.y() });
        QTRY_COMPARE_WITH_TIMEOUT(
            fixture().read("menuBarOrder"), QByteArray("\"sensors,memory,cpu,storage\""), patience);
        // It moves with its item, here to the screen's edge.
        QTRY_COMPARE_WITH_TIMEOUT(
            DesktopFixture::geometry(window).right(), VirtualDisplay::width - 8 - 1, patience);
    }

    void aCommandOpensAndClosesIt()
    {
        for (const char* section : { "storage", "cpu" })
            fixture().kestrumctl("popover " + QByteArray(section));
        const QByteArray window = opened("CPU");
        QVERIFY(!window.isEmpty());
        QCOMPARE(DesktopFixture::activeWindow(), window);
        fixture().kestrumctl("popover close");
        waitForNone();
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverEndToEndTest)
#include "PopoverEndToEndTest.moc"
