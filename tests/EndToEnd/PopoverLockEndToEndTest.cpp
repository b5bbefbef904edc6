// What popovers of the built agent leave possible on an X display, pinned or not: locking the screen, dragging items, hiding them.

#include "tests/Support/InputGrabs.h"
#include "tests/Support/PopoverTest.h"

using namespace kestrum;

using Programs::patience;

namespace {

bool canLock()
{
    return InputGrabs().hasBoth;
}

} // namespace

class PopoverLockEndToEndTest : public PopoverTest {
    Q_OBJECT

private Q_SLOTS:
    void aScreenLockerGetsItsGrabs()
    {
        const QByteArray window = clickAndOpen("memory", "Memory");
        QVERIFY(canLock());
        pin();
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

    void aGrabOfTheKeyboardAloneDoesNotCloseIt()
    {
        const QByteArray window = clickAndOpen("memory", "Memory");
        InputGrabs grabs;
        QVERIFY(grabs.hasBoth);
        QTest::qWait(300);
        QCOMPARE(windows(), QByteArrayList { window });
    }

    void turningToAnotherWindowByKeyboardClosesIt()
    {
        clickAndOpen("memory", "Memory");
        press("alt+Tab");
        QTRY_VERIFY_WITH_TIMEOUT(fixture().isOtherActive(), patience);
        waitForNone();
    }

    void aFocusThatMayFollowThePointerDoesNotCloseIt()
    {
        const QByteArray window = clickAndOpen("memory", "Memory");
        DesktopFixture::moveTo({ 50, panelHeight + 25 });
        fixture().turnToOther();
        QTest::qWait(300); // longer than the toolkit waits for another window's focus
        QCOMPARE(windows(), QByteArrayList { window });
    }

    void aPinIsForgottenWhenItCloses()
    {
        clickAndOpen("memory", "Memory");
        pin();
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

    void aPinnedOneThatIsAskedForAgainGetsTheKeyboard()
    {
        const QByteArray window = clickAndOpen("memory", "Memory");
        pin();
        fixture().turnToOther();
        QCOMPARE(windows(), QByteArrayList { window });
        fixture().kestrumctl("popover memory");
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        fixture().turnToOther();
        fixture().kestrumctl("popover cpu");
        QCOMPARE(opened("CPU"), window);
        QCOMPARE(DesktopFixture::activeWindow(), window);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverLockEndToEndTest)
#include "PopoverLockEndToEndTest.moc"
