// The agent's items in the notification area of a real panel: where they are, and that they can be used there.

#include "tests/Support/DesktopTest.h"
#include "tests/Support/Pixels.h"

#include <QRegularExpression>
#include <QScreen>

using namespace kestrum;

using Programs::patience;

namespace {

const QColor plateOfItems(222, 222, 222);
constexpr int areaHeight = 26;

QImage wholeScreen()
{
    return DesktopFixture::picture({ 0, 0, VirtualDisplay::width, VirtualDisplay::height });
}

} // namespace

class AgentAreaEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;

    void startPanel()
    {
        m_panel = Programs::started(text("trayer"),
            words("--edge bottom --align right --widthtype request --heighttype pixel --height "
                + QByteArray::number(areaHeight)));
    }
    void endPanel()
    {
        if (m_panel)
            Programs::end(*m_panel);
        m_panel.reset();
    }
    /// The rectangle of the items' plate on the screen.
    static QRect items() { return areaOf(wholeScreen(), plateOfItems); }
    bool areInPanel() const
    {
        const QRect shown = items();
        return shown.top() >= VirtualDisplay::height - areaHeight
            && shown.width() >= fixture().expectedStripWidth();
    }
    bool areOnDesktop() const { return DesktopFixture::stripWidth(0) == fixture().expectedStripWidth(); }
    /// The window with the popover; empty while there is none.
    QByteArray popover() const
    {
        const QByteArray active = DesktopFixture::activeWindow();
        const QRect shown = active.isEmpty() ? QRect() : DesktopFixture::geometry(active);
        return shown.width() == 300 ? active : QByteArray();
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        fixture().write("refreshInterval", "60");
        DesktopFixture::moveTo({ 100, 500 });
        startPanel();
        m_agent = Programs::started(fixture().agentProgram(), {});
        QTRY_VERIFY_WITH_TIMEOUT(areInPanel(), patience);
    }
    void cleanup()
    {
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
        endPanel();
    }

    void theyAreInThePanelAndNowhereElse()
    {
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            wholeScreen().save(folder + text("/agent-area.png"));
        // An agent that was there first had a strip of its own until the panel came.
        QTRY_COMPARE(DesktopFixture::stripWidth(0), 0);
        // No room of the desktop is taken at the upper edge.
        QTRY_COMPARE(QGuiApplication::primaryScreen()->availableGeometry().top(), 0);
    }

    void aClickOpensAPopoverAboveThemAndEscapeClosesIt()
    {
        const QRect shown = items();
        DesktopFixture::click({ shown.left() + DesktopFixture::stripSideRoom
                + int(fixture().items().middles.value(text("memory"))),
            shown.center().y() });
        QByteArray window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = popover()).isEmpty(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::geometry(window).bottom() < shown.top(), patience);
        QVERIFY(DesktopFixture::geometry(window).bottom() > shown.top() - 20);
        VirtualDisplay::xdotool("key Escape");
        QTRY_VERIFY_WITH_TIMEOUT(popover().isEmpty(), patience);
        QVERIFY(areInPanel());
    }

    void aHiddenItemTakesNoRoomThere()
    {
        const int width = items().width();
        fixture().write("showMemoryItem", "false");
        QTRY_VERIFY_WITH_TIMEOUT(areInPanel() && items().width() < width, patience);
        fixture().write("showMemoryItem", "true");
        QTRY_COMPARE_WITH_TIMEOUT(items().width(), width, patience);
    }

    void aPanelThatGoesAndComesHasThemAgain()
    {
        endPanel();
        QTRY_VERIFY_WITH_TIMEOUT(areOnDesktop(), patience);
        startPanel();
        QTRY_VERIFY_WITH_TIMEOUT(areInPanel(), patience);
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::primaryScreen()->availableGeometry().top(), 0, patience);
        QCOMPARE(DesktopFixture::stripWidth(0), 0);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentAreaEndToEndTest)
#include "AgentAreaEndToEndTest.moc"
