#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/SingleInstance.h"
#include "Platform/Signals/NotificationCentre.h"
#include "tests/Support/AgentInProcess.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/TestBundle.h"

#include <QDateTime>
#include <QPointer>
#include <QSignalSpy>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

using SharedSettings::Signal;

/// The agent within the test's process: the signals that it receives and posts, and its user interface.
class AgentTest : public QObject, AgentInProcess {
    Q_OBJECT

    /// Whether nothing quits the application after `function`.
    template <class Function> static bool staysAfter(Function function)
    {
        return runWith([function] {
            function();
            QTimer::singleShot(quietTime, qApp, [] { QCoreApplication::exit(7); });
        }) == 7;
    }

    QAction* entry(const QString& text)
    {
        Q_EMIT m_agent->menu().aboutToShow();
        for (QAction* action : m_agent->menu().actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }

    static void show(bool isShown)
    {
        for (const auto* key :
            { &Keys::showCPUItem, &Keys::showMemoryItem, &Keys::showStorageItem, &Keys::showSensorsItem })
            Setting(*key).set(isShown);
    }

private Q_SLOTS:
    void init() { startAnew(); }
    void cleanup() { m_agent.reset(); }

    // Bridges

    void aBridgeIsRememberedUntilItIsDetached()
    {
        const Setting remembered(Keys::panelBridge, QString());
        QTRY_VERIFY(m_agent->strip()->isVisible());
        const uint bridge = m_agent->service()->Attach(QStringLiteral("shell"), {});
        QCOMPARE(remembered.value(), QStringLiteral("shell"));
        QVERIFY(!m_agent->strip()->isVisible());
        m_agent->service()->Detach(bridge);
        QVERIFY(!remembered.recognised());
        QTRY_VERIFY(m_agent->strip()->isVisible());
        QCOMPARE(m_agent->service()->shownBy(), QStringLiteral("strip"));
    }

    void withoutABusNoBridgeIsWaitedFor()
    {
        Setting(Keys::panelBridge, QString()).set(QStringLiteral("shell"));
        startAgent();
        QVERIFY(!m_agent->strip()->isVisible());
        // Much sooner than a bridge would be given up.
        QTRY_VERIFY_WITH_TIMEOUT(m_agent->strip()->isVisible(), 2000);
    }

    // Signals

    void itQuitsWhenAskedTo()
    {
        QCOMPARE(runWith([] { SharedSettings::post(Signal::quitAgent); }), 0);
    }

    void itQuitsWhenThatWasAskedWhileItWasLoaded()
    {
        const auto now = [] { return double(QDateTime::currentMSecsSinceEpoch()) / 1000; };
        SharedSettings::post(Signal::quitAgent);
        QTest::qWait(50);
        m_agent.reset();
        const double launched = now();
        // An agent ignores a request that was posted before its launch.
        startAgent(launched);
        QVERIFY(staysAfter([] {}));

        m_agent.reset();
        SharedSettings::post(Signal::quitAgent);
        startAgent(launched);
        QCOMPARE(runWith([] {}), 0);
    }

    void itOpensThePopoverThatWasAskedForLastWhileItWasLoaded()
    {
        m_agent.reset();
        const auto ask = [](PopoverRequest request) {
            NotificationCentre::post(notificationName(request));
            QTest::qWait(20);
        };
        const double launched = double(QDateTime::currentMSecsSinceEpoch()) / 1000;
        ask(PopoverRequest::memory);
        ask(PopoverRequest::cpu);
        startAgent(launched);
        QCOMPARE(m_agent->popovers()->section(), MonitorSection::cpu);
        ask(PopoverRequest::close);
        startAgent(launched);
        QVERIFY(!m_agent->popovers()->section());
        // What was asked of an earlier agent is done.
        ask(PopoverRequest::cpu);
        startAgent(double(QDateTime::currentMSecsSinceEpoch()) / 1000);
        QVERIFY(!m_agent->popovers()->section());
    }

    void aRequestOfAClockThatWasAheadIsNotSinceTheStart()
    {
        m_agent.reset();
        SharedSettings::post(Signal::quitAgent);
        const QString file = signalsDirectory() + u'/' + SharedSettings::name(Signal::quitAgent);
        const struct timespec tomorrow[2]
            = { { ::time(nullptr) + 86'400, 0 }, { ::time(nullptr) + 86'400, 0 } };
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), tomorrow, 0), 0);
        startAgent(double(::time(nullptr)) - 1);
        QVERIFY(staysAfter([] {}));
        // A new request ends the agent, although the signal's file gets an earlier time.
        QCOMPARE(runWith([] { SharedSettings::post(Signal::quitAgent); }), 0);
    }

    void otherSignalsDoNotEndIt()
    {
        QVERIFY(staysAfter([] {
            for (const Signal signal :
                { Signal::settings, Signal::openSettings, Signal::menuBarChanged, Signal::updateAvailable })
                SharedSettings::post(signal);
        }));
    }

    void itLooksAtTheSettingsAgainWhenTold()
    {
        QTest::qWait(quietTime); // the notice of the settings that the start wrote comes separately
        QSignalSpy rebuilt(m_agent->strip(), &PanelStrip::rebuilt);
        // The file is changed by a hard link in a folder that is not watched, so no notice comes.
        const QByteArray file = QFile::encodeName(SharedSettings::store().filePath());
        const FileTree tree;
        const QString elsewhere = tree.path(QStringLiteral("settings.json"));
        QCOMPARE(::link(file.constData(), QFile::encodeName(elsewhere).constData()), 0);
        tree.write(QStringLiteral("settings.json"), R"({ "meterStyle": "wave" })");
        QTest::qWait(quietTime);
        QCOMPARE(rebuilt.count(), 0);
        SharedSettings::post(Signal::settings);
        QTRY_COMPARE(rebuilt.count(), 1);
        // A second signal without any change rebuilds nothing.
        SharedSettings::post(Signal::settings);
        QTest::qWait(quietTime);
        QCOMPARE(rebuilt.count(), 1);
    }

    void itAdoptsTheEarlierVersionsAccent()
    {
        m_agent.reset();
        forgetSettings();
        SharedSettings::store().set("accentChoice", QStringLiteral("amber"));
        startAgent();
        QCOMPARE(storedText("cpuAccent"), QStringLiteral("amber"));
    }

    // User interface

    void theItemsAreOnTheScreen()
    {
        QVERIFY(m_agent->strip()->isVisible());
        QVERIFY(m_agent->strip()->isWindow());
        QCOMPARE(m_agent->strip()->size(), m_agent->strip()->sizeHint());
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(m_agent->strip()->geometry().topRight(), free.topRight());
    }

    void withNothingShownThereIsNoWindow()
    {
        show(false);
        QTRY_VERIFY(!m_agent->strip()->isVisible());
        show(true);
        QTRY_VERIFY(m_agent->strip()->isVisible());
        QCOMPARE(m_agent->strip()->size(), m_agent->strip()->sizeHint());
    }

    void hidingTheLastItemPausesWhatPopoversRead()
    {
        QSignalSpy paused(m_agent->findChild<Sampler*>(), &Sampler::paused);
        show(false);
        QTRY_COMPARE(paused.count(), 1);
    }

    void aNarrowerStripStaysAtTheTrailingEnd()
    {
        const int right = m_agent->strip()->geometry().right();
        const int width = m_agent->strip()->width();
        Setting(Keys::showMemoryItem).set(false);
        QTRY_VERIFY(m_agent->strip()->width() < width);
        QCOMPARE(m_agent->strip()->geometry().right(), right);
    }

    void itRunsAlsoWhereTheAgentIsSwitchedOff()
    {
        m_agent.reset();
        Setting(Keys::agentEnabled).set(false);
        startAgent();
        QVERIFY(m_agent->strip()->isVisible());
        // A change of other settings does not end the agent.
        QVERIFY(staysAfter([] { Setting(Keys::showMemoryItem).set(false); }));
    }

    void itEndsWhenItIsSwitchedOffInTheSettings()
    {
        // No signal is posted.
        QCOMPARE(runWith([] { Setting(Keys::agentEnabled).set(false); }), 0);
    }

    void startedWhileSwitchedOffItEndsWhenItIsSwitchedOnAndOff()
    {
        m_agent.reset();
        Setting(Keys::agentEnabled).set(false);
        startAgent();
        QVERIFY(staysAfter([] { Setting(Keys::agentEnabled).set(true); }));
        QCOMPARE(runWith([] { Setting(Keys::agentEnabled).set(false); }), 0);
    }

    // Menu

    void quittingItSwitchesItOff()
    {
        QAction* quit = entry(QStringLiteral("Quit Kestrum"));
        QVERIFY(quit);
        QCOMPARE(runWith([quit] { quit->trigger(); }), 0);
        QCOMPARE(Setting(Keys::agentEnabled).value(), false);
    }

    void theMenuSpeaksTheLanguageOfTheMoment()
    {
        const TestBundle bundle("{ }", { "en" });
        bundle.writeTable("de", "\"Quit Kestrum\" = \"Ende\";");
        QVERIFY(entry(QStringLiteral("Quit Kestrum")));
        Setting(Keys::language).set(QStringLiteral("de"));
        QVERIFY(entry(QStringLiteral("Ende")));
    }

    void theMenuStaysWhileItsEntriesWouldBeTheSame()
    {
        const QPointer<QAction> quit = entry(QStringLiteral("Quit Kestrum"));
        QVERIFY(entry(QStringLiteral("Quit Kestrum")) == quit && quit);
        const bool canCheck = Setting(Keys::updaterCanCheck).value();
        SharedSettings::store().set(Keys::updaterCanCheck.name, !canCheck);
        QVERIFY(!entry(QStringLiteral("Check for Updates…")) == canCheck);
        QVERIFY(!quit); // made anew
    }

    void aLanguageFromTheRightMirrorsIt_data()
    {
        QTest::addColumn<bool>("fromTheStart");
        QTest::newRow("from the start") << true;
        QTest::newRow("while it runs") << false;
    }
    void aLanguageFromTheRightMirrorsIt()
    {
        QFETCH(const bool, fromTheStart);
        const TestBundle bundle("{ }", { "en" });
        bundle.writeTable("ar", "\"Quit Kestrum\" = \"إنهاء\";");
        const auto cancel = [] { return QCoreApplication::translate("QPlatformTheme", "Cancel"); };
        const QRect free = QGuiApplication::primaryScreen()->availableGeometry();
        const auto sections = m_agent->strip()->items().sections();
        if (fromTheStart)
            m_agent.reset();
        Setting(Keys::language).set(QStringLiteral("ar"));
        if (fromTheStart)
            startAgent();
        const PanelStrip& strip = *m_agent->strip();
        QTRY_COMPARE(strip.geometry().topLeft(), free.topLeft());
        QCOMPARE(cancel(), QStringLiteral("ألغِ"));
        // The items have the menu bar's order in both writing directions.
        QCOMPARE(strip.items().sections(), sections);
        QMenu& menu = m_agent->menu();
        QCOMPARE(menu.layoutDirection(), Qt::RightToLeft);
        const QPoint at(strip.width() - 10, strip.height());
        Q_EMIT m_agent->strip()->menuRequested(at);
        // The toolkit's own menu window would grab the keyboard and the pointer.
        QVERIFY(!QApplication::activePopupWidget());
        const auto shownMenu = [] {
            const QWidgetList windows = QApplication::topLevelWidgets();
            const auto found = std::find_if(windows.begin(), windows.end(),
                [](const QWidget* window) { return window->isVisible() && window->findChild<QMenu*>(); });
            return found == windows.end() ? nullptr : *found;
        };
        const QWidget* shown = shownMenu();
        QVERIFY(shown);
        QCOMPARE(shown->findChild<QMenu*>()->actions(), menu.actions());
        QCOMPARE(shown->geometry().right(), strip.mapToGlobal(at).x());
        QVERIFY(shown->geometry().top() > strip.geometry().bottom());
        QTest::keyClick(shown->findChild<QMenu*>(), Qt::Key_Escape);
        QTRY_VERIFY(!shownMenu());

        Setting(Keys::language).set(QStringLiteral("en"));
        QTRY_COMPARE(strip.geometry().topRight(), free.topRight());
        QCOMPARE(cancel(), QStringLiteral("Cancel"));
        QCOMPARE(menu.layoutDirection(), Qt::LeftToRight);
    }

    void updatesAreInTheMenuWhereTheyCanBeLookedFor()
    {
        SharedSettings::store().set(Keys::updaterCanCheck.name, true);
        QVERIFY(entry(QStringLiteral("Check for Updates…")));
        SharedSettings::store().set(Keys::updaterCanCheck.name, false);
        QVERIFY(!entry(QStringLiteral("Check for Updates…")));
    }

    // The settings application

    void theSettingsAreAskedToComeForward_data()
    {
        QTest::addColumn<bool>("fromMenu");
        QTest::newRow("from the menu") << true;
        QTest::newRow("from a popover") << false;
    }
    void theSettingsAreAskedToComeForward()
    {
        QFETCH(const bool, fromMenu);
        Ear ear(SharedSettings::name(Signal::openSettings));
        if (fromMenu) {
            entry(QStringLiteral("Settings…"))->trigger();
        } else {
            m_agent->popovers()->open(MonitorSection::memory);
            QVERIFY(m_agent->popovers()->window());
            Q_EMIT m_agent->popovers()->window()->acted({ PanelAction::Kind::openSettings });
            QVERIFY(!m_agent->popovers()->window());
        }
        QTRY_COMPARE(ear.count, 1);
    }

    void aStartSweepsLeftovers()
    {
        // Who lives without the settings window has leftovers of the agent's own saves.
        const QString leftover
            = TestHome::configDirectory() + QStringLiteral("/.kestrum-0123456789abcdef.tmp");
        write(leftover, "x");
        setTimes(leftover, 1000);
        startAgent();
        QVERIFY(!QFile::exists(leftover));
    }

    void theSettingsAreStartedWhetherOrNotTheyRun()
    {
        // The agent always starts the application, since a running one may be about to end. No second window opens.
        FileTree tree;
        const QString program = QStringLiteral("Kestrum.app/Contents/MacOS/Kestrum");
        writeProgram(tree.path(program), "#!/bin/sh\necho started >>\"$0.log\"\n");
        const QString agent = QStringLiteral("Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app");
        tree.write(agent + QStringLiteral("/Contents/Info.plist"), "{ }");
        const Bundle before = Bundle::main();
        Bundle::setMain(Bundle(tree.path(agent)));
        const QString log = tree.path(program) + QStringLiteral(".log");
        {
            const SingleInstance running("Kestrum");
            m_agent->openSettings();
            QTRY_VERIFY(QFile::exists(log));
            QVERIFY(QFile::remove(log));
        }
        m_agent->openSettings();
        QTRY_VERIFY(QFile::exists(log));
        Bundle::setMain(before);
    }
};

KESTRUM_TEST_MAIN(QApplication, AgentTest)
#include "AgentTest.moc"
