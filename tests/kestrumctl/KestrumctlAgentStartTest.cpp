#include "tests/Support/KestrumctlAgentFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/SystemCallFilter.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>

using namespace kestrum;

namespace {

constexpr char noFilter[] = "this kernel does not let a process give up calls of its own";

} // namespace

/// Switching the agent on from the command line.
class KestrumctlAgentStartTest : public QObject, KestrumctlAgentFixture {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { prepareStage(); }
    void init() { setStage(); }
    void cleanup() { clearStage(); }

    void startStartsTheAgentOfTheOwnBundle()
    {
        const auto result
            = ctl("agent start", { { QStringLiteral("KESTRUM_LANGUAGE"), QStringLiteral("de") } });
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(result.output, QByteArray());
        QCOMPARE(result.code, 0);
        const auto agents = ProcessScan::agents();
        QCOMPARE(agents.size(), 1);
        QCOMPARE(agents[0].path, m_standIns->path(agentPlace));
        QVERIFY(StandIns::environmentOf(agents[0].pid).contains("KESTRUM_LANGUAGE=de"));
    }

    void startIsFinishedBeforeTheAgentIs()
    {
        // A shell that captures the tool's output does not have to wait for the agent.
        QProcess shell;
        shell.start(QStringLiteral("/bin/sh"),
            { QStringLiteral("-c"), QStringLiteral("text=$(\"$0\" agent start 2>&1); echo \"[$text]\""),
                tool() });
        QVERIFY(shell.waitForFinished(10'000));
        QCOMPARE(shell.readAllStandardOutput(), QByteArray("[]\n"));
        QCOMPARE(runningPids().size(), 1);
    }

    void startLeavesARunningAgentAlone()
    {
        const qint32 pid
            = m_standIns->start(m_standIns->install(StandIns::agentIn(QStringLiteral("copy")))).pid;
        QElapsedTimer timer;
        timer.start();
        const auto result = ctl("agent start");
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(result.code, 0);
        QCOMPARE(runningPids(), QList<qint32> { pid });
        // The tool waited as long as an agent may take to quit.
        QVERIFY(timer.elapsed() >= 3000);
    }

    void startReplacesAnAgentThatIsAboutToQuit()
    {
        const qint32 pid = m_standIns->start(m_standIns->path(agentPlace), "1500").pid;
        QElapsedTimer timer;
        timer.start();
        const auto result = ctl("agent start");
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(result.code, 0);
        QCOMPARE(runningPids().size(), 1);
        QVERIFY(runningPids()[0] != pid);
        QVERIFY(timer.elapsed() >= 1900 && timer.elapsed() < 3500);
    }

    void startWaitsForTheLastOfSeveralAgents()
    {
        const QString copy = m_standIns->install(StandIns::agentIn(QStringLiteral("copy")));
        m_standIns->start(copy, "500");
        m_standIns->start(copy, "1500");
        // The agent does not run yet when the tool starts.
        QTimer::singleShot(800, this, [this, copy] { m_standIns->start(copy, "1200"); });
        QCOMPARE(ctl("agent start").code, 0);
        const auto agents = ProcessScan::agents();
        QCOMPARE(agents.size(), 1);
        QCOMPARE(agents[0].path, m_standIns->path(agentPlace));
    }

    void switchedOffMeanwhileStartsNone()
    {
        m_standIns->start(m_standIns->path(agentPlace), "2000");
        QTimer::singleShot(1200, this, [] { QVERIFY(Setting(Keys::agentEnabled).set(false)); });
        const auto result = ctl("agent start");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray("kestrumctl: the agent was switched off meanwhile\n"));
        QVERIFY(runningPids().isEmpty());
        QCOMPARE(storedChoice(), false);
    }

    void startStoresTheChoice()
    {
        QVERIFY(Setting(Keys::agentEnabled).set(false));
        QCOMPARE(ctl("agent start").code, 0);
        QCOMPARE(storedChoice(), true);
        QVERIFY(Setting(Keys::agentEnabled).value());
    }

    void aMissingAgentIsAFailureThatNamesIt()
    {
        const QString bundle = m_standIns->path(StandIns::agentBundleOf(QStringLiteral("Kestrum.app")));
        QVERIFY(QDir(bundle).removeRecursively());
        const auto result = ctl("agent start");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.output, QByteArray());
        QCOMPARE(result.errors, "kestrumctl: there is no application at " + bundle.toUtf8() + '\n');
    }

    void anAgentThatEndsAtOnceIsAFailure()
    {
        useAgentThatEnds();
        const auto result = ctl("agent start");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray("kestrumctl: the agent ended as soon as it was started\n"));
    }

    void anAgentThatEndsBeforeItHasBegunIsAFailure()
    {
        // The agent's instance name is free, as while an agent is still loading on a busy machine.
        m_place.reset();
        const auto result
            = ctl("agent start", { { QStringLiteral("KESTRUM_TEST_LIFE"), QStringLiteral("1700") } });
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray("kestrumctl: the agent ended as soon as it was started\n"));
    }

    void anAgentThatNeverBeginsIsNotWaitedForForEver()
    {
        m_place.reset();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ctl("agent start").code, 0);
        QVERIFY(timer.elapsed() >= 5000 && timer.elapsed() < 8000);
        QCOMPARE(runningPids().size(), 1);
    }

    void anEndThatIsNotToldIsFoundAtTheLastLook()
    {
        useAgentThatEnds();
        const auto result = startWithoutProcessDescriptors();
        if (!result.errors.contains("looked at every 2 s"))
            QSKIP(noFilter);
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.endsWith("kestrumctl: the agent ended as soon as it was started\n"),
            result.errors.constData());
    }

    void aQuitThatIsNotToldIsFoundAtTheLastLook()
    {
        // The agent ends after the check at 2 s.
        const qint32 pid = m_standIns->start(m_standIns->path(agentPlace), "2700").pid;
        const auto result = startWithoutProcessDescriptors();
        if (!result.errors.contains("looked at every 2 s"))
            QSKIP(noFilter);
        QCOMPARE(result.code, 0);
        QCOMPARE(runningPids().size(), 1);
        QVERIFY(runningPids()[0] != pid);
    }

    void aChoiceThatCannotBeStoredIsAFailure()
    {
        m_standIns->tree().write(QStringLiteral("file"), "no folder");
        const auto result = ctl("agent start",
            { { QStringLiteral("XDG_CONFIG_HOME"), m_standIns->path(QStringLiteral("file")) } });
        QCOMPARE(result.code, 1);
        QVERIFY(!result.errors.isEmpty());
        QVERIFY(runningPids().isEmpty());
    }

private:
    // Puts a program that ends at once in place of the agent.
    void useAgentThatEnds() const
    {
        const QString program = m_standIns->path(agentPlace);
        QVERIFY(QFile::remove(program));
        QVERIFY(QFile::copy(QStandardPaths::findExecutable(QStringLiteral("true")), program));
    }

    Kestrumctl::Result startWithoutProcessDescriptors() const
    {
        return ctl(
            "agent start", {}, [filter = SystemCallFilter::withoutProcessDescriptors()] { filter.enter(); });
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, KestrumctlAgentStartTest)
#include "KestrumctlAgentStartTest.moc"
