// The start of the application, except for its settings (see SettingsAppDelegateTest).

#include "Kestrum/KestrumApp.h"
#include "Kestrum/Window/SettingsView.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Files/FileDescriptor.h"
#include "tests/Support/AgentFixture.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QRasterWindow>
#include <QSignalSpy>
#include <memory>
#include <sys/inotify.h>

using namespace kestrum;

using Run = SettingsAppDelegate::Run;

class StartUpTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AgentFixture> m_fixture;

    static KestrumApp& application() { return *static_cast<KestrumApp*>(qApp); }

    static std::unique_ptr<SettingsAppDelegate> delegate(Run run = Run::ordinary)
    {
        auto result
            = std::make_unique<SettingsAppDelegate>(run, Relaunch::Actions { [](const QString&) {}, [] {} });
        result->applicationDidFinishLaunching();
        return result;
    }

    /// The path of the login item that an earlier version made.
    static QString legacyItem()
    {
        return QFile::decodeName(qgetenv("XDG_CONFIG_HOME"))
            + QStringLiteral("/autostart/com.orvale.kestrum.desktop");
    }
    static void leaveLegacyItem() { write(legacyItem(), {}); }

private Q_SLOTS:
    void initTestCase() { skipAmongAgentsOfOthers(); }

    void init()
    {
        m_fixture = std::make_unique<AgentFixture>();
        m_fixture->installAgent();
    }

    void cleanup() { m_fixture.reset(); }

    // This test is the first one, before any window exists.
    void whereThereIsNoWindowAfterLaunchOneIsOpened()
    {
        application().launch();
        const auto* hidden = application().window();
        QVERIFY(hidden->isVisible());
        application().window()->hide();
        QTRY_VERIFY_WITH_TIMEOUT(application().window() && application().window()->isVisible(), 3000);
        QCOMPARE(application().window()->windowTitle(), QStringLiteral("Kestrum"));
        QCOMPARE(application().window()->objectName(), QStringLiteral("main"));
        QCOMPARE(application().window()->size(), QSize(640, 520));
        QCOMPARE(application().window()->minimumSize(), QSize(640, 480));
        // Closing the window quits the application.
        QVERIFY(QGuiApplication::quitOnLastWindowClosed());
        application().window()->hide();
    }

    void aMissingWindowIsAskedForOnce()
    {
        const auto started = delegate();
        QSignalSpy asked(started.get(), &SettingsAppDelegate::reopenRequested);
        started->windowWasShown();
        // The request comes only after the launch has returned.
        QCOMPARE(asked.count(), 0);
        QTRY_COMPARE(asked.count(), 1);
        started->windowWasShown();
        QTest::qWait(1200);
        QCOMPARE(asked.count(), 1);
    }

    void onlyAMissingMainWindowIsAskedFor_data()
    {
        addRows<Qt::WindowType, int>({ { "a window", Qt::Window, 0 }, { "a dialog", Qt::Dialog, 1 } });
    }
    void onlyAMissingMainWindowIsAskedFor()
    {
        const auto [type, times] = thisRow<Qt::WindowType, int>();
        QRasterWindow window;
        window.setFlags(type);
        window.show();
        const auto started = delegate();
        QSignalSpy asked(started.get(), &SettingsAppDelegate::reopenRequested);
        started->windowWasShown();
        QTRY_COMPARE(asked.count(), times);
        QTest::qWait(50);
        QCOMPARE(asked.count(), times);
    }

    void theAgentIsStartedWhenTheWindowHasBeenSeen()
    {
        const auto started = delegate();
        QTest::qWait(100);
        QVERIFY(AgentFixture::agents().isEmpty());
        started->windowWasShown();
        m_fixture->waitForAgent();
    }

    void theAgentDoesNotWaitForEverForAWindow()
    {
        QElapsedTimer clock;
        clock.start();
        const auto started = delegate();
        QTRY_COMPARE(AgentFixture::agents().size(), 1);
        QCOMPARE_GE(clock.elapsed(), 900);
        QCOMPARE_LT(clock.elapsed(), 2000);
    }

    void anAgentThatIsSwitchedOffIsNotStarted()
    {
        Setting { Keys::agentEnabled }.set(false);
        const auto started = delegate();
        started->windowWasShown();
        QTest::qWait(300);
        QVERIFY(AgentFixture::agents().isEmpty());
        QVERIFY(m_fixture->everStarted().isEmpty());
    }

    void theStepsComeInTheirOrder()
    {
        leaveLegacyItem();
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        const QString agent = m_fixture->installAgent();
        const QByteArray settings
            = QFile::encodeName(QFileInfo(SharedSettings::store().filePath()).fileName());
        const FileDescriptor events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        const auto watch = [&](const QString& file, uint32_t what) {
            return ::inotify_add_watch(
                events.get(), QFile::encodeName(QFileInfo(file).path()).constData(), what);
        };
        QVERIFY(watch(SharedSettings::store().filePath(), IN_MOVED_TO) >= 0);
        QVERIFY(watch(legacyItem(), IN_DELETE) >= 0);
        QVERIFY(watch(agent, IN_OPEN) >= 0);

        const auto started = delegate();
        qsizetype agentsBeforeWindow = -1;
        connect(started.get(), &SettingsAppDelegate::reopenRequested, this,
            [&] { agentsBeforeWindow = AgentFixture::agents().size(); });
        QTRY_VERIFY(!QFile::exists(legacyItem()));
        started->windowWasShown();
        QTRY_COMPARE(agentsBeforeWindow, 1);

        // First-time steps: the accents, the login item, the agent.
        QByteArrayList steps;
        alignas(inotify_event) char buffer[4096];
        const ssize_t length = ::read(events.get(), buffer, sizeof buffer);
        for (ssize_t at = 0; at < length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            const QByteArray name(event->name);
            if (event->len > 0 && !steps.contains(name))
                steps.append(name);
            at += ssize_t(sizeof *event + event->len);
        }
        QCOMPARE(steps, (QByteArrayList { settings, "com.orvale.kestrum.desktop", "KestrumAgent" }));
        m_fixture->waitForAgent();
    }

    void theLegacyLoginItemIsRemoved()
    {
        leaveLegacyItem();
        const auto started = delegate();
        QTRY_VERIFY(!QFile::exists(legacyItem()));
    }

    void aVisitorStartsNoAgentAndLeavesLoginItemsAlone()
    {
        leaveLegacyItem();
        const auto started = delegate(Run::visitor);
        started->windowWasShown();
        QTest::qWait(300);
        QVERIFY(m_fixture->everStarted().isEmpty());
        QVERIFY(QFile::exists(legacyItem()));
        QVERIFY(QFile::remove(legacyItem()));
        // The delegate still registers the default values.
        QCOMPARE(SharedSettings::store().string(Keys::settingsPane.name), QStringLiteral("menuBar"));
    }

    void theSignalBringsTheFirstMainWindowForward()
    {
        QRasterWindow dialog;
        dialog.setFlag(Qt::Dialog);
        QRasterWindow window;
        for (QRasterWindow* shown : { &dialog, &window })
            shown->showMinimized();
        const auto started = delegate();
        SharedSettings::post(SharedSettings::Signal::openSettings);
        QTRY_VERIFY(!window.windowStates().testFlag(Qt::WindowMinimized));
        QVERIFY(window.isVisible());
        QVERIFY(dialog.windowStates().testFlag(Qt::WindowMinimized));
    }

    void withoutAWindowTheSignalDoesNothing()
    {
        QRasterWindow hidden;
        hidden.create();
        const auto started = delegate();
        SharedSettings::post(SharedSettings::Signal::openSettings);
        QTest::qWait(100);
        QVERIFY(!hidden.isVisible());
    }
};

KESTRUM_TEST_MAIN_OF(StartUpTest)(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    KestrumApp application(argc, argv, Run::ordinary);
    StartUpTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StartUpTest.moc"
