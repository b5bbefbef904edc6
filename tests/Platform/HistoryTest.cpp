#include "Platform/Machine/History.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <cmath>
#include <limits>
#include <time.h>

using namespace kestrum;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

/// A time at which a bucket begins.
constexpr nanoseconds morning = 10h;

/// A history of the values 0, 1, 2 …, one every `interval`.
History counted(int values, nanoseconds interval)
{
    History history;
    for (int value = 0; value < values; ++value)
        history.add(value, interval, morning + value * interval);
    return history;
}

int gaps(const QList<HistoryPoint>& points)
{
    return int(std::count_if(
        points.begin(), points.end(), [](const HistoryPoint& point) { return point.followsGap; }));
}

} // namespace

class HistoryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void anEmptyHistoryHasNoPoints() { QVERIFY(History().points().isEmpty()); }

    void theBoottimeClockCounts()
    {
        timespec before {};
        ::clock_gettime(CLOCK_BOOTTIME, &before);
        QVERIFY(timeSinceBoot() >= std::chrono::seconds(before.tv_sec) + nanoseconds(before.tv_nsec));
        QVERIFY(timeSinceBoot() - std::chrono::seconds(before.tv_sec) < 10s);
    }

    void fiveMinutesAreKeptAtEveryInterval()
    {
        const struct {
            const char* name;
            nanoseconds interval;
            int points;
            double newest; ///< the mean of the last bucket, of 9001 values
            double before; ///< the mean of the bucket before
            double secondsBefore;
        } rows[] {
            { "0.1 s", 100ms, 151, 9000, 8989.5, 0.1 },
            { "1 s", 1s, 151, 9000, 8998.5, 1 },
            { "2 s", 2s, 151, 9000, 8999, 2 },
            { "5 s", 5s, 61, 9000, 8999, 5 },
            { "60 s", 60s, 6, 9000, 8999, 60 },
        };
        for (const auto& row : rows) {
            const QList<HistoryPoint> points
                = counted(9001, row.interval).points(morning + 9000 * row.interval);
            QCOMPARE_ROW(row.name, points.size(), row.points);
            QCOMPARE_ROW(row.name, points.last().value, row.newest);
            QCOMPARE_ROW(row.name, points.last().age, 0.0);
            QCOMPARE_ROW(row.name, points.at(points.size() - 2).value, row.before);
            QCOMPARE_ROW(row.name, points.at(points.size() - 2).age, row.secondsBefore);
            QVERIFY2(points.first().age <= 300 && points.first().age > 300 - std::max(2.0, row.secondsBefore),
                row.name);
            QCOMPARE_ROW(row.name, gaps(points), 0);
            for (qsizetype place = 1; place < points.size(); ++place)
                QVERIFY2(points[place].age < points[place - 1].age, row.name);
        }
    }

    void aBucketHoldsTheMeanOfItsValues()
    {
        History history;
        history.add(1, 1s, morning);
        history.add(2, 1s, morning + 1s);
        history.add(7, 1s, morning + 2s);
        QCOMPARE(history.points(morning + 3s),
            QList<HistoryPoint>({ { .age = 2, .value = 1.5 }, { .age = 1, .value = 7 } }));
    }

    void pointsAgeAndLeave()
    {
        const History history = counted(10, 2s);
        const nanoseconds last = morning + 18s;
        QCOMPARE(history.points(last + 282s).size(), 10);
        QCOMPARE(history.points(last + 282s).first().age, 300.0);
        QCOMPARE(history.points(last + 283s).size(), 9);
        QCOMPARE(history.points(last + 300s), QList<HistoryPoint>({ { .age = 300, .value = 9 } }));
        QVERIFY(history.points(last + 301s).isEmpty());
        QVERIFY(history.points(last + 300s * 1000).isEmpty());
    }

    void bucketsAfterTheGivenTimeAreLeftOut()
    {
        const QList<HistoryPoint> points = counted(10, 2s).points(morning + 3s);
        QCOMPARE(points, QList<HistoryPoint>({ { .age = 3, .value = 0 }, { .age = 1, .value = 1 } }));
    }

    void whatIsOlderIsOverwritten()
    {
        History history = counted(150, 2s);
        history.add(1000, 2s, morning + 302s);
        const QList<HistoryPoint> points = history.points(morning + 302s);
        QCOMPARE(points.size(), 150);
        QCOMPARE(points.first().value, 1.0);
        QCOMPARE(points.last().value, 1000.0);
    }

    void moreThanThreeIntervalsAreAGap()
    {
        const struct {
            const char* name;
            nanoseconds interval;
            nanoseconds pause;
            bool isGap;
        } rows[] {
            { "0.1 s, late", 100ms, 350ms, false },
            { "0.1 s, less than a bucket", 100ms, 2s, false },
            { "0.1 s, more than a bucket", 100ms, 2100ms, true },
            { "1 s, three", 1s, 3s, false },
            { "1 s, more", 1s, 3100ms, true },
            { "2 s, three", 2s, 6s, false },
            { "2 s, more", 2s, 6100ms, true },
            { "5 s, late", 5s, 15s, false },
            { "5 s, more", 5s, 16s, true },
            { "60 s, late", 60s, 180s, false },
            { "60 s, more", 60s, 181s, true },
        };
        for (const auto& row : rows) {
            // The pause begins and ends at any place of a bucket.
            for (nanoseconds begin = morning; begin < morning + 2s; begin += 100ms) {
                History history;
                history.add(1, row.interval, begin);
                history.add(2, row.interval, begin + row.pause);
                const QList<HistoryPoint> points = history.points(begin + row.pause);
                QCOMPARE_ROW(row.name, points.last().followsGap, row.isGap);
                QCOMPARE_ROW(row.name, gaps(points), int(row.isGap));
            }
        }
    }

    void theFirstValueFollowsNoGap()
    {
        QCOMPARE(gaps(counted(1, 1s).points(morning)), 0);
        History history = counted(5, 1s);
        history.clear();
        QVERIFY(history.points(morning).isEmpty());
        history.add(1, 1s, morning + 1h);
        QCOMPARE(gaps(history.points(morning + 1h)), 0);
    }

    void afterAGapTheBucketKeepsIt()
    {
        History history = counted(2, 1s);
        for (int second = 10; second < 14; ++second)
            history.add(second, 1s, morning + second * 1s);
        const QList<HistoryPoint> expected { { .age = 12, .value = 0.5 },
            { .age = 2, .value = 10.5, .followsGap = true }, { .age = 0, .value = 12.5 } };
        QCOMPARE(history.points(morning + 13s), expected);
    }

    void aShorterIntervalMakesNoGapOfTheLongerOne()
    {
        History history = counted(2, 60s);
        history.add(2, 1s, morning + 120s);
        history.add(3, 1s, morning + 121s);
        QCOMPARE(gaps(history.points(morning + 121s)), 0);
        history.add(4, 1s, morning + 126s);
        QCOMPARE(gaps(history.points(morning + 126s)), 1);
    }

    void aTimeBeforeTheLastOneEmptiesTheHistory()
    {
        History history = counted(10, 1s);
        history.add(5, 1s, morning + 3s);
        QCOMPARE(history.points(morning + 3s), QList<HistoryPoint>({ { .age = 0, .value = 5 } }));
    }

    void valuesThatAreNotFiniteAreIgnored()
    {
        History history = counted(1, 1s);
        for (const double value : { std::numeric_limits<double>::quiet_NaN(),
                 std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity() })
            history.add(value, 1s, morning + 1s);
        QCOMPARE(history.points(morning + 1s), QList<HistoryPoint>({ { .age = 1, .value = 0 } }));
    }

    void impossibleTimesAndIntervals()
    {
        History history;
        history.add(1, 1s, -5s);
        QVERIFY(history.points(-5s).isEmpty());
        history.add(1, nanoseconds::max(), 0s);
        history.add(2, 0s, nanoseconds::max());
        QCOMPARE(history.points(nanoseconds::max()).last().value, 2.0);
        history.add(3, -1s, nanoseconds::max());
        QCOMPARE(history.points(nanoseconds::max()).last().value, 2.5);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, HistoryTest)
#include "HistoryTest.moc"
