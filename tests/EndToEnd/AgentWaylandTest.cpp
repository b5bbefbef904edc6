// The built agent on headless Wayland desktops. sway supports layers, and the tests check the strip on pictures of its desktop.
// cage has no layers. sway refuses root, so compositors and agents run as an ordinary user.

#include "tests/Support/WaylandDesktop.h"

#include <QCoreApplication>

using namespace kestrum;

using Programs::patience;

namespace {

void hideItems(std::initializer_list<const char*> keys)
{
    for (const char* key : keys)
        WaylandDesktop::writeSetting(key, "false");
}

} // namespace

class AgentWaylandTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QProcess> m_compositor;
    std::unique_ptr<QProcess> m_agent;

    void startCompositor(const QStringList& command)
    {
        m_compositor = startedAsUser(command);
        QTRY_VERIFY_WITH_TIMEOUT(!WaylandDesktop::socket().isEmpty(), patience);
        qputenv("WAYLAND_DISPLAY", WaylandDesktop::socket().toUtf8());
    }

    static void waitForStrip()
    {
        QTRY_COMPARE_WITH_TIMEOUT(
            WaylandDesktop::shownPlate().width(), WaylandDesktop::expectedWidth(), patience);
    }

    void startOnSway()
    {
        startCompositor(words("sway -c") << WaylandDesktop::place("sway.conf"));
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::screen().width() == 1000, patience);
        m_agent = startedAsUser({ WaylandDesktop::agentProgram() });
        waitForStrip();
    }

    /// Starts the agent where there are no layers, and waits until the agent reports this.
    void startOnCage()
    {
        startCompositor(words("cage -- cat"));
        m_agent = startedAsUser({ WaylandDesktop::agentProgram() });
        m_agent->setReadChannel(QProcess::StandardError);
        QVERIFY(m_agent->waitForReadyRead(patience));
    }

    /// What a screen shows, counted from 1.
    static QImage pictureOf(int screen)
    {
        const QString file = TestHome::runtimeDirectory() + text("/one.png");
        outputAsUser({ text("grim"), text("-o"), text("HEADLESS-%1").arg(screen), file });
        return QImage(file);
    }
    /// Whether a picture at scale 2 is no enlarged one: then all its pixels would be squares of four.
    static bool isCrisp(const QImage& picture)
    {
        int finer = 0;
        for (int y = 0; y + 1 < picture.height(); y += 2) {
            for (int x = 0; x + 1 < picture.width(); x += 2)
                finer += int(picture.pixel(x, y) != picture.pixel(x + 1, y)
                    || picture.pixel(x, y) != picture.pixel(x, y + 1));
        }
        return finer > 100;
    }

    /// The popover on the first screen, whose scale is told; empty without one.
    static QRect popover(int scale = 1)
    {
        const QImage picture = pictureOf(1);
        const int below = topOfWindows() * scale;
        const QRect area = areaOf(
            picture.copy(0, below, picture.width(), picture.height() - below), WaylandDesktop::isOnGround);
        return area.isNull() ? QRect() : area.translated(0, below);
    }
    static QRect plate(int screen) { return areaOf(pictureOf(screen), WaylandDesktop::plateColour); }

    /// Where the area of ordinary windows begins.
    static int topOfWindows(int screen = 0)
    {
        const QJsonArray workspaces
            = QJsonDocument::fromJson(WaylandDesktop::swaymsg("-t get_workspaces")).array();
        return workspaces[screen][QLatin1StringView("rect")][QLatin1StringView("y")].toInt(-1);
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Qt leaks a few bytes in the Wayland library and unloads this library, so a leak report cannot name the library.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
        QVERIFY(WaylandDesktop::install());
        const QString built = qEnvironmentVariable("KESTRUM_BUILD") + u'/';
        QVERIFY(QFile::copy(built + text("tests/StandInTray"), WaylandDesktop::place("StandInTray")));
        kestrum::write(WaylandDesktop::place("sway.conf"),
            "output * resolution 1000x400 bg #204060 solid_color\nbar {\n  position top\n}\n");
    }

    void init()
    {
        QDir(TestHome::configDirectory()).removeRecursively();
        // The interval is so long that only a change of the settings repaints during a test.
        WaylandDesktop::writeSetting("refreshInterval", "60");
    }

    void cleanup()
    {
        if (m_agent)
            Programs::end(*m_agent);
        if (m_compositor) {
            // cage ends when the program that cage shows ends.
            m_compositor->closeWriteChannel();
            if (m_compositor->processId() && !m_compositor->waitForFinished(500))
                Programs::end(*m_compositor);
        }
        m_agent.reset();
        m_compositor.reset();
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::socket().isEmpty(), patience);
    }

    void theStripIsALayerAtTheTrailingEndWithARowOfItsOwn()
    {
        startOnSway();
        const QImage picture = WaylandDesktop::screen();
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            picture.save(folder + text("/agent-wayland.png"));
        const QRect strip = areaOf(picture, WaylandDesktop::plateColour);
        QCOMPARE(strip.height(), DesktopFixture::stripHeight);
        QCOMPARE(strip.right(), picture.width() - 1);
        // The bar and the strip have a row each, and windows stand below both. Which of the two is the upper one is the
        // compositor's choice.
        const QColor desktop(0x20, 0x40, 0x60);
        const int windows = topOfWindows();
        QVERIFY(windows > DesktopFixture::stripHeight + 10 && windows >= strip.bottom() + 1);
        QCOMPARE(picture.pixelColor(strip.center().x(), windows), desktop);
        for (int y = 0; y < windows; ++y)
            QVERIFY(picture.pixelColor(strip.center().x(), y) != desktop);
        // The ends of the strip are round, so its corner does not show the plate.
        QVERIFY(picture.pixelColor(strip.left(), strip.bottom()) != WaylandDesktop::plateColour);
    }

    void itFollowsTheScreensWidth()
    {
        startOnSway();
        const QSize size = WaylandDesktop::shownPlate().size();
        for (const int width : { 800, 1200 }) {
            WaylandDesktop::swaymsg("output HEADLESS-1 resolution " + QByteArray::number(width) + "x400");
            QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate().right(), width - 1, patience);
            QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate().size(), size, patience);
        }
        hideItems({ "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" });
        QTRY_VERIFY_WITH_TIMEOUT(topOfWindows() < DesktopFixture::stripHeight * 3 / 2, patience);
    }

    void itFollowsTheSettings()
    {
        startOnSway();
        WaylandDesktop::writeSetting("showMemoryItem", "false");
        waitForStrip();
        const QImage bars = WaylandDesktop::screen();
        WaylandDesktop::writeSetting("meterStyle", "\"wave\"");
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::screen() != bars, patience);
        hideItems({ "showCPUItem", "showStorageItem", "showSensorsItem" });
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::shownPlate().isEmpty(), patience);
        WaylandDesktop::writeSetting("showCPUItem", "true");
        waitForStrip();
    }

    void inALanguageFromTheRightItStandsAtTheOtherEnd()
    {
        startOnSway();
        const QRect before = WaylandDesktop::shownPlate();
        WaylandDesktop::writeSetting("language", "\"ar\"");
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate().left(), 0, patience);
        QCOMPARE(WaylandDesktop::shownPlate().size(), before.size());
        WaylandDesktop::writeSetting("language", "\"en\"");
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate(), before, patience);
    }

    void aPopoverOpensOnTheStripsScreen()
    {
        startOnSway();
        QVERIFY(!WaylandDesktop::swaymsg("create_output").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::screen().width(), 2000, patience);
        QVERIFY(!WaylandDesktop::swaymsg("focus output HEADLESS-2").isEmpty());
        WaylandDesktop::kestrumctl({ text("popover"), text("cpu") });
        const auto hasPopover = [](int left) {
            return !areaOf(WaylandDesktop::screen().copy(left, 100, 1000, 100), WaylandDesktop::isOnGround)
                        .isNull();
        };
        QTRY_VERIFY_WITH_TIMEOUT(hasPopover(0) || hasPopover(1000), patience);
        QVERIFY(hasPopover(0));
    }

    void everyScreenHasAStripIfTheUserWantsThat()
    {
        WaylandDesktop::writeSetting("stripScreens", "\"all\"");
        startOnSway();
        const QSize size = WaylandDesktop::shownPlate().size();
        QVERIFY(!WaylandDesktop::swaymsg("create_output").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::screen().width(), 2000, patience);
        QTRY_COMPARE_WITH_TIMEOUT(plate(2).size(), size, patience);
        QCOMPARE(plate(2).right(), 999);
        QTRY_COMPARE_WITH_TIMEOUT(topOfWindows(1), topOfWindows(0), patience);

        // Another scale of the second screen changes that strip alone, which is drawn anew for it.
        const QRect before = plate(1);
        QVERIFY(!WaylandDesktop::swaymsg("output HEADLESS-2 scale 2").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(plate(2).size(), size * 2, patience);
        QCOMPARE(plate(2).right(), 999);
        QTRY_VERIFY_WITH_TIMEOUT(isCrisp(pictureOf(2).copy(plate(2))), patience);
        QCOMPARE(plate(1), before);

        WaylandDesktop::writeSetting("stripScreens", "\"primary\"");
        QTRY_VERIFY_WITH_TIMEOUT(plate(2).isEmpty(), patience);
        QCOMPARE(plate(1), before);
        WaylandDesktop::writeSetting("stripScreens", "\"all\"");
        QTRY_VERIFY_WITH_TIMEOUT(!plate(2).isEmpty(), patience);
        QVERIFY(!WaylandDesktop::swaymsg("output HEADLESS-2 disable").isEmpty());
        QTest::qWait(500);
        QVERIFY(!WaylandDesktop::swaymsg("output HEADLESS-2 enable").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(plate(2).size(), size * 2, patience);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void aPopoverFollowsItsScreensScale()
    {
        startOnSway();
        WaylandDesktop::swaymsg("output HEADLESS-1 resolution 1600x1400");
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate().right(), 1599, patience);
        const QRect strip = WaylandDesktop::shownPlate();
        WaylandDesktop::kestrumctl({ text("popover"), text("storage") });
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        const QRect before = popover();
        const int fromRight = 1599 - before.right();
        // Beside its item, which is the first one.
        QVERIFY(before.left() < strip.left() + 40 && before.right() > strip.left() + 40);
        WaylandDesktop::swaymsg("output HEADLESS-1 scale 2");
        QTRY_COMPARE_WITH_TIMEOUT(popover(2).size(), before.size() * 2, patience);
        QCOMPARE(1599 - popover(2).right(), fromRight * 2);
        QVERIFY(isCrisp(pictureOf(1).copy(popover(2))));
    }

    void aPopoverStaysBesideItsItemWhenAnotherOneGoes()
    {
        startOnSway();
        WaylandDesktop::swaymsg("output HEADLESS-1 resolution 1600x1400");
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate().right(), 1599, patience);
        const QStringList open { text("popover"), text("storage") };
        WaylandDesktop::kestrumctl(open);
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        const QRect before = popover();
        hideItems({ "showCPUItem" });
        waitForStrip();
        QTRY_VERIFY_WITH_TIMEOUT(popover().left() > before.left(), patience);
        const QRect after = popover();
        WaylandDesktop::kestrumctl({ text("popover"), text("close") });
        QTRY_VERIFY_WITH_TIMEOUT(popover().isEmpty(), patience);
        WaylandDesktop::kestrumctl(open);
        QTRY_COMPARE_WITH_TIMEOUT(popover(), after, patience);
    }

    void byDefaultTheStripIsOnTheMainScreenOnly()
    {
        startCompositor(words("sway -c") << WaylandDesktop::place("sway.conf"));
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::screen().width(), 1000, patience);
        QVERIFY(!WaylandDesktop::swaymsg("create_output").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::screen().width(), 2000, patience);
        QVERIFY(!WaylandDesktop::swaymsg("focus output HEADLESS-2")
                     .isEmpty()); // where the compositor would put it
        m_agent = startedAsUser({ WaylandDesktop::agentProgram() });
        QTRY_COMPARE_WITH_TIMEOUT(plate(1).width(), WaylandDesktop::expectedWidth(), patience);
        QVERIFY(plate(2).isEmpty());
    }

    void itComesBackWithTheScreen()
    {
        startOnSway();
        QVERIFY(!WaylandDesktop::swaymsg("output HEADLESS-1 disable").isEmpty());
        QTest::qWait(500);
        QCOMPARE(m_agent->state(), QProcess::Running);
        QVERIFY(!WaylandDesktop::swaymsg("output HEADLESS-1 enable").isEmpty());
        waitForStrip();
    }

    void itEndsWhenAsked()
    {
        startOnSway();
        m_agent->terminate();
        QCOMPARE(Programs::ended(*m_agent).code, 0);
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::shownPlate().isEmpty(), patience);
    }

    void withoutLayersItIsAStatusIconOnceThereIsAPlaceForThem()
    {
        const QString bus = text("unix:path=") + TestHome::runtimeDirectory() + text("/bus");
        const auto daemon = startedAsUser(
            words("dbus-daemon --session --nofork --nopidfile --print-address") << text("--address=") + bus);
        QVERIFY(daemon->waitForReadyRead(patience));
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.toUtf8());
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
        startOnCage();
        QVERIFY(m_agent->readAllStandardError().contains("neither a place"));
        const auto tray = startedAsUser({ WaylandDesktop::place("StandInTray") });
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_CURRENT_DESKTOP");
        QVERIFY(tray->waitForReadyRead(patience));
        QCOMPARE(tray->readLine(), QByteArray("light\n"));
        hideItems({ "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" });
        QVERIFY(tray->waitForReadyRead(patience));
        QCOMPARE(tray->readLine(), QByteArray("gone\n"));
        QTest::qWait(500);
        QCOMPARE(m_agent->state(), QProcess::Running);
        Programs::end(*tray);
        Programs::end(*daemon);
    }

    void withoutLayersItSaysSoOnceAndRuns()
    {
        startOnCage();
        QTest::qWait(1000);
        QCOMPARE(m_agent->state(), QProcess::Running);
        const QByteArray said = m_agent->readAllStandardError();
        QCOMPARE(said.count('\n'), 1);
        QVERIFY2(said.contains("no place") || said.contains("neither a place"), said.constData());
    }
};

KESTRUM_TEST_MAIN_OF(AgentWaylandTest)(int argc, char** argv)
{
    const TestHome home;
    for (const char* variable :
        { "DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "QT_SCALE_FACTOR" })
        qunsetenv(variable);
    qputenv("WLR_BACKENDS", "headless");
    qputenv("WLR_RENDERER", "pixman");
    qputenv("WLR_LIBINPUT_NO_DEVICES", "1");
    qputenv("QT_QPA_PLATFORM", "wayland");
    QCoreApplication application(argc, argv);
    AgentWaylandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentWaylandTest.moc"
