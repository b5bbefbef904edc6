#include "tests/Support/AppListFixture.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

using Clock = AppListReader::Clock;
using Column = AppListReader::Column;

const QStringList firstAndSecond { QStringLiteral("first"), QStringLiteral("second") };

} // namespace

class AppListReaderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }

    void scansTakeAHundredthOfACoreAtMost()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.cost = 50ms;
        const auto scansAfter = [&fixture](std::chrono::milliseconds time, auto next) {
            fixture.passed += time;
            const int before = fixture.list.scans();
            next();
            fixture.finish();
            return fixture.list.scans() - before;
        };
        const auto approach = [&fixture] { fixture.list.approach(Column::cpu); };
        QCOMPARE(scansAfter(0ms, approach), 1);
        QCOMPARE(scansAfter(4900ms, approach), 0);
        QCOMPARE(scansAfter(100ms, approach), 1);
        const auto tick = [&fixture] { fixture.list.tick(1s, {}); };
        QCOMPARE(scansAfter(5000ms, [&fixture] { fixture.list.open(Column::cpu); }), 1);
        QCOMPARE(scansAfter(4900ms, tick), 0);
        QCOMPARE(scansAfter(100ms, tick), 1);
    }

    void openedColdTheRowsComeHalfASecondLater()
    {
        AppListFixture fixture;
        QElapsedTimer time;
        time.start();
        fixture.list.open(Column::cpu);
        fixture.finish();
        QVERIFY(fixture.names().isEmpty());
        fixture.setTicks(5);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(time.elapsed() >= 500);
        QCOMPARE(fixture.list.scans(), 2);
        // Nothing more without a tick.
        QTest::qWait(600);
        QCOMPARE(fixture.list.scans(), 2);
    }

    void afterAnApproachTheRowsAreThereAtOnce()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.finish();
        fixture.passed = 510ms;
        fixture.setTicks(5);
        fixture.list.open(Column::cpu);
        QCOMPARE(fixture.list.scans(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(fixture.list.rows().first().cores > 0);
    }

    void longAfterAnApproachThePastIsNotShown()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.list.approach(Column::cpu);
        fixture.finish();
        fixture.setTicks(1000, 0, 1); // whoever was busy meanwhile
        fixture.passed = 10s;
        fixture.list.open(Column::cpu);
        fixture.finish();
        QVERIFY(fixture.names().isEmpty());
        QCOMPARE(fixture.list.scans(), 2);
        fixture.setTicks(1001, 1, 1);
        fixture.passed += 500ms;
        QTRY_VERIFY_WITH_TIMEOUT(!fixture.names().isEmpty(), 5000);
        QCOMPARE(fixture.names().first(), QStringLiteral("first"));
    }

    void soonAfterAnApproachTheDifferenceIsWaitedFor()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.finish();
        fixture.list.open(Column::cpu);
        QCOMPARE(fixture.list.scans(), 1);
        fixture.setTicks(5);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QCOMPARE(fixture.list.scans(), 2);
    }

    void memoryNeedsNoDifference()
    {
        AppListFixture fixture;
        const QStringList all { QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("idle") };
        fixture.list.approach(Column::memory);
        fixture.finish();
        fixture.list.open(Column::memory);
        QCOMPARE(fixture.names(), all);
        QCOMPARE(fixture.list.scans(), 1);

        AppListFixture cold;
        cold.list.open(Column::memory);
        cold.finish();
        QCOMPARE(cold.names(), all);
        QCOMPARE(cold.list.scans(), 1);
    }

    void aScanForAnotherListIsFollowedByOneForThis()
    {
        AppListFixture fixture;
        fixture.list.approach(Column::cpu);
        fixture.list.open(Column::disk); // while the first scan is running
        fixture.setTicks(5);
        QTRY_VERIFY_WITH_TIMEOUT(fixture.list.scans() >= 2 && !fixture.list.isScanning(), 5000);
        fixture.setTicks(10);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.names(), firstAndSecond, 5000);
        QVERIFY(fixture.list.rows().first().readRate > fixture.list.rows().last().readRate);
    }

    void approachesScanEveryTwoSecondsAtMost()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        for (; fixture.passed <= 10s; fixture.passed += 100ms) {
            fixture.list.approach(Column::cpu);
            fixture.finish();
        }
        QVERIFY2(fixture.list.scans() == 5 || fixture.list.scans() == 6,
            qPrintable(QString::number(fixture.list.scans())));
    }

    void ticksScanAtTheIntervalButEveryTwoSecondsAtMost()
    {
        const struct {
            const char* name;
            std::chrono::milliseconds interval;
            int scans; ///< in a minute
        } rows[] { { "0.1 s", 100ms, 30 }, { "1 s", 1s, 30 }, { "2 s", 2s, 30 }, { "5 s", 5s, 12 },
            { "30 s", 30s, 2 } };
        for (const auto& row : rows) {
            AppListFixture fixture;
            fixture.stopped = Clock::now();
            fixture.list.open(Column::memory);
            fixture.finish();
            for (; fixture.passed < 60s; fixture.passed += row.interval) {
                fixture.list.tick(row.interval, {});
                fixture.finish();
            }
            const int scans = fixture.list.scans();
            QVERIFY2(scans >= row.scans - 1 && scans <= row.scans + 1,
                qPrintable(QStringLiteral("%1: %2").arg(QLatin1StringView(row.name)).arg(scans)));
        }
    }

    // A tick may be a twentieth of the interval early, as the timer is coarse.
    void aTickThatIsALittleEarlyScansToo()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.list.open(Column::memory);
        fixture.finish();
        fixture.passed = 5s - 300ms;
        fixture.list.tick(5s, {});
        QCOMPARE(fixture.list.scans(), 1);
        fixture.passed = 5s - 200ms;
        fixture.list.tick(5s, {});
        QCOMPARE(fixture.list.scans(), 2);
    }

    void closedNothingIsScanned()
    {
        AppListFixture fixture;
        fixture.list.open(Column::cpu);
        fixture.list.close(); // before the second scan
        QTest::qWait(600);
        fixture.passed = 10s;
        fixture.list.tick(100ms, {});
        QCOMPARE(fixture.list.scans(), 1);
        QVERIFY(fixture.names().isEmpty());
    }

    void aHeldListKeepsItsPlaces()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.list.open(Column::cpu);
        fixture.finish();
        int second = 0;
        const auto tick = [&](int ofFirst, int ofSecond) {
            fixture.passed += 30s; // however much a scan costs here
            fixture.setTicks(second += 100, ofFirst, ofSecond);
            fixture.list.tick(1s, {});
            fixture.finish();
        };
        tick(3, 2);
        QCOMPARE(fixture.names(), firstAndSecond);
        fixture.list.setHeld(true);
        for (int i = 0; i < 5; ++i)
            tick(3, 20);
        QCOMPARE(fixture.names(), firstAndSecond);
        QVERIFY(fixture.list.rows()[0].cores < fixture.list.rows()[1].cores);
        fixture.list.setHeld(false);
        tick(3, 20);
        QCOMPARE(fixture.names(), QStringList(firstAndSecond.rbegin(), firstAndSecond.rend()));
        // A list in its place is held too: whoever points at it has not moved.
        fixture.list.setHeld(true);
        fixture.list.close();
        fixture.list.open(Column::cpu);
        tick(30, 20);
        tick(30, 20);
        QCOMPARE(fixture.names(), firstAndSecond);
        for (int i = 0; i < 5; ++i)
            tick(3, 60);
        QCOMPARE(fixture.names(), firstAndSecond);
        fixture.list.setHeld(false);
        tick(3, 60);
        QCOMPARE(fixture.names(), QStringList(firstAndSecond.rbegin(), firstAndSecond.rend()));
    }

    void ratesAreOverTheTimeBetweenTheReadingsThemselves()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.list.open(Column::disk);
        fixture.finish();
        fixture.setTicks(10);
        fixture.passed = 20s;
        fixture.late = 20s;
        fixture.list.tick(1s, {});
        fixture.finish();
        QCOMPARE(fixture.names(), firstAndSecond);
        QCOMPARE(fixture.list.rows().first().readRate, 30'000 / 40.0);
    }

    void aScanThatHangsIsLeftBehind()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        const auto hangs = [&fixture](std::chrono::milliseconds passed, int count) {
            fixture.passed = passed;
            fixture.list.collect();
            fixture.list.tick(1s, {});
            QTRY_COMPARE_WITH_TIMEOUT(fixture.hanging(), count, 5000);
        };
        fixture.list.open(Column::memory);
        fixture.finish();
        QCOMPARE(fixture.list.rows().size(), 3);
        fixture.hang();
        hangs(20s, 1);
        hangs(29s, 1);
        QCOMPARE(fixture.list.rows().size(), 3);
        // Numbers of long ago are not shown as those of now. Another worker goes on, but not any number of them.
        hangs(30s, 2);
        QVERIFY(fixture.list.rows().isEmpty());
        hangs(50s, 2);
        hangs(80s, 2);
        QCOMPARE(fixture.list.scans(), 3);

        fixture.letGo();
        const auto rowsAtATick = [&fixture] {
            fixture.list.collect();
            fixture.list.tick(1s, {});
            return fixture.list.rows().size();
        };
        QTRY_COMPARE_WITH_TIMEOUT(rowsAtATick(), 3, 5000);
    }

    void openedAgainAListThatHungIsNotBlank()
    {
        AppListFixture fixture;
        fixture.stopped = Clock::now();
        fixture.hang();
        fixture.list.open(Column::memory);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.hanging(), 1, 5000);
        fixture.list.close();
        fixture.passed = 20s;
        fixture.hangNoMore();
        fixture.list.open(Column::memory);
        fixture.finish();
        QCOMPARE(fixture.list.rows().size(), 3);
        QCOMPARE(fixture.hanging(), 1);
        fixture.letGo();
        QTRY_COMPARE_WITH_TIMEOUT(fixture.hanging(), 0, 5000);
    }

    void aListThatCannotBeReadIsNotTriedForEver()
    {
        const FileTree nothing;
        Bell bell;
        auto now = Clock::now();
        AppListReader list(nothing.path(QStringLiteral("none")), bell.rope(), [&now] { return now; });
        connect(&bell, &Bell::rung, [&] {
            // Every difference is over too long a time.
            now += 2min;
            list.collect();
        });
        list.open(Column::disk);
        QTest::qWait(200);
        QVERIFY2(list.scans() <= 6, qPrintable(QString::number(list.scans())));
        const int scans = list.scans();
        QTest::qWait(100);
        QCOMPARE(list.scans(), scans);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppListReaderTest)
#include "AppListReaderTest.moc"
