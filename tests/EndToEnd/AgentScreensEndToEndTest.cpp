// The built agent on a desktop with two screens and real panels. The toolkit does not report the panels: with several screens
// it takes each whole screen as available.

#include "tests/Support/DesktopTest.h"
#include "tests/Support/Text.h"

#include <QRect>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr int leftWidth = 600; ///< of the left screen; the right one takes the rest
constexpr int thickness = 30;  ///< of a panel
constexpr int height = DesktopFixture::stripHeight;

/// Divides the display into two screens.
void arrange(const char* leftName, const char* rightName)
{
    const auto set = [](const char* name, int left, int width, const char* output) {
        Programs::output(text("xrandr"),
            { text("--setmonitor"), text(name),
                text("%1/%1x%2/%2+%3+0").arg(width).arg(VirtualDisplay::height).arg(left), text(output) });
    };
    for (const char* name : { "left", "right" }) {
        QProcess forgetting;
        forgetting.start(text("xrandr"), { text("--delmonitor"), text(name) });
        forgetting.waitForFinished(patience); // fails when there are none
    }
    set(leftName, 0, leftWidth, "screen");
    set(rightName, leftWidth, VirtualDisplay::width - leftWidth, "none");
}

/// The strip's rectangle on the screen, empty when it is not shown.
QRect strip()
{
    QProcess asking;
    asking.start(text("xdotool"),
        { text("search"), text("--onlyvisible"), text("--name"), text("^Kestrum$"), text("getwindowgeometry"),
            text("--shell") });
    asking.waitForFinished(patience);
    QMap<QByteArray, int> values;
    for (const QByteArray& line : asking.readAllStandardOutput().split('\n'))
        values.insert(line.split('=').value(0), line.split('=').value(1).toInt());
    return { values["X"], values["Y"], values["WIDTH"], values["HEIGHT"] };
}

} // namespace

class AgentScreensEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;

    /// Starts a panel at an edge of a screen (1 is the left screen).
    void startPanel(int screen, const char* place)
    {
        const QString file = TestHome::root() + text("/tint2rc");
        QFile configuration(file);
        QVERIFY(configuration.open(QIODevice::WriteOnly));
        configuration.write("panel_items = E\npanel_size = 100% " + QByteArray::number(thickness)
            + "\nstrut_policy = follow_size\npanel_position = " + place
            + "\npanel_monitor = " + QByteArray::number(screen) + '\n');
        configuration.close();
        m_panel = Programs::started(text("tint2"), { text("-c"), file });
    }

    void endPanel()
    {
        if (m_panel)
            Programs::end(*m_panel);
        m_panel.reset();
    }

    void startAgent() { m_agent = Programs::started(fixture().agentProgram(), {}); }

    /// The strip's rectangle when its right edge is at x = `right` and its upper edge at y = `top`.
    QRect cornered(int right, int top) const
    {
        const int width = fixture().expectedStripWidth();
        return { right - width, top, width, height };
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        fixture().write("refreshInterval", "60");
        // In another style, the items of a machine with many cores do not fit the left screen.
        fixture().write("meterStyle", "\"compact\"");
        arrange("*left", "right");
    }
    void cleanup()
    {
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
        endPanel();
    }

    void theStripStandsBelowThePanelOfItsScreen_data()
    {
        QTest::addColumn<bool>("isPanelFirst");
        QTest::newRow("a panel that was there") << true;
        QTest::newRow("a panel that comes later") << false;
    }
    void theStripStandsBelowThePanelOfItsScreen()
    {
        QFETCH(const bool, isPanelFirst);
        if (isPanelFirst) {
            startPanel(1, "top center horizontal");
            startAgent();
        } else {
            startAgent();
            QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 0), patience);
            startPanel(1, "top center horizontal");
        }
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, thickness), patience);
        endPanel();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 0), patience);
    }

    void itStandsBesideAPanelAtTheSide()
    {
        startPanel(1, "center right vertical");
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth - thickness, 0), patience);
    }

    void aPanelOfTheOtherScreenIsNotInItsWay()
    {
        startPanel(2, "top center horizontal");
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 0), patience);
        QTest::qWait(500);
        QCOMPARE(strip(), cornered(leftWidth, 0));
    }

    void theMainScreenMayBeTheRightOne()
    {
        arrange("left", "*right");
        startPanel(2, "top center horizontal");
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(VirtualDisplay::width, thickness), patience);
    }

    void aDesktopWhosePanelIsNoWindowIsHeard()
    {
        const QString name = text("_GTK_WORKAREAS_D0");
        Programs::output(text("xprop"),
            { text("-root"), text("-f"), name, text("32c"), text("-set"), name,
                text("0,27,600,773,600,0,400,800") });
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 27), patience);
        Programs::output(text("xprop"), { text("-root"), text("-remove"), name });
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 0), patience);
    }

    void aChangeOfWhatAPanelKeepsIsSeen()
    {
        startPanel(1, "top center horizontal");
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, thickness), patience);
        const QByteArray window = VirtualDisplay::xdotool({ text("search"), text("--class"), text("tint2") });
        Programs::output(text("xprop"),
            { text("-id"), QString::fromLatin1(window), text("-f"), text("_NET_WM_STRUT_PARTIAL"),
                text("32c"), text("-set"), text("_NET_WM_STRUT_PARTIAL"),
                text("0,0,50,0,0,0,0,0,0,599,0,0") });
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 50), patience);
    }
};

KESTRUM_TEST_MAIN_OF(AgentScreensEndToEndTest)(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    // The window manager is not running yet: it does not notice screens that are added later.
    arrange("*left", "right");
    QGuiApplication application(argc, argv);
    AgentScreensEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentScreensEndToEndTest.moc"
