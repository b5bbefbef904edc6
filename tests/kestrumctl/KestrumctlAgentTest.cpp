#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/KestrumctlAgentFixture.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTimer>

using namespace kestrum;

class KestrumctlAgentTest : public KestrumctlAgentFixture {
    Q_OBJECT

private Q_SLOTS:
    void agentsAreListedWithPidStartAndPath()
    {
        const auto process = m_standIns->start(agentPath());
        const auto result = ctl("agents");
        QCOMPARE(result.code, 0);
        QCOMPARE(result.errors, QByteArray());
        QVERIFY(result.output.endsWith('\n'));
        const QStringList fields = QString::fromUtf8(result.output.chopped(1)).split(u'\t');
        QCOMPARE(fields.size(), 3);
        QCOMPARE(fields[0], QString::number(process.pid));
        const auto started = double(QDateTime::fromString(fields[1], Qt::ISODate).toSecsSinceEpoch());
        QVERIFY(started > process.notBefore - 1.02 && started < process.notAfter + 0.01);
        QCOMPARE(fields[2], agentPath());
    }

    void startTimeIsLocalWithItsOffset()
    {
        startAgent();
        const auto offsetIn = [this](const char* zone) {
            const auto result = ctl("agents", { { "TZ", zone } });
            static const QRegularExpression form(
                QStringLiteral("\\t(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)([+-]\\d\\d:\\d\\d)\\t"));
            return form.match(QString::fromUtf8(result.output)).captured(2);
        };
        QCOMPARE(offsetIn("UTC"), QStringLiteral("+00:00"));
        QCOMPARE(offsetIn("XYZ-5:30"), QStringLiteral("+05:30"));
        QCOMPARE(offsetIn("XYZ+8"), QStringLiteral("-08:00"));
    }

    void everyAgentHasALine()
    {
        startAgent();
        const QString copy = installCopy("AppTranslocation/d");
        m_standIns->start(copy);
        m_standIns->start(copy);
        m_standIns->start(m_standIns->install(QStringLiteral("no/KestrumAgent")));
        const auto result = ctl("agents");
        QByteArrayList listed;
        for (const QByteArray& line : result.output.chopped(1).split('\n'))
            listed.append(line.left(line.indexOf('\t')));
        QByteArrayList expected;
        for (const qint32 pid : agentPids())
            expected.append(QByteArray::number(pid));
        QCOMPARE(listed.size(), 3);
        QCOMPARE(listed, expected);
    }

    void aPathForgesNoLine()
    {
        m_standIns->start(installCopy("a\n1\tb"));
        const auto result = ctl("agents");
        QCOMPARE(result.output.count('\n'), 1);
        QCOMPARE(result.output.count('\t'), 2);
        QVERIFY(result.output.contains("/a\\n1\\tb/KestrumAgent.app/"));
    }

    void withoutAnAgentTheListFails() { QCOMPARE(ctl("agents"), (Programs::Ended { 1, {}, {} })); }

    void stopAsksTheAgentAndWaitsForItsEnd()
    {
        const qint32 pid = startAgent();
        SignalListener agent;
        agent.listen(SharedSettings::Signal::quitAgent,
            [this, pid] { QTimer::singleShot(300, this, [this, pid] { m_standIns->end(pid); }); });
        QCOMPARE(ctl("agent stop"), done());
        QVERIFY(agentPids().isEmpty());
    }

    void stopWaitsForEveryAgent()
    {
        const qint32 one = startAgent();
        const qint32 other = m_standIns->start(installCopy("copy")).pid;
        SignalListener agents;
        agents.listen(SharedSettings::Signal::quitAgent, [this, one, other] {
            m_standIns->end(one);
            QTimer::singleShot(700, this, [this, other] { m_standIns->end(other); });
        });
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ctl("agent stop").code, 0);
        QVERIFY(agentPids().isEmpty());
        QVERIFY(timer.elapsed() >= 700);
    }

    void stopAsksAgainWhoDidNotHear()
    {
        const qint32 pid = startAgent();
        SignalListener agent;
        int asked = 0;
        agent.listen(SharedSettings::Signal::quitAgent, [this, pid, &asked] {
            if (++asked == 3)
                m_standIns->end(pid);
        });
        QCOMPARE(ctl("agent stop").code, 0);
        QCOMPARE(asked, 3);
    }

    void stopStoresTheChoice()
    {
        QCOMPARE(ctl("agent stop").code, 0);
        QCOMPARE(storedChoice(), false);
        QVERIFY(!Setting(Keys::agentEnabled).value());
    }

    void stopWithoutAnAgentIsDone()
    {
        int asked = 0;
        SignalListener agent;
        agent.listen(SharedSettings::Signal::quitAgent, [&asked] { ++asked; });
        QCOMPARE(ctl("agent stop"), done());
        QTest::qWait(50);
        QCOMPARE(asked, 0);
    }

    void anAgentThatDoesNotQuitIsAFailureThatNamesIt()
    {
        const qint32 pid = startAgent();
        QElapsedTimer timer;
        timer.start();
        const auto result = ctl("agent stop");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors,
            "kestrumctl: the agent was asked to quit and still runs (pid " + QByteArray::number(pid) + ")\n");
        QVERIFY(timer.elapsed() > 4500 && timer.elapsed() < 8000);
        // `stop` only asks the agent to quit and never kills the agent.
        QCOMPARE(agentPids(), QList<qint32> { pid });
    }

    void withoutAMeetingPlaceStopFailsWithTheReason()
    {
        startAgent();
        QVERIFY_FAILED(
            ctl("agent stop", { { "XDG_RUNTIME_DIR", "/nowhere" } }), 1, "no signal passes between programs");
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, KestrumctlAgentTest)
#include "KestrumctlAgentTest.moc"
