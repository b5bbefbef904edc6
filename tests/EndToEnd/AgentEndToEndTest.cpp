// The built agent from its start to its end, with a real panel, a real mouse and real signals.

#include "tests/Support/AptScript.h"
#include "tests/Support/PanelTest.h"
#include "tests/Support/Text.h"

#include <QProcessEnvironment>
#include <QRegularExpression>
#include <csignal>

using namespace kestrum;

using Programs::patience;

class AgentEndToEndTest : public PanelTest {
    Q_OBJECT

    /// The last line that the agent wrote.
    QByteArray lastWords() const { return agent().readAllStandardError().trimmed().split('\n').last(); }

private Q_SLOTS:
    void theMenuQuitsItAndSwitchesItOff()
    {
        DesktopFixture::moveTo(place("memory"));
        VirtualDisplay::xdotool({ text("click"), text("3") });
        QTest::qWait(300);
        VirtualDisplay::xdotool({ text("key"), text("Up") });
        VirtualDisplay::xdotool({ text("key"), text("Return") });
        QVERIFY(agent().waitForFinished(patience));
        QCOMPARE(agent().exitCode(), 0);
        QCOMPARE(fixture().read("agentEnabled"), QByteArray("false"));
        QVERIFY(lastWords().contains("the agent ends: its menu"));
    }

    void itOpensTheSettingsAlsoBesideARunWithoutAWindow()
    {
        // A run that only saves pictures. It is stopped, so that it stays running.
        QProcess looking;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(text("QT_QPA_PLATFORM"), text("offscreen"));
        looking.setProcessEnvironment(environment);
        looking.start(
            fixture().program("Kestrum"), { text("--pictures"), TestHome::root() + text("/pictures") });
        QVERIFY(looking.waitForStarted(patience));
        ::kill(pid_t(looking.processId()), SIGSTOP);

        fixture().turnToOther();
        DesktopFixture::moveTo(place("memory"));
        VirtualDisplay::xdotool({ text("click"), text("3") });
        QTest::qWait(300);
        VirtualDisplay::xdotool({ text("key"), text("Down") });
        VirtualDisplay::xdotool({ text("key"), text("Return") });
        QList<qint32> opened;
        const auto isOpened = [&] {
            opened = fixture().settingsApplications();
            opened.removeAll(qint32(looking.processId()));
            return !opened.isEmpty();
        };
        const bool isStarted = QTest::qWaitFor(isOpened, 5000);
        ::kill(pid_t(looking.processId()), SIGKILL);
        QVERIFY(looking.waitForFinished(patience));
        QVERIFY(isStarted);
        const QByteArray window = DesktopFixture::windowOf(opened.first());
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        // The application got a startup token for the click, with the X server's time.
        QFile variables(text("/proc/%1/environ").arg(opened.first()));
        QVERIFY(variables.open(QIODevice::ReadOnly));
        static const QRegularExpression token(text("DESKTOP_STARTUP_ID=\\S+_TIME[1-9]\\d*$"));
        const QStringList all = QString::fromLocal8Bit(variables.readAll()).split(QChar(u'\0'));
        QCOMPARE(all.filter(token).size(), 1);
        fixture().endSettingsApplications();
    }

    void aSecondAgentEndsAtOnce()
    {
        QProcess second;
        second.start(fixture().agentProgram(), {});
        QVERIFY(second.waitForFinished(patience));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(second.readAllStandardError().count('\n'), 1);
        QCOMPARE(agent().state(), QProcess::Running);
    }

    void itEndsWhenAskedAndSaysWhy_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("reason");
        const QString tool = fixture().program("kestrumctl");
        QTest::newRow("by the signal")
            << QStringList { tool, text("post"), text("quitAgent") } << QByteArray("it was asked to quit");
        QTest::newRow("by its switch") << QStringList { tool, text("write"), text("agentEnabled"),
            text("false") } << QByteArray("it was switched off in the settings");
        const QByteArray system("a signal of the system");
        QTest::newRow("by SIGTERM") << QStringList { text("kill"), text("-TERM") } << system;
        QTest::newRow("by SIGINT") << QStringList { text("kill"), text("-INT") } << system;
    }
    void itEndsWhenAskedAndSaysWhy()
    {
        QFETCH(QStringList, command);
        QFETCH(const QByteArray, reason);
        if (command.first() == QLatin1StringView("kill"))
            command.append(QString::number(agent().processId()));
        QProcess asking;
        asking.start(command.first(), command.mid(1));
        QVERIFY(asking.waitForFinished(patience));
        QVERIFY(agent().waitForFinished(patience));
        QCOMPARE(agent().exitStatus(), QProcess::NormalExit);
        QCOMPARE(agent().exitCode(), 0);
        QVERIFY(lastWords().contains("the agent ends: " + reason));
        waitForNoStrip();
    }

    void withoutARuntimeDirectoryTheSwitchEndsIt()
    {
        Programs::end(agent());
        const QByteArray place = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_RUNTIME_DIR");
        startAgent();
        QProcess stopping;
        stopping.start(fixture().program("kestrumctl"), { text("agent"), text("stop") });
        const bool isStopped = stopping.waitForFinished(patience);
        qputenv("XDG_RUNTIME_DIR", place);
        QVERIFY(isStopped);
        QVERIFY2(stopping.exitCode() == 0, stopping.readAllStandardError().constData());
        QTRY_COMPARE_WITH_TIMEOUT(agent().state(), QProcess::NotRunning, patience);
        QVERIFY(lastWords().contains("the agent ends: it was switched off in the settings"));
    }

    void aSuiteThatCannotBeIsReplacedWithoutAWord()
    {
        Programs::end(agent());
        qputenv("KESTRUM_SETTINGS_SUITE", QByteArray(300, 'x'));
        startAgent({}, Wait::no);
        const auto window = Programs::started(
            fixture().program("Kestrum"), { text("-platform"), text("offscreen"), text("--first-frame") });
        qunsetenv("KESTRUM_SETTINGS_SUITE");
        waitForStrip();
        Programs::end(agent());
        QTRY_COMPARE_WITH_TIMEOUT(window->state(), QProcess::NotRunning, patience);
        QCOMPARE(window->readAllStandardOutput(), QByteArray("painted\n"));
        for (QProcess* process : { &agent(), window.get() }) {
            const QByteArray said = process->readAllStandardError();
            QVERIFY2(!said.contains("suite") && !said.contains("xxx"), said.constData());
        }
    }

    void startedAtLoginItRunsOnlyWhereItIsSwitchedOn()
    {
        Programs::end(agent());
        fixture().write("agentEnabled", "false");
        startAgent();
        Programs::end(agent());
        startAgent({ text("--login") }, Wait::no);
        QVERIFY(agent().waitForFinished(patience));
        QCOMPARE(agent().exitCode(), 0);
        QVERIFY(lastWords().contains("the agent ends: it is switched off"));
        fixture().write("agentEnabled", "true");
        startAgent({ text("--login") });
        QCOMPARE(agent().state(), QProcess::Running);
    }

    void noLockOfTheToolkitsEndsIt()
    {
        Programs::end(agent());
        const QString report = TestHome::root() + text("/released");
        qputenv(
            "QT_PLUGIN_PATH", QFile::encodeName(QCoreApplication::applicationDirPath() + text("/plugins")));
        qputenv("QT_QPA_GENERIC_PLUGINS", "quitlock:" + QFile::encodeName(report));
        startAgent();
        qunsetenv("QT_PLUGIN_PATH");
        qunsetenv("QT_QPA_GENERIC_PLUGINS");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(report), patience);
        QTest::qWait(500);
        QCOMPARE(agent().state(), QProcess::Running);
        waitForStrip();
    }

    void whatItStartsInheritsNothingOfItsOwn()
    {
        Programs::end(agent());
        // "apt-cache" stands for any program that the agent starts.
        const AptScript apt("env >\"${0%/*}/environment\"\n");
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "token_TIME1");
        startAgent();
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        if (fixture().kestrumctl({ text("read"), text("updaterCanCheck") }) != "true")
            QSKIP("this agent was built without updates, and starts nobody");
        fixture().kestrumctl({ text("post"), text("checkForUpdates") });
        QTRY_VERIFY_WITH_TIMEOUT(
            apt.written("environment").contains("DISPLAY="), patience); // other variables are inherited
        for (const char* own : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "QT_XCB_NO_MITSHM" })
            QVERIFY2(!apt.written("environment").contains(own), own);
    }

    void itSaysWhatItIs()
    {
        QVERIFY(
            Programs::output(fixture().agentProgram(), { text("--help") }).contains("Usage: KestrumAgent"));
        QVERIFY(
            Programs::output(fixture().agentProgram(), { text("--version") }).startsWith("KestrumAgent "));
        QProcess wrong;
        wrong.start(fixture().agentProgram(), { text("--wrong") });
        QVERIFY(wrong.waitForFinished(patience));
        QCOMPARE(wrong.exitCode(), 2);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentEndToEndTest)
#include "AgentEndToEndTest.moc"
