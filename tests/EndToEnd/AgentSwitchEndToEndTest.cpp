// The switch at the sidebar's foot starts and stops the built agent.

#include "tests/Support/AgentSwitch.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/Text.h"

#include <QElapsedTimer>
#include <csignal>

using namespace kestrum;

using Programs::patience;

class AgentSwitchEndToEndTest : public DesktopTest {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qunsetenv("KESTRUM_TEST_AGENT");
        fixture().write("agentEnabled", "false");
        fixture().useBuiltAgent();
        fixture().turnToOther();
        QVERIFY(agents().isEmpty());
    }

    void theSwitchStartsTheAgentAndStopsIt()
    {
        AgentSwitch row(fixture());
        QVERIFY(!row.isOn());
        row.switchOn();
        QVERIFY(row.isOn());
        QCOMPARE(fixture().read("agentEnabled"), QByteArray("true"));
        row.click();
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(agents().isEmpty(), patience);
        QTest::qWait(AgentSwitch::second + 200);
        QVERIFY(!row.isOn());
        QCOMPARE(fixture().read("agentEnabled"), QByteArray("false"));
    }

    void theItemsComeAndGoAndThePreviewStaysAsItIs()
    {
        AgentSwitch row(fixture());
        const QImage preview = row.restingPreview();
        QVERIFY(!preview.isNull());
        // There is no panel, so the strip is at the top of the screen.
        const QRect place(VirtualDisplay::width - 400, 0, 400, DesktopFixture::stripHeight);
        const QImage empty = DesktopFixture::picture(place);
        row.switchOn();
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::stripWidth(0), fixture().expectedStripWidth(), patience);
        QVERIFY(row.restingPreview() == preview);
        row.click();
        QTRY_VERIFY_WITH_TIMEOUT(agents().isEmpty(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::picture(place) == empty, patience);
        QVERIFY(row.restingPreview() == preview);
    }

    void theAgentIsStartedWithTheApplicationWhenItIsSwitchedOn()
    {
        fixture().write("agentEnabled", "true");
        AgentSwitch row(fixture());
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        QTRY_VERIFY_WITH_TIMEOUT(row.isOn(), patience);
    }

    void theAgentIsNotStartedWhenItIsSwitchedOff()
    {
        AgentSwitch row(fixture());
        QTest::qWait(500); // a start of the agent would follow the first frame
        QVERIFY(agents().isEmpty());
        QVERIFY(!row.isOn());
    }

    void theAgentOutlivesTheWindow()
    {
        AgentSwitch row(fixture());
        const qint32 agent = row.switchOn();
        row.close();
        QVERIFY(row.hasEnded());
        QTest::qWait(300);
        QCOMPARE(agents(), QList<qint32> { agent });
    }

    void anAgentThatIsKilledIsOffWithinASecond()
    {
        AgentSwitch row(fixture());
        const qint32 agent = row.switchOn();
        QVERIFY(agent > 0); // kill() with 0 would end all processes of the test
        QElapsedTimer clock;
        clock.start();
        ::kill(agent, SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), patience);
        QVERIFY2(Programs::areSanitized || clock.elapsed() < AgentSwitch::second,
            QByteArray::number(clock.elapsed()).constData());
    }

    void anAgentThatIsStartedByHandIsOnWithinASecond()
    {
        AgentSwitch row(fixture());
        QElapsedTimer clock;
        clock.start();
        const auto byHand = Programs::started(fixture().agentProgram(), {});
        QTRY_VERIFY_WITH_TIMEOUT(row.isOn(), patience);
        QVERIFY2(Programs::areSanitized || clock.elapsed() < AgentSwitch::second,
            QByteArray::number(clock.elapsed()).constData());
        Programs::end(*byHand);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), Programs::withinASecond);
    }

    void anAgentOfAnotherCopyIsOnAtTheNextLook()
    {
        AgentSwitch row(fixture());
        const FileTree elsewhere;
        const QString copy = elsewhere.path(text("KestrumAgent.app/Contents/MacOS/KestrumAgent"));
        QVERIFY(QDir().mkpath(QFileInfo(copy).path()));
        QVERIFY(QFile::copy(fixture().agentProgram(), copy));
        const auto byHand = Programs::started(copy, {});
        row.leaveAndComeBack();
        QTRY_VERIFY_WITH_TIMEOUT(row.isOn(), patience);
        Programs::end(*byHand);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), Programs::withinASecond);
    }

    void aMissingBundleTurnsTheRowBackToOff()
    {
        fixture().removeAgent();
        AgentSwitch row(fixture());
        row.click();
        // The stored choice is still "on". The row shows at once that no agent runs.
        QTRY_COMPARE_WITH_TIMEOUT(fixture().read("agentEnabled"), QByteArray("true"), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!row.isOn(), Programs::withinASecond);
    }

    void offAndOnWithinThreeSecondsEndsWithOneNewAgent()
    {
        AgentSwitch row(fixture());
        const qint32 old = row.switchOn();
        ProcessCounter census(fixture().agentProgram());
        row.click();
        QTest::qWait(100);
        row.click();
        QVERIFY(DesktopFixture::successor(fixture().agentProgram(), old) > 0);
        QTest::qWait(AgentSwitch::second + 200);
        census.end();
        QCOMPARE(agents().size(), 1);
        QVERIFY(row.isOn());
        QCOMPARE(census.most(), 1);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentSwitchEndToEndTest)
#include "AgentSwitchEndToEndTest.moc"
