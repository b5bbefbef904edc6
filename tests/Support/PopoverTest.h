#pragma once

#include "tests/Support/PanelTest.h"

namespace kestrum {

/// A test of the popovers of the built agent, on a desktop with a panel and a window manager.
class PopoverTest : public PanelTest {
    Q_OBJECT
protected:
    static constexpr int popoverTop = panelHeight + DesktopFixture::stripHeight + 6;

    /// The ids of the popover's windows. Its title begins with the section's name, the strip's with the program's.
    static QByteArrayList windows(const char* title = "(CPU|Memory|Disk|Sensors)")
    {
        const QByteArray found
            = Programs::run(text("xdotool"), words("search --onlyvisible --name ^" + QByteArray(title)))
                  .output.trimmed();
        return found.isEmpty() ? QByteArrayList() : found.split('\n');
    }
    static void waitForNone() { QTRY_VERIFY_WITH_TIMEOUT(windows().isEmpty(), Programs::patience); }
    /// Waits for the popover with that title and for the keyboard. Returns its window.
    static QByteArray opened(const char* title)
    {
        (void)QTest::qWaitFor([title] { return windows(title).size() == 1; }, Programs::patience);
        const QByteArray window = windows(title).value(0);
        (void)QTest::qWaitFor(
            [&window] { return DesktopFixture::activeWindow() == window; }, Programs::patience);
        return window;
    }
    QByteArray clickAndOpen(const char* section, const char* title)
    {
        DesktopFixture::click(place(section));
        return opened(title);
    }
    static void press(const char* key) { VirtualDisplay::xdotool("key " + QByteArray(key)); }
    /// Pins what is open. The agent hears of keys and of presses elsewhere by different ways.
    static void pin()
    {
        press("p");
        QTest::qWait(200);
    }
};

} // namespace kestrum
