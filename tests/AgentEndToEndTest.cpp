// The built agent below a real panel, watched on the screen and worked by a real mouse.

#include "tests/AptScript.h"
#include "tests/DesktopTest.h"
#include "tests/OpenedWindow.h"
#include "tests/SeenTimes.h"

#include <QElapsedTimer>
#include <cmath>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr int panelHeight = 30;
constexpr int stripHeight = DesktopStage::stripHeight;
const QColor plate(222, 222, 222);

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// The trailing end of the room right below the panel.
QImage corner()
{
    return DesktopStage::picture({ VirtualDisplay::width - 400, panelHeight, 400, stripHeight });
}

bool hasHue(const QImage& image, const QColor& hue)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - hue.red()) < 8 && std::abs(pixel.green() - hue.green()) < 8
                && std::abs(pixel.blue() - hue.blue()) < 8)
                return true;
        }
    }
    return false;
}

} // namespace

class AgentEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;

    void startPanel()
    {
        m_panel = Programs::started(text("tint2"), { text("-c"), TestHome::root() + text("/tint2rc") });
        QTRY_COMPARE_WITH_TIMEOUT(
            QGuiApplication::primaryScreen()->availableGeometry().top(), panelHeight, patience);
    }

    void furnish() override
    {
        QFile file(TestHome::root() + text("/tint2rc"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("panel_items = E\npanel_size = 100% 30\npanel_position = top center horizontal\n"
                   "strut_policy = follow_size\n");
        file.close();
        startPanel();
    }
    void clear() override { Programs::end(*m_panel); }

    void waitForStrip(int top = panelHeight) const
    {
        QTRY_COMPARE_WITH_TIMEOUT(DesktopStage::stripWidth(top), stage().expectedStripWidth(), patience);
    }
    static void waitForNoStrip()
    {
        QTRY_COMPARE_WITH_TIMEOUT(DesktopStage::stripWidth(panelHeight), 0, patience);
    }

    void showItems(bool isShown) const
    {
        for (const char* key : { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" })
            stage().write(key, isShown ? "true" : "false");
    }

    /// The middle of a section's item on the screen.
    QPoint place(const char* section) const
    {
        const double left
            = VirtualDisplay::width - stage().expectedStripWidth() + DesktopStage::stripSideRoom;
        return { int(left + stage().items().middles.value(QString::fromLatin1(section))),
            panelHeight + stripHeight / 2 };
    }

    /// Moves an item to the strip's trailing end.
    void dragToTheEnd(const char* section) const
    {
        const QPoint from = place(section);
        DesktopStage::drag(from, { VirtualDisplay::width - 2, from.y() });
    }

private Q_SLOTS:
    void init()
    {
        DesktopStage::forgetChoices();
        // So seldom that nothing but a change of the settings paints during a test.
        stage().write("refreshInterval", "60");
        DesktopStage::moveTo({ 100, 500 });
        m_agent = Programs::started(stage().agentProgram(), {});
        waitForStrip();
    }

    void cleanup()
    {
        Programs::end(*m_agent);
        m_agent.reset();
    }

    void theStripStandsBelowThePanel()
    {
        const QImage shown = corner();
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            QGuiApplication::primaryScreen()->grabWindow(0).save(folder + text("/agent.png"));
        QVERIFY(DesktopStage::stripWidth(panelHeight) > 200);
        QCOMPARE(shown.pixelColor(shown.width() - 2, 11), plate);
        // Items are drawn on it: more than the plate and its labels.
        QVERIFY(hasHue(shown, QColor(69, 184, 153)));
        // And above and below is none of it.
        const QImage around
            = DesktopStage::picture({ VirtualDisplay::width - 400, 0, 400, panelHeight + stripHeight + 20 });
        for (int y : { panelHeight - 1, panelHeight + stripHeight })
            QVERIFY(around.pixelColor(around.width() - 40, y) != plate);
    }

    void valuesChangeWithTime()
    {
        stage().write("refreshInterval", "0.2");
        const QImage before = corner();
        // An idle machine may look the same for long.
        QElapsedTimer busy;
        busy.start();
        while (busy.elapsed() < 1500) { }
        QTRY_VERIFY_WITH_TIMEOUT(corner() != before, patience);
    }

    void itIsADockOnEveryDesktopAlsoWhenItWasHidden()
    {
        for (int round = 0; round < 2; ++round) {
            const QByteArray window = VirtualDisplay::xdotool(
                { text("search"), text("--onlyvisible"), text("--name"), text("^Kestrum$") });
            QVERIFY(!window.isEmpty());
            const QByteArray properties = Programs::output(
                text("xprop"), { text("-id"), QString::fromLatin1(window), text("_NET_WM_WINDOW_TYPE") });
            QVERIFY2(properties.contains("_NET_WM_WINDOW_TYPE_DOCK"), properties.constData());
            VirtualDisplay::xdotool({ text("set_desktop"), text("1") });
            QTest::qWait(200);
            const int width = DesktopStage::stripWidth(panelHeight);
            VirtualDisplay::xdotool({ text("set_desktop"), text("0") });
            QCOMPARE(width, stage().expectedStripWidth());

            showItems(false);
            waitForNoStrip();
            showItems(true);
            waitForStrip();
        }
    }

    void itMovesWhenThePanelGoesAndComes()
    {
        Programs::end(*m_panel);
        waitForStrip(0);
        startPanel();
        waitForStrip();
    }

    void aSettingWrittenInAShellIsSeenWithin100Milliseconds_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("back");
        const auto row = [](const char* key, const char* json, const char* back) {
            QTest::newRow(key) << QString::fromLatin1(key) << QString::fromLatin1(json)
                               << QString::fromLatin1(back);
        };
        row("meterStyle", "\"wave\"", "\"bars\"");
        row("showCPUItem", "false", "true");
        row("cpuAccent", "\"amber\"", "\"signal\"");
        row("menuBarOrder", "\"cpu,memory,sensors,storage\"", "\"storage,sensors,memory,cpu\"");
    }
    void aSettingWrittenInAShellIsSeenWithin100Milliseconds()
    {
        QFETCH(const QString, key);
        QFETCH(const QString, json);
        QFETCH(const QString, back);
        SeenTimes times;
        for (int round = 0; round < 6; ++round) {
            QTest::qWait(100); // let the change before come to rest
            times.note(stage(), key, round % 2 ? back : json, corner);
        }
        qInfo("%s: %s", qPrintable(key), qPrintable(times.report()));
        // How long a command takes to start is the machine's affair.
        QVERIFY(Programs::areSanitized || times.afterEnd() < 100);
    }

    void aHiddenItemTakesNoRoomAndNoItemNoSurface()
    {
        stage().write("showMemoryItem", "false");
        waitForStrip();
        showItems(false);
        waitForNoStrip();
        stage().write("showCPUItem", "true");
        waitForStrip();
    }

    void aDragIsStoredAndTold()
    {
        const auto listener = Programs::started(stage().program("kestrumctl"),
            { text("listen"), text("menuBarChanged"), text("--timeout"), text("20") });
        listener->setReadChannel(QProcess::StandardError);
        QVERIFY(listener->waitForReadyRead(patience));
        dragToTheEnd("storage");
        QTRY_COMPARE_WITH_TIMEOUT(
            stage().read("menuBarOrder"), QByteArray("\"sensors,memory,cpu,storage\""), patience);
        listener->setReadChannel(QProcess::StandardOutput);
        if (!listener->bytesAvailable())
            QVERIFY(listener->waitForReadyRead(patience));
        QVERIFY(listener->readAllStandardOutput().contains("menuBarChanged"));
        Programs::end(*listener);
    }

    void aDragAtThePanelShowsInTheOpenWindow()
    {
        const OpenedWindow window(stage());
        const QImage before = window.restingPreview();
        QVERIFY(!before.isNull());
        dragToTheEnd("storage");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() != before, patience);
        const QImage after = window.restingPreview();
        // It is the picture of that very order, wherever that comes from.
        stage().write("menuBarOrder", "\"storage,sensors,memory,cpu\"");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() == before, patience);
        stage().write("menuBarOrder", "\"sensors,memory,cpu,storage\"");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() == after, patience);
        Programs::end(window.application());
    }

    void theMenuQuitsItAndSwitchesItOff()
    {
        DesktopStage::moveTo(place("memory"));
        VirtualDisplay::xdotool({ text("click"), text("3") });
        QTest::qWait(300);
        VirtualDisplay::xdotool({ text("key"), text("Up") });
        VirtualDisplay::xdotool({ text("key"), text("Return") });
        QVERIFY(m_agent->waitForFinished(patience));
        QCOMPARE(m_agent->exitCode(), 0);
        QCOMPARE(stage().read("agentEnabled"), QByteArray("false"));
    }

    void aSecondAgentEndsAtOnce()
    {
        QProcess second;
        second.start(stage().agentProgram(), {});
        QVERIFY(second.waitForFinished(patience));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(second.readAllStandardError().count('\n'), 1);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void itEndsWhenAsked_data()
    {
        QTest::addColumn<QStringList>("command");
        const QStringList post { stage().program("kestrumctl"), text("post"), text("quitAgent") };
        QTest::newRow("by the signal") << post;
        QTest::newRow("by SIGTERM") << QStringList { text("kill"), text("-TERM") };
        QTest::newRow("by SIGINT") << QStringList { text("kill"), text("-INT") };
    }
    void itEndsWhenAsked()
    {
        QFETCH(QStringList, command);
        if (command.first() == QLatin1StringView("kill"))
            command.append(QString::number(m_agent->processId()));
        QProcess asking;
        asking.start(command.first(), command.mid(1));
        QVERIFY(asking.waitForFinished(patience));
        QVERIFY(m_agent->waitForFinished(patience));
        QCOMPARE(m_agent->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_agent->exitCode(), 0);
        waitForNoStrip();
    }

    void whatItStartsInheritsNothingOfItsOwn()
    {
        Programs::end(*m_agent);
        // A program that it starts: the one that tells versions.
        const AptScript apt("env >\"${0%/*}/environment\"\n");
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "token_TIME1");
        m_agent = Programs::started(stage().agentProgram(), {});
        waitForStrip();
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        if (stage().kestrumctl({ text("read"), text("updaterCanCheck") }) != "true")
            QSKIP("this agent was built without updates, and starts nobody");
        stage().kestrumctl({ text("post"), text("checkForUpdates") });
        QTRY_VERIFY_WITH_TIMEOUT(
            apt.written("environment").contains("DISPLAY="), patience); // what is ours, it does inherit
        for (const char* own : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "QT_XCB_NO_MITSHM" })
            QVERIFY2(!apt.written("environment").contains(own), own);
    }

    void itSaysWhatItIs()
    {
        QVERIFY(Programs::output(stage().agentProgram(), { text("--help") }).contains("Usage: KestrumAgent"));
        QVERIFY(Programs::output(stage().agentProgram(), { text("--version") }).startsWith("KestrumAgent "));
        QProcess wrong;
        wrong.start(stage().agentProgram(), { text("--wrong") });
        QVERIFY(wrong.waitForFinished(patience));
        QCOMPARE(wrong.exitCode(), 2);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentEndToEndTest)
#include "AgentEndToEndTest.moc"
