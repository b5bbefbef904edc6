// The switch at the sidebar's foot in difficult cases: agents that end slowly or do not end, and people who change their mind
// several times.

#include "tests/Support/AgentSwitch.h"
#include "tests/Support/DesktopTest.h"

#include <QRandomGenerator>
#include <algorithm>

using namespace kestrum;

using Programs::patience;

class AgentTroubleEndToEndTest : public DesktopTest {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qunsetenv("KESTRUM_TEST_AGENT");
        fixture().write("agentEnabled", "false");
        fixture().useStandInAgent();
        fixture().turnToOther();
        QVERIFY(agents().isEmpty());
    }

    void offAndOnWithASlowAgentEndsWithOneNewAgent()
    {
        qputenv("KESTRUM_TEST_AGENT", "2000");
        AgentSwitch row(fixture());
        const qint32 old = row.switchOn();
        ProcessCounter census(fixture().agentProgram());
        row.click();
        QTest::qWait(300);
        row.click();
        QTest::qWait(500);
        QCOMPARE(agents(), QList<qint32> { old });
        QVERIFY(DesktopFixture::successor(fixture().agentProgram(), old) > 0);
        QTest::qWait(AgentSwitch::second + 200);
        census.end();
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
    }

    void anAgentThatIgnoresTheRequestTurnsTheRowBackToOn()
    {
        qputenv("KESTRUM_TEST_AGENT", "stays");
        AgentSwitch row(fixture());
        const qint32 agent = row.switchOn();
        row.click();
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(row.isOn(), patience);
        QCOMPARE(agents(), QList<qint32> { agent });
    }

    void anAgentThatStaysUpGivesSevenLinesAndNoStart()
    {
        qputenv("KESTRUM_TEST_AGENT", "stays");
        const auto byHand = Programs::started(fixture().agentProgram(), {});
        fixture().write("agentEnabled", "true");
        AgentSwitch row(fixture());
        row.application().setReadChannel(QProcess::StandardError);
        QByteArrayList lines;
        const auto read = [&] {
            while (row.application().canReadLine()) {
                if (const QByteArray line = row.application().readLine(); line.contains(".links"))
                    lines.append(line);
            }
            return lines.size();
        };
        QTRY_COMPARE_WITH_TIMEOUT(read(), 7, patience);
        QTest::qWait(AgentSwitch::second); // the next check would come in half of this time
        QCOMPARE(read(), 7);
        QCOMPARE(agents().size(), 1);
        for (int i = 0; i < 7; ++i) {
            const QByteArray wanted = "agent already running (pid " + QByteArray::number(byHand->processId())
                + "); retries left " + QByteArray::number(6 - i);
            QVERIFY2(lines[i].contains(wanted), lines[i].constData());
        }
        Programs::end(*byHand);
    }

    void twoHundredRandomSwitchingsNeverGiveASecondAgent()
    {
        fixture().useBuiltAgent();
        AgentSwitch row(fixture());
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        qInfo("seed %u", seed);
        ProcessCounter census(fixture().agentProgram());
        row.click();
        for (int clicks = 1; clicks < 200;) {
            const int times = std::min(random.bounded(1, 7), 200 - clicks);
            row.click(times, random.bounded(1, 90));
            QTest::qWait(random.bounded(4) == 0 ? random.bounded(400) : 0);
            clicks += times;
        }
        // The wait is long enough for all started changes. The last choice must be stored, in effect and shown.
        QTest::qWait(4 * AgentSwitch::second);
        const bool isWanted = fixture().read("agentEnabled") == "true";
        qInfo("at rest: stored %d, %d agents, row %d", isWanted, int(agents().size()), row.isOn());
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), isWanted ? 1 : 0, patience);
        QTRY_COMPARE_WITH_TIMEOUT(row.isOn(), isWanted, patience);
        QTest::qWait(AgentSwitch::second + 200);
        QCOMPARE(agents().size(), isWanted ? 1 : 0);
        QCOMPARE(row.isOn(), isWanted);
        QCOMPARE(fixture().read("agentEnabled"), QByteArray(isWanted ? "true" : "false"));
        if (!isWanted)
            row.click();
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        QTest::qWait(AgentSwitch::second + 200);
        census.end();
        qInfo("counted %d times", census.counts());
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
        QVERIFY(census.counts() > 500);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentTroubleEndToEndTest)
#include "AgentTroubleEndToEndTest.moc"
