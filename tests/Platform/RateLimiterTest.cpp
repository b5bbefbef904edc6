#include "Platform/Files/RateLimiter.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;
using namespace std::chrono_literals;

class RateLimiterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void burstWithinTheSavingsIsNotSlowed()
    {
        RateLimiter allowance(8ms, start);
        for (int i = 0; i < 8; ++i)
            QVERIFY(allowance.charge(1ms, start) == 0ns);
    }

    void overdrawingAsksForAPause()
    {
        RateLimiter little(8ms, start);
        QVERIFY(little.charge(8ms + 1us, start) == RateLimiter::shortestPause);
        RateLimiter more(8ms, start);
        QVERIFY(more.charge(9ms, start) == 45ms);
        RateLimiter much(8ms, start);
        QVERIFY(much.charge(1s, start) == RateLimiter::longestPause);
    }

    void quietTimeFillsTheSavingsButNoFurther()
    {
        RateLimiter allowance(8ms, start);
        QVERIFY(allowance.charge(8ms, start) == 0ns);
        QVERIFY(allowance.charge(8ms, start + 360ms) == 0ns);
        QVERIFY(allowance.charge(8ms, start + 10h) == 0ns);
        QVERIFY(allowance.charge(1us, start + 10h) > 0ns);
    }

    void steadyFloodCostsNoMoreThanItsShare()
    {
        RateLimiter::Instant now {};
        RateLimiter allowance(8ms, now);
        RateLimiter::Duration worked {};
        while (now.time_since_epoch() < 20s) {
            worked += 30us;
            now += 30us;
            now += allowance.charge(30us, now);
        }
        QVERIFY2(worked < 20s / 20, qPrintable(QString::number(worked.count())));
        QVERIFY(worked > 20s / 60);
    }

    void singleDearWorkIsForgivenAfterOnePause()
    {
        RateLimiter allowance(8ms, start);
        const auto pause = allowance.charge(1s, start);
        QVERIFY(allowance.charge(0ns, start + pause) == 0ns);
    }

    void refillingIsLikeAQuietTime()
    {
        RateLimiter allowance(8ms, start);
        QVERIFY(allowance.charge(9ms, start) > 0ns);
        allowance.refill();
        QVERIFY(allowance.charge(8ms, start) == 0ns);
    }

private:
    static constexpr RateLimiter::Instant start {};
};

KESTRUM_TEST_MAIN(QCoreApplication, RateLimiterTest)
#include "RateLimiterTest.moc"
