#include "tests/Support/AptScript.h"
#include "tests/Support/Text.h"
#include "tests/Support/UpdateFixture.h"

using namespace kestrum;

class UpdateTimesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { UpdateFixture::prepare(); }
    void cleanup() { qunsetenv("KESTRUM_DISABLE_UPDATER"); }

    void whoeverAsksDuringACheckGetsOneMoreThatSeesTheNews()
    {
        const AptScript script("echo run >> \"${0%/*}/runs\"; sleep 0.2\n");
        UpdateFixture fixture;
        fixture.checker.check();
        QTRY_COMPARE(script.written("runs"), QByteArray("run"));
        fixture.checker.check();
        fixture.checker.check();
        QVERIFY(fixture.outcomes.wait(10'000));
        QVERIFY(!fixture.outcomes.wait(400));
        QCOMPARE(fixture.outcomes.count(), 1);
        QCOMPARE(script.written("runs"), QByteArray("run\nrun"));
        fixture.check();
        QCOMPARE(script.written("runs"), QByteArray("run\nrun\nrun"));
    }

    void theSettingsSayWhetherChecksArePossible()
    {
        const AptScript script(QByteArray {});
        const Setting canCheck { Keys::updaterCanCheck };
        {
            UpdateChecker checker;
            QVERIFY(!canCheck.value());
            checker.start();
            QVERIFY(canCheck.value());
        }
        qputenv("PATH", "/nothing here");
        UpdateFixture fixture;
        fixture.checker.start();
        QVERIFY(!canCheck.value());
        QVERIFY(!fixture.daily().isActive());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QVERIFY(fixture.check().startsWith(text("The check for updates failed: ")));
    }

    void theEnvironmentSwitchesItOff()
    {
        const AptScript script("echo run >> \"${0%/*}/runs\"\n");
        qputenv("KESTRUM_DISABLE_UPDATER", "1");
        Setting { Keys::updaterCanCheck }.set(true);
        SharedSettings::store().set(Keys::updatesAvailable.name, text("1.5 (30)"));
        UpdateFixture fixture;
        fixture.checker.start();
        QVERIFY(!Setting { Keys::updaterCanCheck }.value());
        QVERIFY(!SharedSettings::store().string(Keys::updatesAvailable.name)); // the start removes the offer
        QVERIFY(!fixture.daily().isActive());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QCOMPARE(fixture.check(), text("The check for updates failed: It is switched off."));
        QCOMPARE(script.written("runs"), QByteArray());
        qputenv("KESTRUM_DISABLE_UPDATER", "0");
        QCOMPARE(fixture.check(), text("No source of updates is known."));
    }

    void itChecksByItselfWhileThatIsChosen()
    {
        using namespace std::chrono_literals;
        const AptScript script(QByteArray {});
        const Setting choice { Keys::updatesCheckAutomatically };
        UpdateFixture fixture;
        QTimer& daily = fixture.daily();
        QVERIFY(!daily.isActive());
        fixture.checker.start();
        QVERIFY(daily.isActive());
        QCOMPARE(daily.timerType(), Qt::VeryCoarseTimer);
        QVERIFY(daily.intervalAsDuration() >= 1min && daily.intervalAsDuration() <= 10min);
        choice.set(false);
        QTRY_VERIFY(!daily.isActive());
        choice.set(true);
        QTRY_VERIFY(daily.isActive());
    }

    void itDoesNotCheckByItselfWhereThatIsNotChosen()
    {
        const AptScript script(QByteArray {});
        Setting { Keys::updatesCheckAutomatically }.set(false);
        UpdateFixture fixture;
        fixture.checker.start();
        QVERIFY(!fixture.daily().isActive());
        QVERIFY(Setting { Keys::updaterCanCheck }.value());
    }

    void theNextCheckIsADayLaterAtSomeTime()
    {
        using namespace std::chrono_literals;
        const AptScript script("echo run >> \"${0%/*}/runs\"\n");
        UpdateFixture fixture;
        fixture.checker.start();
        QTimer& daily = fixture.daily();
        QSet<qint64> intervals;
        for (int i = 1; i <= 3; ++i) {
            daily.start(0);
            QTRY_COMPARE(script.written("runs").count("run"), i);
            QVERIFY(daily.isActive());
            QVERIFY(daily.intervalAsDuration() >= 23h && daily.intervalAsDuration() <= 25h);
            intervals.insert(daily.interval());
            QTest::qWait(quietTime);
        }
        QVERIFY(intervals.size() > 1);
        // No person asked for these checks, so no outcome is reported.
        QCOMPARE(fixture.outcomes.count(), 0);
    }

    void whoAsksDuringACheckOfItsOwnIsAnswered()
    {
        const AptScript script("echo run >> \"${0%/*}/runs\"; sleep 0.2\n");
        UpdateFixture fixture;
        fixture.checker.start();
        fixture.daily().start(0);
        QTRY_COMPARE(script.written("runs"), QByteArray("run"));
        QCOMPARE(fixture.check(), text("No source of updates is known."));
        QCOMPARE(script.written("runs"), QByteArray("run\nrun"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UpdateTimesTest)
#include "UpdateTimesTest.moc"
