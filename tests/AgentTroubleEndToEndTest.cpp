// The switch at the sidebar's foot where things do not go smoothly: agents that take their time or stay, and people who
// cannot make up their minds.

#include "tests/AgentSwitch.h"
#include "tests/OwnProcesses.h"
#include "tests/TestHome.h"
#include "tests/VirtualDisplay.h"

#include <QGuiApplication>
#include <QRandomGenerator>
#include <algorithm>
#include <memory>

using namespace kestrum;

namespace {

constexpr int second = AgentSwitch::second;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

class AgentTroubleEndToEndTest : public QObject {
    Q_OBJECT

    std::unique_ptr<DesktopStage> m_stage;

    QList<qint32> agents() const { return DesktopStage::processes(m_stage->agentProgram()); }

private Q_SLOTS:
    void initTestCase()
    {
        m_stage = std::make_unique<DesktopStage>();
        QVERIFY(m_stage->isUp());
    }

    void cleanupTestCase() { m_stage.reset(); }

    void init()
    {
        qunsetenv("KESTRUM_TEST_AGENT");
        m_stage->write("agentEnabled", "false");
        m_stage->useStandInAgent();
        m_stage->turnToOther();
        QVERIFY(agents().isEmpty());
    }

    void offAndOnWithASlowAgentEndsWithOneNewAgent()
    {
        qputenv("KESTRUM_TEST_AGENT", "2000");
        AgentSwitch row(*m_stage);
        const qint32 old = row.switchOn();
        QVERIFY(old > 0);
        Census census(m_stage->agentProgram());
        row.click();
        QTest::qWait(300);
        row.click();
        QTest::qWait(500);
        QCOMPARE(agents(), QList<qint32> { old });
        QTRY_VERIFY_WITH_TIMEOUT(agents().size() == 1 && agents().value(0) != old, 4000);
        QTest::qWait(second + 200);
        census.end();
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
    }

    void anAgentThatIgnoresTheRequestTurnsTheRowBackToOn()
    {
        qputenv("KESTRUM_TEST_AGENT", "stays");
        AgentSwitch row(*m_stage);
        const qint32 agent = row.switchOn();
        QVERIFY(agent > 0);
        row.click();
        QTRY_VERIFY(!row.isOn());
        row.leaveAndComeBack();
        QTRY_VERIFY(row.isOn());
        QCOMPARE(agents(), QList<qint32> { agent });
    }

    void anAgentThatStaysUpGivesSevenLinesAndNoStart()
    {
        qputenv("KESTRUM_TEST_AGENT", "stays");
        const auto byHand = Programs::started(m_stage->agentProgram(), {});
        m_stage->write("agentEnabled", "true");
        AgentSwitch row(*m_stage);
        QTest::qWait(4 * second);
        QCOMPARE(agents().size(), 1);
        Programs::end(row.application());
        QList<QByteArray> lines = row.application().readAllStandardError().split('\n');
        erase_if(lines, [](const QByteArray& line) { return !line.contains(".links"); });
        QCOMPARE(lines.size(), 7);
        for (int i = 0; i < 7; ++i) {
            const QByteArray wanted = "agent already running (pid " + QByteArray::number(byHand->processId())
                + "); retries left " + QByteArray::number(6 - i);
            QVERIFY2(lines[i].contains(wanted), lines[i].constData());
        }
        Programs::end(*byHand);
    }

    void twoHundredRandomSwitchingsNeverGiveASecondAgent()
    {
        m_stage->useBuiltAgent();
        AgentSwitch row(*m_stage);
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        qInfo("seed %u", seed);
        Census census(m_stage->agentProgram());
        row.click();
        for (int clicks = 1; clicks < 200;) {
            const int times = std::min(random.bounded(1, 7), 200 - clicks);
            row.click(times, random.bounded(1, 90));
            QTest::qWait(random.bounded(4) == 0 ? random.bounded(400) : 0);
            clicks += times;
        }
        // Whatever was begun comes to its end, and the row to what is so.
        QTest::qWait(4 * second);
        qInfo("at rest: stored %s, %d agents",
            m_stage->kestrumctl({ text("read"), text("agentEnabled") }).constData(), int(agents().size()));
        QCOMPARE(row.isOn(), agents().size() == 1);
        if (!row.isOn())
            row.click();
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, 5000);
        QTest::qWait(second + 200);
        census.end();
        qInfo("counted %d times", census.counts());
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
        QVERIFY(census.counts() > 500);
    }
};

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    // No bus, rather than one that the toolkit starts for every program.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    QGuiApplication application(argc, argv);
    AgentTroubleEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentTroubleEndToEndTest.moc"
