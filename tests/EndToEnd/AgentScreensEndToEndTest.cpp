// The built agent on a desktop with two screens and real panels. With several screens, the toolkit does not know the panels: it
// takes the whole area of each screen as available.

#include "tests/Support/PanelTest.h"

#include <QRect>
#include <algorithm>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr int leftWidth = 600; ///< width of the left screen; the right one gets the rest
constexpr int thickness = PanelTest::panelHeight;
constexpr int height = DesktopFixture::stripHeight;

/// Makes a part of the display a screen.
void setScreen(const char* name, int left, int width, const char* output)
{
    Programs::output(text("xrandr"),
        { text("--setmonitor"), text(name),
            text("%1/%1x%2/%2+%3+0").arg(width).arg(VirtualDisplay::height).arg(left), text(output) });
}

/// Divides the display into two screens.
void arrange(const char* leftName, const char* rightName)
{
    for (const char* name : { "left", "right" })
        Programs::run(text("xrandr"), { text("--delmonitor"), text(name) }); // fails when there are none
    setScreen(leftName, 0, leftWidth, "screen");
    setScreen(rightName, leftWidth, VirtualDisplay::width - leftWidth, "none");
}

/// Makes the display one screen.
void unite()
{
    for (const char* name : { "left", "right" })
        Programs::output(text("xrandr"), { text("--delmonitor"), text(name) });
}

QByteArrayList windows(const char* title)
{
    const QByteArray found
        = Programs::run(text("xdotool"), words("search --onlyvisible --name " + QByteArray(title)))
              .output.trimmed();
    return found.isEmpty() ? QByteArrayList() : found.split('\n');
}

/// The strip's rectangle on the screen; empty when the strip is not shown.
QRect strip()
{
    return DesktopFixture::geometry(windows("^Kestrum$").value(0));
}

/// The rectangles of all strips, from left to right.
QList<QRect> strips()
{
    QList<QRect> all;
    for (const QByteArray& window : windows("^Kestrum$"))
        all.append(DesktopFixture::geometry(window));
    std::sort(all.begin(), all.end(), [](const QRect& a, const QRect& b) { return a.left() < b.left(); });
    return all;
}

/// Waits until the strips are these. While a window goes, the search may see none at all, so only one look counts.
bool comeTo(const QList<QRect>& expected)
{
    const bool is = QTest::qWaitFor([&] { return strips() == expected; }, patience);
    if (!is)
        qWarning() << "the strips are" << strips() << "instead of" << expected;
    return is;
}

/// The popover's rectangle; empty without one.
QRect popover()
{
    return DesktopFixture::geometry(windows("^(CPU|Memory|Disk|Sensors)").value(0));
}

} // namespace

class AgentScreensEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;

    /// Starts a panel at an edge of a screen. Screen 1 is the left one.
    void startPanel(int screen, const char* place)
    {
        m_panel = PanelTest::startedPanel(QByteArray("panel_position = ") + place
            + "\npanel_monitor = " + QByteArray::number(screen) + '\n');
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
        // In another style, the items of a machine with many cores would not fit on the left screen.
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
            words("-root -f") << name << words("32c -set") << name << text("0,27,600,773,600,0,400,800"));
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 27), patience);
        Programs::output(text("xprop"), words("-root -remove") << name);
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, 0), patience);
    }

    void everyScreenHasAStripIfTheUserWantsThat()
    {
        startPanel(2, "top center horizontal");
        fixture().write("stripScreens", "\"all\"");
        startAgent();
        const QRect left = cornered(leftWidth, 0);
        const QRect right = cornered(VirtualDisplay::width, thickness);
        QVERIFY(comeTo((QList { left, right })));
        // Each has its room.
        const QByteArrayList shown = windows("^Kestrum$");
        for (const QByteArray& window : shown) {
            const QByteArray kept
                = Programs::output(text("xprop"), words("-id " + window + " _NET_WM_STRUT_PARTIAL"));
            const QRect place = DesktopFixture::geometry(window);
            QVERIFY2(kept.contains(" = 0, 0, " + QByteArray::number(place.bottom() + 1) + ", 0"),
                kept.constData());
            QVERIFY2(kept.contains(QByteArray::number(place.left()) + ", " + QByteArray::number(place.right())
                         + ", 0, 0"),
                kept.constData());
        }
        // What is hidden or changed is so on all of them.
        fixture().write("showMemoryItem", "false");
        const QList<QRect> narrow = { cornered(leftWidth, 0), cornered(VirtualDisplay::width, thickness) };
        QVERIFY(narrow.first().width() < left.width());
        QVERIFY(comeTo(narrow));
        for (const char* other : { "\"primary\"", "\"nonsense\"", "\"\"" }) {
            fixture().write("stripScreens", other);
            QVERIFY(comeTo(QList { narrow.first() }));
            fixture().write("stripScreens", "\"all\"");
            QVERIFY(comeTo(narrow));
        }
    }

    void thePopoverStandsBesideTheStripThatWasClicked()
    {
        fixture().write("stripScreens", "\"all\"");
        startAgent();
        const QList<QRect> both = { cornered(leftWidth, 0), cornered(VirtualDisplay::width, 0) };
        QVERIFY(comeTo(both));
        const int item
            = DesktopFixture::stripSideRoom + int(fixture().items().middles.value(text("storage")));
        for (const QRect& strip : { both.last(), both.first(), both.last() }) {
            DesktopFixture::click(strip.topLeft() + QPoint(item, height / 2));
            QRect shown;
            QVERIFY(QTest::qWaitFor(
                [&] {
                    shown = popover();
                    return shown.top() == strip.bottom() + 1 + 6 && shown.left() < strip.right()
                        && shown.right() > strip.left();
                },
                patience));
            const bool isRight = strip == both.last();
            QVERIFY(isRight ? shown.left() >= leftWidth : shown.right() < leftWidth);
            QCOMPARE(windows("^(CPU|Memory|Disk|Sensors)").size(), 1);
        }
        DesktopFixture::click(both.last().topLeft() + QPoint(item, height / 2));
        QTRY_VERIFY_WITH_TIMEOUT(popover().isEmpty(), patience);
        // It goes with its strip.
        DesktopFixture::click(both.last().topLeft() + QPoint(item, height / 2));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isEmpty(), patience);
        fixture().write("stripScreens", "\"primary\"");
        QTRY_VERIFY_WITH_TIMEOUT(popover().isEmpty(), patience);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void stripsComeAndGoWithTheirScreens()
    {
        fixture().write("stripScreens", "\"all\"");
        startAgent();
        const QList<QRect> both = { cornered(leftWidth, 0), cornered(VirtualDisplay::width, 0) };
        QVERIFY(comeTo(both));
        unite();
        QVERIFY(comeTo(QList { both.last() })); // of the whole display
        arrange("*left", "right");
        QVERIFY(comeTo(both));
        arrange("left", "*right");
        QVERIFY(comeTo(both));
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void whatIsOpenGoesWithItsScreen()
    {
        fixture().write("stripScreens", "\"all\"");
        startAgent();
        const QList<QRect> both = { cornered(leftWidth, 0), cornered(VirtualDisplay::width, 0) };
        QVERIFY(comeTo(both));
        const QPoint item(
            DesktopFixture::stripSideRoom + int(fixture().items().middles.value(text("storage"))),
            height / 2);
        DesktopFixture::click(both.last().topLeft() + item);
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isEmpty(), patience);
        unite();
        QTRY_VERIFY_WITH_TIMEOUT(popover().isEmpty(), patience);
        QVERIFY(comeTo(QList { both.last() }));
        arrange("*left", "right");
        QVERIFY(comeTo(both));
        // The menu is a window of the same name.
        DesktopFixture::moveTo(both.last().topLeft() + item);
        VirtualDisplay::xdotool("click 3");
        QTRY_COMPARE_WITH_TIMEOUT(strips().size(), 3, patience);
        unite();
        QVERIFY(comeTo(QList { both.last() }));
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void aChangeOfWhatAPanelKeepsIsSeen()
    {
        startPanel(1, "top center horizontal");
        startAgent();
        QTRY_COMPARE_WITH_TIMEOUT(strip(), cornered(leftWidth, thickness), patience);
        const QByteArray window = VirtualDisplay::xdotool("search --class tint2");
        Programs::output(text("xprop"),
            words("-id " + window
                + " -f _NET_WM_STRUT_PARTIAL 32c -set _NET_WM_STRUT_PARTIAL"
                  " 0,0,50,0,0,0,0,0,0,599,0,0"));
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
    // The display is divided before the window manager starts: a running one does not notice new screens.
    arrange("*left", "right");
    QGuiApplication application(argc, argv);
    AgentScreensEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentScreensEndToEndTest.moc"
