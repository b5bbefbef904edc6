// The agent makes way for another program, which goes on in its place.

#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AgentInProcess.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QDateTime>

using namespace kestrum;

using SharedSettings::Signal;

class AgentSuccessionTest : public QObject, AgentInProcess {
    Q_OBJECT

private Q_SLOTS:
    void init() { startAnew(); }
    void cleanup() { m_agent.reset(); }

    void itMakesWayForAnotherProgram()
    {
        const auto now = [] { return double(QDateTime::currentMSecsSinceEpoch()) / 1000; };
        QVERIFY(!m_agent->madeWaySince());
        const double before = now() - 0.002;
        QCOMPARE(runWith([this] { m_agent->makeWay(QStringLiteral("a test")); }), 0);
        QVERIFY(m_agent->madeWaySince() >= before && m_agent->madeWaySince() <= now());
        // What is asked after the last look is the business of the next one.
        SharedSettings::post(Signal::quitAgent);
        startAgent(m_agent->madeWaySince());
        QCOMPARE(runWith([] {}), 0);
    }

    void noRequestIsLostWhileItMakesWay_data()
    {
        QTest::addColumn<int>("after");
        for (const int after : { 0, 5, 20, 48, 60 })
            QTest::addRow("%d ms after", after) << after;
    }
    void noRequestIsLostWhileItMakesWay()
    {
        QFETCH(const int, after);
        bool isAsked = false;
        const auto ask = [&isAsked] {
            isAsked = true;
            SharedSettings::post(Signal::quitAgent);
        };
        QObject context;
        QCOMPARE(runWith([&] {
            m_agent->makeWay(QStringLiteral("a test"));
            QTimer::singleShot(after, Qt::PreciseTimer, &context, ask);
        }),
            0);
        if (!m_agent->madeWaySince())
            return; // it has obeyed: nothing goes on
        if (!isAsked)
            ask();
        startAgent(m_agent->madeWaySince());
        QCOMPARE(runWith([] {}), 0);
    }

    void whoeverEndsItPreventsAnotherProgram()
    {
        const auto makeWay = [this] { m_agent->makeWay(QStringLiteral("a test")); };
        // Both in one turn of the event loop, in either order.
        QCOMPARE(runWith([&] {
            m_agent->leave(QStringLiteral("another test"));
            makeWay();
        }),
            0);
        QVERIFY(!m_agent->madeWaySince());
        startAgent();
        QCOMPARE(runWith([&] {
            makeWay();
            SharedSettings::post(Signal::quitAgent);
        }),
            0);
        QVERIFY(!m_agent->madeWaySince());
        startAgent();
        QCOMPARE(runWith([&] {
            makeWay();
            Setting(Keys::agentEnabled).set(false);
        }),
            0);
        QVERIFY(!m_agent->madeWaySince());
    }
};

KESTRUM_TEST_MAIN(QApplication, AgentSuccessionTest)
#include "AgentSuccessionTest.moc"
