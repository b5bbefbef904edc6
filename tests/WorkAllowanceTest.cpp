#include "Platform/Files/WorkAllowance.h"

#include <QTest>

using namespace kestrum;
using namespace std::chrono_literals;

class WorkAllowanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void burstWithinTheSavingsIsNotSlowed();
    void overdrawingAsksForAPause();
    void quietTimeFillsTheSavingsButNoFurther();
    void steadyFloodCostsNoMoreThanItsShare();
    void singleDearWorkIsForgivenAfterOnePause();
    void refillingIsLikeAQuietTime();
};

void WorkAllowanceTest::burstWithinTheSavingsIsNotSlowed()
{
    const WorkAllowance::Instant start {};
    WorkAllowance allowance(8ms, start);
    for (int i = 0; i < 8; ++i)
        QVERIFY(allowance.spend(1ms, start) == 0ns);
}

void WorkAllowanceTest::overdrawingAsksForAPause()
{
    const WorkAllowance::Instant start {};
    WorkAllowance little(8ms, start);
    QVERIFY(little.spend(8ms + 1us, start) == WorkAllowance::shortestPause);
    WorkAllowance more(8ms, start);
    QVERIFY(more.spend(9ms, start) == 30ms);
    WorkAllowance much(8ms, start);
    QVERIFY(much.spend(1s, start) == WorkAllowance::longestPause);
}

void WorkAllowanceTest::quietTimeFillsTheSavingsButNoFurther()
{
    const WorkAllowance::Instant start {};
    WorkAllowance allowance(8ms, start);
    QVERIFY(allowance.spend(8ms, start) == 0ns);
    QVERIFY(allowance.spend(8ms, start + 240ms) == 0ns);
    QVERIFY(allowance.spend(8ms, start + 10h) == 0ns);
    QVERIFY(allowance.spend(1us, start + 10h) > 0ns);
}

void WorkAllowanceTest::steadyFloodCostsNoMoreThanItsShare()
{
    WorkAllowance::Instant now {};
    WorkAllowance allowance(8ms, now);
    WorkAllowance::Duration worked {};
    while (now.time_since_epoch() < 20s) {
        worked += 30us;
        now += 30us;
        now += allowance.spend(30us, now);
    }
    QVERIFY2(worked < 20s / 20, qPrintable(QString::number(worked.count())));
    QVERIFY(worked > 20s / 40);
}

void WorkAllowanceTest::singleDearWorkIsForgivenAfterOnePause()
{
    const WorkAllowance::Instant start {};
    WorkAllowance allowance(8ms, start);
    const auto pause = allowance.spend(1s, start);
    QVERIFY(allowance.spend(0ns, start + pause) == 0ns);
}

void WorkAllowanceTest::refillingIsLikeAQuietTime()
{
    const WorkAllowance::Instant start {};
    WorkAllowance allowance(8ms, start);
    QVERIFY(allowance.spend(9ms, start) > 0ns);
    allowance.refill();
    QVERIFY(allowance.spend(8ms, start) == 0ns);
}

QTEST_APPLESS_MAIN(WorkAllowanceTest)
#include "WorkAllowanceTest.moc"
