// What popovers of the built agent leave possible on an X display, pinned or not: locking the screen, dragging items, hiding them.

#include "tests/Support/PopoverTest.h"

#include <xcb/xcb.h>

using namespace kestrum;

using Programs::patience;

namespace {

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

class PopoverLockEndToEndTest : public PopoverTest {
    Q_OBJECT

private Q_SLOTS:
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

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverLockEndToEndTest)
#include "PopoverLockEndToEndTest.moc"
