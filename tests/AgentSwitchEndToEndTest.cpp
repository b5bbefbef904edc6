// The switch at the sidebar's foot and the built agent, which it starts and stops.

#include "tests/AgentSwitch.h"
#include "tests/OwnProcesses.h"
#include "tests/TestHome.h"
#include "tests/VirtualDisplay.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <csignal>
#include <memory>

using namespace kestrum;

namespace {

constexpr int second = AgentSwitch::second;

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

class AgentSwitchEndToEndTest : public QObject {
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
        m_stage->useBuiltAgent();
        m_stage->turnToOther();
        QVERIFY(agents().isEmpty());
    }

    void theSwitchStartsTheAgentAndStopsIt()
    {
        AgentSwitch row(*m_stage);
        QVERIFY(!row.isOn());
        const qint32 agent = row.switchOn();
        QVERIFY(agent > 0);
        QVERIFY(row.isOn());
        QCOMPARE(m_stage->kestrumctl({ text("read"), text("agentEnabled") }), QByteArray("true"));
        row.click();
        QTRY_VERIFY(!row.isOn());
        QTRY_VERIFY(agents().isEmpty());
        QTest::qWait(second + 200);
        QVERIFY(!row.isOn());
        QCOMPARE(m_stage->kestrumctl({ text("read"), text("agentEnabled") }), QByteArray("false"));
    }

    void theAgentIsStartedWithTheApplicationWhenItIsSwitchedOn()
    {
        m_stage->write("agentEnabled", "true");
        AgentSwitch row(*m_stage);
        QTRY_COMPARE(agents().size(), 1);
        QTRY_VERIFY(row.isOn());
    }

    void theAgentIsNotStartedWhenItIsSwitchedOff()
    {
        AgentSwitch row(*m_stage);
        QTest::qWait(second + 300);
        QVERIFY(agents().isEmpty());
        QVERIFY(!row.isOn());
    }

    void theAgentOutlivesTheWindow()
    {
        AgentSwitch row(*m_stage);
        const qint32 agent = row.switchOn();
        QVERIFY(agent > 0);
        VirtualDisplay::xdotool({ text("key"), text("ctrl+w") });
        QVERIFY(row.application().waitForFinished(5000));
        QTest::qWait(300);
        QCOMPARE(agents(), QList<qint32> { agent });
    }

    void anAgentThatIsKilledIsOffWithinASecond()
    {
        AgentSwitch row(*m_stage);
        const qint32 agent = row.switchOn();
        QVERIFY(agent > 0);
        QElapsedTimer clock;
        clock.start();
        ::kill(agent, SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), 2000);
        QVERIFY2(clock.elapsed() < second, QByteArray::number(clock.elapsed()).constData());
    }

    void anAgentThatIsStartedByHandIsOnWithinASecond()
    {
        AgentSwitch row(*m_stage);
        QElapsedTimer clock;
        clock.start();
        const auto byHand = Programs::started(m_stage->agentProgram(), {});
        QTRY_VERIFY_WITH_TIMEOUT(row.isOn(), 2000);
        QVERIFY2(clock.elapsed() < second, QByteArray::number(clock.elapsed()).constData());
        Programs::end(*byHand);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), second);
    }

    void anAgentOfAnotherCopyIsOnAtTheNextLook()
    {
        AgentSwitch row(*m_stage);
        const FileTree elsewhere;
        const QString copy = elsewhere.path(text("KestrumAgent.app/Contents/MacOS/KestrumAgent"));
        QVERIFY(QDir().mkpath(QFileInfo(copy).path()));
        QVERIFY(QFile::copy(m_stage->agentProgram(), copy));
        const auto byHand = Programs::started(copy, {});
        row.leaveAndComeBack();
        QTRY_VERIFY(row.isOn());
        Programs::end(*byHand);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), second);
    }

    void aMissingBundleTurnsTheRowBackToOff()
    {
        m_stage->removeAgent();
        AgentSwitch row(*m_stage);
        row.click();
        QTRY_VERIFY(row.isOn());
        row.leaveAndComeBack();
        QTRY_VERIFY(!row.isOn());
    }

    void offAndOnWithinThreeSecondsEndsWithOneNewAgent()
    {
        AgentSwitch row(*m_stage);
        const qint32 old = row.switchOn();
        QVERIFY(old > 0);
        Census census(m_stage->agentProgram());
        row.click();
        QTest::qWait(100);
        row.click();
        QTRY_VERIFY_WITH_TIMEOUT(agents().size() == 1 && agents().value(0) != old, 4000);
        QTest::qWait(second + 200);
        census.end();
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
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
    AgentSwitchEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentSwitchEndToEndTest.moc"
