#include "Kestrum/Agent/AgentController.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/Workspace.h"
#include "tests/Support/AgentFixture.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/ToldFocus.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRasterWindow>
#include <QSignalSpy>
#include <memory>

using namespace kestrum;

class AgentControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AgentFixture> m_fixture;

    /// Simulates the signal for one change of the running programs.
    static void tellOfAChange() { Q_EMIT Workspace::shared().runningApplicationsChanged(); }

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        registerFactoryDefaults();
    }

    void init()
    {
        m_fixture = std::make_unique<AgentFixture>();
        m_fixture->installAgent();
    }

    void cleanup()
    {
        m_fixture.reset();
        QTest::qWait(200); // until the effects of the agents' end have arrived
    }

    void itKnowsFromTheBeginningWhetherAnAgentRuns()
    {
        QVERIFY(!AgentController().isRunning());
        AgentFixture::startByHand(m_fixture->installAgent());
        m_fixture->waitForAgent();
        QVERIFY(AgentController().isRunning());
    }

    void aChangeIsLookedAtAtOnceAndOneSecondLater()
    {
        AgentController controller;
        QList<qint64> looks;
        QElapsedTimer clock;
        connect(
            &controller, &AgentController::isRunningChanged, this, [&] { looks.append(clock.elapsed()); });
        clock.start();
        tellOfAChange();
        QCOMPARE(looks.size(), 1);
        QTest::qWait(1300);
        QCOMPARE(looks.size(), 2);
        QCOMPARE_GE(looks[1], 999);
        QCOMPARE_LT(looks[1], 1100);
    }

    void everyChangeIsLookedAtTwice()
    {
        AgentController controller;
        QSignalSpy looks(&controller, &AgentController::isRunningChanged);
        tellOfAChange();
        QTest::qWait(300);
        tellOfAChange();
        QCOMPARE(looks.count(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(looks.count(), 4, 2000);
        QTest::qWait(300);
        QCOMPARE(looks.count(), 4);
    }

    void withoutAnOccasionItNeverLooks()
    {
        AgentController controller;
        QSignalSpy looks(&controller, &AgentController::isRunningChanged);
        QTest::qWait(1500);
        QCOMPARE(looks.count(), 0);
    }

    void whoGoesIsNotToldALastTime()
    {
        auto controller = std::make_unique<AgentController>();
        QSignalSpy looks(controller.get(), &AgentController::isRunningChanged);
        tellOfAChange();
        controller.reset();
        QTest::qWait(1100);
        QCOMPARE(looks.count(), 1);
    }

    void itLooksWhenTheApplicationBecomesActive()
    {
        QRasterWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        AgentController controller;
        tellOfFocus(nullptr);
        QSignalSpy looks(&controller, &AgentController::isRunningChanged);
        tellOfFocus(&window);
        QTRY_COMPARE(looks.count(), 1);
        // Losing the focus triggers no check.
        tellOfFocus(nullptr);
        QTest::qWait(50);
        QCOMPARE(looks.count(), 1);
    }

    void everyLookIsToldAlsoWhenNothingChanged()
    {
        AgentController controller;
        QSignalSpy looks(&controller, &AgentController::isRunningChanged);
        controller.refresh();
        controller.refresh();
        QCOMPARE(looks.count(), 2);
        QCOMPARE(looks.last().first().toBool(), false);
    }

    void switchingOnIsStoredShownAtOnceAndStartsTheAgent()
    {
        Setting { Keys::agentEnabled }.set(false);
        AgentController controller;
        QSignalSpy told(&controller, &AgentController::isRunningChanged);
        controller.setEnabled(true);
        QVERIFY(Setting { Keys::agentEnabled }.value());
        QVERIFY(controller.isRunning());
        QCOMPARE(told.count(), 1);
        QCOMPARE(told.first().first().toBool(), true);
        m_fixture->waitForAgent();
        QTest::qWait(1200);
        QVERIFY(controller.isRunning());
        QCOMPARE(AgentFixture::agents().size(), 1);
    }

    void switchingOffIsStoredShownAtOnceAndAsksTheAgentToQuit()
    {
        AgentController controller;
        controller.setEnabled(true);
        m_fixture->waitForAgent();
        QTest::qWait(20);
        QSignalSpy told(&controller, &AgentController::isRunningChanged);
        controller.setEnabled(false);
        QVERIFY(!Setting { Keys::agentEnabled }.value());
        QVERIFY(!controller.isRunning());
        QCOMPARE(told.count(), 1);
        QTRY_VERIFY(AgentFixture::agents().isEmpty());
        QTest::qWait(1100);
        QVERIFY(!controller.isRunning());
    }

    void anAgentThatQuitsByItselfIsOffWithinASecond()
    {
        AgentController controller;
        controller.setEnabled(true);
        m_fixture->waitForAgent();
        QTest::qWait(1200);
        QVERIFY(controller.isRunning());
        QElapsedTimer clock;
        clock.start();
        ::kill(AgentFixture::agents().first(), SIGTERM);
        QTRY_VERIFY(!controller.isRunning());
        QCOMPARE_LT(clock.elapsed(), 1000);
    }

    void anAgentThatIsStartedByHandIsOnWithinASecond()
    {
        AgentController controller;
        QElapsedTimer clock;
        clock.start();
        AgentFixture::startByHand(m_fixture->installAgent());
        QTRY_VERIFY(controller.isRunning());
        QCOMPARE_LT(clock.elapsed(), 1000);
    }

    void anotherCopysAgentIsOnAtTheNextLookAndItsEndIsTold()
    {
        AgentController controller;
        AgentFixture::startByHand(m_fixture->installAgent(QStringLiteral("elsewhere/Kestrum.app")));
        m_fixture->waitForAgent();
        controller.refresh();
        QVERIFY(controller.isRunning());
        ::kill(AgentFixture::agents().first(), SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(!controller.isRunning(), 1000);
    }

    void aStartThatFailsIsOffWithoutAnotherOccasion()
    {
        const AgentFixture empty; // without an agent's bundle
        AgentController controller;
        QSignalSpy told(&controller, &AgentController::isRunningChanged);
        controller.setEnabled(true);
        QVERIFY(controller.isRunning());
        QTRY_VERIFY_WITH_TIMEOUT(!controller.isRunning(), 1000);
        QCOMPARE(told.count(), 2);
        QVERIFY(Setting { Keys::agentEnabled }.value());
    }

    void anAgentThatEndsAtOnceIsOffWithinASecond()
    {
        const QString program = m_fixture->installAgent();
        QVERIFY(QFile::remove(program) && QFile::copy(QStringLiteral("/bin/true"), program));
        AgentController controller;
        controller.setEnabled(true);
        QTRY_VERIFY_WITH_TIMEOUT(!controller.isRunning(), 1000);
    }

    void anAgentThatIgnoresTheRequestIsOnAgainAfterSomeSeconds()
    {
        qputenv("KESTRUM_TEST_AGENT", "stays");
        AgentController controller;
        controller.setEnabled(true);
        m_fixture->waitForAgent();
        QTest::qWait(1200);
        controller.setEnabled(false);
        QVERIFY(!controller.isRunning());
        QTest::qWait(200);
        QCOMPARE(AgentFixture::agents().size(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(controller.isRunning(), 5000);
    }

    void theLookAfterAStopIsGivenUpWhenItIsSwitchedOnAgain()
    {
        AgentController controller;
        controller.setEnabled(true);
        m_fixture->waitForAgent();
        QTest::qWait(1200);
        controller.setEnabled(false);
        QTRY_VERIFY(AgentFixture::agents().isEmpty());
        controller.setEnabled(true);
        QTRY_COMPARE(AgentFixture::agents().size(), 1);
        QTest::qWait(1500); // until the effects of the stop and the start have arrived
        QSignalSpy looks(&controller, &AgentController::isRunningChanged);
        QTest::qWait(2500);
        QCOMPARE(looks.count(), 0);
        QVERIFY(controller.isRunning());
    }

    void offAndOnWithinThreeSecondsEndsWithOneNewAgent()
    {
        qputenv("KESTRUM_TEST_AGENT", "1200");
        AgentController controller;
        controller.setEnabled(true);
        m_fixture->waitForAgent();
        const qint32 old = AgentFixture::agents().first();
        controller.setEnabled(false);
        QTest::qWait(300);
        controller.setEnabled(true);
        QVERIFY(controller.isRunning());
        QTRY_COMPARE_WITH_TIMEOUT(m_fixture->everStarted().size(), 2, 4000);
        QTest::qWait(1200);
        QCOMPARE(AgentFixture::agents().size(), 1);
        QVERIFY(AgentFixture::agents().first() != old);
        QVERIFY(controller.isRunning());
    }
};

KESTRUM_TEST_MAIN_APART(QGuiApplication, AgentControllerTest)
#include "AgentControllerTest.moc"
