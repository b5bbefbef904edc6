#include "tests/Support/KestrumctlAgentFixture.h"
#include "tests/Support/SystemCallFilter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTimer>

using namespace kestrum;

class KestrumctlAgentStartTest : public KestrumctlAgentFixture {
    Q_OBJECT

    static constexpr char noFilter[] = "this kernel does not let a process give up calls of its own";
    static constexpr char endedAtOnce[] = "kestrumctl: the agent ended as soon as it was started\n";

    // Puts a program that ends at once in place of the agent.
    void useAgentThatEnds() const
    {
        QVERIFY(QFile::remove(agentPath()));
        QVERIFY(QFile::copy(QStandardPaths::findExecutable(QStringLiteral("true")), agentPath()));
    }

    /// Runs "agent start" without process descriptors. Returns nothing where a process cannot filter its system calls.
    std::optional<Programs::Ended> startWithoutProcessDescriptors() const
    {
        const auto result = ctl(
            "agent start", {}, [filter = SystemCallFilter::withoutProcessDescriptors()] { filter.enter(); });
        return result.errors.contains("looked at every 2 s") ? std::optional(result) : std::nullopt;
    }

    void verifyReplaced(qint32 pid) const
    {
        QCOMPARE(agentPids().size(), 1);
        QVERIFY(agentPids()[0] != pid);
    }

private Q_SLOTS:
    void startStartsTheAgentOfTheOwnBundle()
    {
        QCOMPARE(ctl("agent start", { { "KESTRUM_LANGUAGE", "de" } }), done());
        const auto agents = ProcessScan::agents();
        QCOMPARE(agents.size(), 1);
        QCOMPARE(agents[0].path, agentPath());
        QVERIFY(StandIns::environmentOf(agents[0].pid).contains("KESTRUM_LANGUAGE=de"));
    }

    void startIsFinishedBeforeTheAgentIs()
    {
        // A shell that captures the tool's output does not wait for the agent's end.
        const auto shell = Programs::run(QStringLiteral("/bin/sh"),
            { QStringLiteral("-c"), QStringLiteral("text=$(\"$0\" agent start 2>&1); echo \"[$text]\""),
                tool() });
        QCOMPARE(shell.output, QByteArray("[]\n"));
        QCOMPARE(agentPids().size(), 1);
    }

    void startLeavesARunningAgentAlone()
    {
        const qint32 pid = m_standIns->start(installCopy("copy")).pid;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ctl("agent start"), done());
        QCOMPARE(agentPids(), QList<qint32> { pid });
        // The tool waited for the time that an agent may take to quit.
        QVERIFY(timer.elapsed() >= 3000);
    }

    void startReplacesAnAgentThatIsAboutToQuit()
    {
        const qint32 pid = startAgent("1500");
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ctl("agent start"), done());
        verifyReplaced(pid);
        QVERIFY(timer.elapsed() >= 1900 && timer.elapsed() < 3500);
    }

    void startWaitsForTheLastOfSeveralAgents()
    {
        const QString copy = installCopy("copy");
        m_standIns->start(copy, "500");
        m_standIns->start(copy, "1500");
        // The agent does not run yet when the tool starts.
        QTimer::singleShot(800, this, [this, copy] { m_standIns->start(copy, "1200"); });
        QCOMPARE(ctl("agent start").code, 0);
        const auto agents = ProcessScan::agents();
        QCOMPARE(agents.size(), 1);
        QCOMPARE(agents[0].path, agentPath());
    }

    void switchedOffMeanwhileStartsNone()
    {
        startAgent("2000");
        QTimer::singleShot(1200, this, [] { QVERIFY(Setting(Keys::agentEnabled).set(false)); });
        const auto result = ctl("agent start");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray("kestrumctl: the agent was switched off meanwhile\n"));
        QVERIFY(agentPids().isEmpty());
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
        QCOMPARE(ctl("agent start"),
            (Programs::Ended { 1, {}, "kestrumctl: there is no application at " + bundle.toUtf8() + '\n' }));
    }

    void anAgentThatEndsAtOnceIsAFailure()
    {
        useAgentThatEnds();
        const auto result = ctl("agent start");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray(endedAtOnce));
    }

    void anAgentThatEndsBeforeItHasBegunIsAFailure()
    {
        // No agent holds the instance name, as while an agent is still loading on a busy machine.
        m_place.reset();
        const auto result = ctl("agent start", { { "KESTRUM_TEST_LIFE", "1700" } });
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors, QByteArray(endedAtOnce));
    }

    void anAgentThatNeverBeginsIsNotWaitedForForEver()
    {
        m_place.reset();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ctl("agent start").code, 0);
        QVERIFY(timer.elapsed() >= 5000 && timer.elapsed() < 8000);
        QCOMPARE(agentPids().size(), 1);
    }

    void anEndThatIsNotToldIsFoundAtTheLastLook()
    {
        useAgentThatEnds();
        const auto result = startWithoutProcessDescriptors();
        if (!result)
            QSKIP(noFilter);
        QCOMPARE(result->code, 1);
        QVERIFY2(result->errors.endsWith(endedAtOnce), result->errors.constData());
    }

    void aQuitThatIsNotToldIsFoundAtTheLastLook()
    {
        const qint32 pid = startAgent("2700"); // ends after the check at 2 s
        const auto result = startWithoutProcessDescriptors();
        if (!result)
            QSKIP(noFilter);
        QCOMPARE(result->code, 0);
        verifyReplaced(pid);
    }

    void aChoiceThatCannotBeStoredIsAFailure()
    {
        m_standIns->tree().write(QStringLiteral("file"), "no folder");
        const auto result = ctl(
            "agent start", { { "XDG_CONFIG_HOME", m_standIns->path(QStringLiteral("file")).toUtf8() } });
        QCOMPARE(result.code, 1);
        QVERIFY(!result.errors.isEmpty());
        QVERIFY(agentPids().isEmpty());
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, KestrumctlAgentStartTest)
#include "KestrumctlAgentStartTest.moc"
