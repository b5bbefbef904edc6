// The built agent from its start to its end, with a real panel, a real mouse and real signals.

#include "tests/Support/AptScript.h"
#include "tests/Support/PanelTest.h"

#include <QRegularExpression>
#include <csignal>

using namespace kestrum;

using Programs::patience;

class AgentEndToEndTest : public PanelTest {
    Q_OBJECT

    /// Waits for the agent's end. Checks the agent's exit code and the reason in the last line that the agent wrote.
    void verifyEnds(const QByteArray& reason) const
    {
        const auto end = Programs::ended(agent());
        QCOMPARE(end.code, 0);
        const QByteArray lastWords = end.errors.trimmed().split('\n').last();
        QVERIFY_CONTAINS(lastWords, "the agent ends: " + reason);
    }

    /// Opens the menu by a right click, presses the key `arrow` once, and chooses the entry that it reaches.
    void chooseFromMenu(const char* arrow) const
    {
        DesktopFixture::moveTo(place("memory"));
        VirtualDisplay::xdotool("click 3");
        QTest::qWait(300);
        VirtualDisplay::xdotool("key", { text(arrow), text("Return") });
    }

private Q_SLOTS:
    void theMenuQuitsItAndSwitchesItOff()
    {
        chooseFromMenu("Up");
        verifyEnds("its menu");
        QCOMPARE(fixture().read("agentEnabled"), QByteArray("false"));
    }

    void itOpensTheSettingsAlsoBesideARunWithoutAWindow()
    {
        // This run of the application only saves pictures. SIGSTOP prevents its end.
        QProcess looking;
        looking.setProcessEnvironment(Programs::environment({ { "QT_QPA_PLATFORM", "offscreen" } }));
        looking.start(
            fixture().program("Kestrum"), { text("--pictures"), TestHome::root() + text("/pictures") });
        QVERIFY(looking.waitForStarted(patience));
        ::kill(pid_t(looking.processId()), SIGSTOP);

        fixture().turnToOther();
        chooseFromMenu("Down");
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
        // The application got a startup token with the X server's time of the click.
        static const QRegularExpression token(text("DESKTOP_STARTUP_ID=\\S+_TIME[1-9]\\d*$"));
        const QStringList all
            = QString::fromLocal8Bit(DesktopFixture::environmentOf(opened.first())).split(QChar(u'\0'));
        QCOMPARE(all.filter(token).size(), 1);
        fixture().endSettingsApplications();
    }

    void aSecondAgentEndsAtOnce()
    {
        const auto second = Programs::run(fixture().agentProgram(), {});
        QCOMPARE(second.code, 0);
        QCOMPARE(second.errors.count('\n'), 1);
        QCOMPARE(agent().state(), QProcess::Running);
    }

    void itEndsWhenAskedAndSaysWhy_data()
    {
        QTest::addColumn<QStringList>("command");
        QTest::addColumn<QByteArray>("reason");
        const QString tool = fixture().program("kestrumctl");
        QTest::newRow("by the signal")
            << QStringList(tool) + words("post quitAgent") << QByteArray("it was asked to quit");
        QTest::newRow("by its switch") << QStringList(tool) + words("write agentEnabled false")
                                       << QByteArray("it was switched off in the settings");
        const QByteArray system("a signal of the system");
        QTest::newRow("by SIGTERM") << words("kill -TERM") << system;
        QTest::newRow("by SIGINT") << words("kill -INT") << system;
    }
    void itEndsWhenAskedAndSaysWhy()
    {
        QFETCH(QStringList, command);
        QFETCH(const QByteArray, reason);
        if (command.first() == QLatin1StringView("kill"))
            command.append(QString::number(agent().processId()));
        QCOMPARE(Programs::run(command.first(), command.mid(1)).code, 0);
        verifyEnds(reason);
        waitForNoStrip();
    }

    void withoutARuntimeDirectoryTheSwitchEndsIt()
    {
        Programs::end(agent());
        const QByteArray place = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_RUNTIME_DIR");
        startAgent();
        const auto stopping = Programs::run(fixture().program("kestrumctl"), words("agent stop"));
        qputenv("XDG_RUNTIME_DIR", place);
        QVERIFY2(stopping.code == 0, stopping.errors.constData());
        verifyEnds("it was switched off in the settings");
    }

    void aSuiteThatCannotBeIsReplacedWithoutAWord()
    {
        Programs::end(agent());
        qputenv("KESTRUM_SETTINGS_SUITE", QByteArray(300, 'x'));
        startAgent({}, Wait::no);
        const auto window
            = Programs::started(fixture().program("Kestrum"), words("-platform offscreen --first-frame"));
        qunsetenv("KESTRUM_SETTINGS_SUITE");
        waitForStrip();
        Programs::end(agent());
        const auto painted = Programs::ended(*window);
        QCOMPARE(painted.output, QByteArray("painted\n"));
        for (const QByteArray& said : { agent().readAllStandardError(), painted.errors })
            QVERIFY2(!said.contains("suite") && !said.contains("xxx"), said.constData());
    }

    void startedAtLoginItRunsOnlyWhereItIsSwitchedOn()
    {
        Programs::end(agent());
        fixture().write("agentEnabled", "false");
        startAgent();
        Programs::end(agent());
        startAgent(words("--login"), Wait::no);
        verifyEnds("it is switched off");
        fixture().write("agentEnabled", "true");
        startAgent(words("--login"));
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
        if (fixture().kestrumctl("read updaterCanCheck") != "true")
            QSKIP("this agent was built without updates, and starts nobody");
        fixture().kestrumctl("post checkForUpdates");
        QTRY_VERIFY_WITH_TIMEOUT(
            apt.written("environment").contains("DISPLAY="), patience); // other variables are inherited
        for (const char* own : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "QT_XCB_NO_MITSHM" })
            QVERIFY2(!apt.written("environment").contains(own), own);
    }

    void itSaysWhatItIs()
    {
        QVERIFY(Programs::output(fixture().agentProgram(), words("--help")).contains("Usage: KestrumAgent"));
        QVERIFY(Programs::output(fixture().agentProgram(), words("--version")).startsWith("KestrumAgent "));
        QCOMPARE(Programs::run(fixture().agentProgram(), words("--wrong")).code, 2);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentEndToEndTest)
#include "AgentEndToEndTest.moc"
