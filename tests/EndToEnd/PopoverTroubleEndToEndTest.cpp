// What can go wrong with a popover of the built agent on an X display, and must not end the agent.

#include "tests/Support/PanelTest.h"

using namespace kestrum;

using Programs::patience;

class PopoverTroubleEndToEndTest : public PanelTest {
    Q_OBJECT

    static bool isOpen(const char* title)
    {
        const QStringList arguments = words("search --onlyvisible --name ^" + QByteArray(title));
        return !Programs::run(text("xdotool"), arguments).output.trimmed().isEmpty();
    }

private Q_SLOTS:
    void theAgentOutlivesTheItemOfItsOpenPopover()
    {
        fixture().kestrumctl("popover memory");
        QTRY_VERIFY_WITH_TIMEOUT(isOpen("Memory"), patience);
        fixture().write("showMemoryItem", "false");
        QTRY_VERIFY_WITH_TIMEOUT(!isOpen("Memory"), patience);
        QCOMPARE(agent().state(), QProcess::Running);
        fixture().kestrumctl("popover cpu");
        const auto isEnded = [this] { return agent().state() != QProcess::Running; };
        QTRY_VERIFY_WITH_TIMEOUT(isOpen("CPU") || isEnded(), patience);
        QVERIFY(!isEnded());
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(PopoverTroubleEndToEndTest)
#include "PopoverTroubleEndToEndTest.moc"
