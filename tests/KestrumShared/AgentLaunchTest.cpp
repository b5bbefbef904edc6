#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/LaunchFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

namespace {

constexpr int checkTolerance = 300; // ms

QString running(qint32 pid, int retriesLeft)
{
    return QStringLiteral("agent already running (pid %1); retries left %2").arg(pid).arg(retriesLeft);
}

} // namespace

/// The chain of checks by which `AppLinks` starts the agent.
class AgentLaunchTest : public LaunchFixture {
    Q_OBJECT

    /// Starts the bundle's agent. The agent ends by itself after `lifetime` ms, if given.
    qint32 startAgent(const char* lifetime = "")
    {
        return m_standIns->start(m_standIns->path(agentPlace), lifetime).pid;
    }
    /// The log's lines about the start of the running agent.
    static QStringList startLines()
    {
        return { QStringLiteral("starting the agent at ") + AppLinks::embeddedAgentURL(),
            QStringLiteral("agent started, pid %1").arg(runningPids().value(0)) };
    }

private Q_SLOTS:
    void absentAgentIsStarted()
    {
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QTRY_COMPARE(lines().size(), 2);
        QCOMPARE(runningPids().size(), 1);
        QCOMPARE(texts(), startLines());
        QCOMPARE(lines()[0].type, QtInfoMsg);
        QCOMPARE(lines()[1].type, QtInfoMsg);
        QTest::qWait(nextCheck);
        QCOMPARE(lines().size(), 2);
    }

    void startDoesNotTakeTheFocus()
    {
        for (const char* variable : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "KESTRUM_TEST" })
            qputenv(variable, "token");
        AppLinks::launchAgentIfNeeded(0);
        for (const char* variable : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "KESTRUM_TEST" })
            qunsetenv(variable);
        QTRY_COMPARE(runningPids().size(), 1);
        QByteArrayList environment;
        const auto read = [&] {
            environment = StandIns::environmentOf(runningPids().value(0));
            return environment.contains("KESTRUM_TEST=token");
        };
        QTRY_VERIFY(read()); // the kernel shows it a moment after the start
        QVERIFY(!environment.contains("XDG_ACTIVATION_TOKEN=token"));
        QVERIFY(!environment.contains("DESKTOP_STARTUP_ID=token"));
    }

    void missingAgentIsAnErrorInTheLog()
    {
        Bundle::setMain(Bundle(m_standIns->path(QStringLiteral("Elsewhere.app"))));
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QTRY_COMPARE(lines().size(), 2);
        QCOMPARE(texts()[1],
            QStringLiteral("could not start the agent: there is no application at %1")
                .arg(AppLinks::embeddedAgentURL()));
        QCOMPARE(lines()[1].type, QtCriticalMsg);
    }

    void brokenAgentIsNotTriedAgain()
    {
        m_standIns->tree().write(agentPlace, QByteArray());
        QVERIFY(QFile::setPermissions(m_standIns->path(agentPlace), QFile::ReadOwner));
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QTRY_COMPARE(lines().size(), 2);
        QVERIFY(texts()[1].startsWith(QStringLiteral("could not start the agent: ")));
        QVERIFY(texts()[1].endsWith(QStringLiteral(": Permission denied")));
        QTest::qWait(nextCheck);
        QCOMPARE(lines().size(), 2);
        QVERIFY(!AppLinks::isAgentRunning());
    }

    void agentThatStaysUpIsLookedAtSevenTimes()
    {
        const qint32 pid = startAgent();
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QCOMPARE(lines().size(), 1); // the first check is immediate
        QTest::qWait(3000 + nextCheck);
        QStringList expected;
        for (int retriesLeft = 6; retriesLeft >= 0; --retriesLeft)
            expected.append(running(pid, retriesLeft));
        QCOMPARE(texts(), expected);
        for (int check = 0; check < 7; ++check) {
            QCOMPARE(lines()[check].type, QtInfoMsg);
            QVERIFY(qAbs(lines()[check].at - lines()[0].at - check * 500) < checkTolerance);
        }
        QCOMPARE(runningPids(), QList<qint32> { pid });
    }

    void agentThatQuitsIsReplacedAtTheNextCheck()
    {
        // The agent ends by itself after 1.2 s, so the check at 1.5 s finds no agent.
        const qint32 pid = startAgent("1200");
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QTRY_COMPARE(lines().size(), 5);
        QTest::qWait(nextCheck);
        QCOMPARE(runningPids().size(), 1);
        QVERIFY(runningPids()[0] != pid);
        QCOMPARE(texts(), (QStringList { running(pid, 6), running(pid, 5), running(pid, 4) } + startLines()));
        QVERIFY(qAbs(lines()[3].at - 1500) < checkTolerance);
    }

    void switchedOffDuringTheChainEndsItWithoutAWord()
    {
        const qint32 pid = startAgent();
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QTRY_COMPARE(lines().size(), 2);
        QVERIFY(Setting(Keys::agentEnabled).set(false));
        m_standIns->end(pid);
        QTest::qWait(nextCheck);
        QCOMPARE(texts(), (QStringList { running(pid, 6), running(pid, 5) }));
        QVERIFY(!AppLinks::isAgentRunning());
    }

    void switchedOffByAnotherProgramEndsTheChainToo()
    {
        const qint32 pid = startAgent();
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        const auto other = UserDefaults::withSuiteName(SharedSettings::suiteName());
        QVERIFY(other->set(Keys::agentEnabled.name, false));
        m_standIns->end(pid);
        QTest::qWait(nextCheck);
        QCOMPARE(texts(), (QStringList { running(pid, 6) }));
        QVERIFY(!AppLinks::isAgentRunning());
    }

    void firstCheckDoesNotAskTheSwitch()
    {
        QVERIFY(Setting(Keys::agentEnabled).set(false));
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QCOMPARE(runningPids().size(), 1);
    }

    void withoutRetriesThereIsOneLook()
    {
        const qint32 pid = startAgent();
        AppLinks::launchAgentIfNeeded(0);
        AppLinks::launchAgentIfNeeded(-3);
        QTest::qWait(nextCheck);
        QCOMPARE(texts(), (QStringList { running(pid, 0), running(pid, -3) }));
    }

    void anyAgentCounts()
    {
        const QString other = m_standIns->install(StandIns::agentIn(QStringLiteral("AppTranslocation/d")));
        const qint32 pid = m_standIns->start(other).pid;
        AppLinks::launchAgentIfNeeded(0);
        QCOMPARE(texts(), (QStringList { running(pid, 0) }));
        QCOMPARE(runningPids(), QList<qint32> { pid });
    }

    void twoChainsAtOnceStartOneAgent()
    {
        const qint32 pid = startAgent("700");
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QCOMPARE(texts().count(running(pid, 6)), 2);
        QTRY_VERIFY(!runningPids().isEmpty() && !runningPids().contains(pid));
        // The other chain of checks continues and finds the new agent.
        QTRY_COMPARE(texts().count(running(runningPids().value(0), 0)), 1);
        QCOMPARE(texts().filter(QStringLiteral("starting the agent at ")).size(), 1);
        QCOMPARE(runningPids().size(), 1);
    }

    void stopAndLaunchRestartTheAgent()
    {
        const qint32 pid = startAgent();
        SignalListener agent;
        agent.listen(SharedSettings::Signal::quitAgent, [this, pid] { m_standIns->end(pid); });
        AppLinks::stopAgent();
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
        QCOMPARE(texts(), (QStringList { running(pid, 6) }));
        QTRY_COMPARE(lines().size(), 3);
        QCOMPARE(runningPids().size(), 1);
        QVERIFY(runningPids()[0] != pid);
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, AgentLaunchTest)
#include "AgentLaunchTest.moc"
