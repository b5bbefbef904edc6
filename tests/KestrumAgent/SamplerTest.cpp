#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>
#include <limits>
#include <unistd.h>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

void show(const QList<MonitorSection>& sections)
{
    for (const auto& entry : allCases<MonitorSection>())
        Setting(MeterSettings::visibilityKey(entry.value)).set(sections.contains(entry.value));
}

/// How often each thread of this process has gone to sleep since the thread's start, by thread id.
QMap<QString, qint64> sleeps()
{
    QMap<QString, qint64> result;
    const QString folder = QStringLiteral("/proc/self/task/");
    for (const QString& thread : QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(folder + thread + QStringLiteral("/status"));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith("voluntary_ctxt_switches:"))
                result[thread] = line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
        }
    }
    return result;
}

/// Runs the event loop for `time`. Nothing else wakes this thread.
void rest(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

class SamplerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init()
    {
        forgetSettings();
        // The tests must not depend on this machine's sensors.
        Setting(Keys::cpuReadout).set(CPUReadout::usage);
    }

    void nothingIsReadBeforeTheSettingsAreAdopted()
    {
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        rest(300ms);
        QCOMPARE(sampled.count(), 0);
        QVERIFY(!sampler.isRunning());
    }

    void samplesAtOnceAndOnceMoreShortlyAfter()
    {
        Setting(Keys::refreshInterval).set(60.0);
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QCOMPARE(sampled.count(), 1);
        QVERIFY(sampler.readings()->memoryUsage() > 0);
        QVERIFY(sampler.readings()->cpuHistory().isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
        // By now each counter was read twice, and a worker has answered.
        QCOMPARE(sampler.readings()->cpuHistory().size(), 1);
        QVERIFY(sampler.readings()->availableStorage() > 0);
        rest(500ms);
        QCOMPARE(sampled.count(), 2);
    }

    void atLongIntervalsAWorkersAnswerIsShownWhenItIsThere_data()
    {
        QTest::addColumn<double>("interval");
        QTest::addColumn<bool>("isShown");
        QTest::newRow("5 s") << 5.0 << true;
        QTest::newRow("60 s") << 60.0 << true;
        // With an interval below 5 s, the answer waits for the next tick, which saves a wake-up for each tick.
        QTest::newRow("less") << 4.9 << false;
    }
    void atLongIntervalsAWorkersAnswerIsShownWhenItIsThere()
    {
        QFETCH(const double, interval);
        QFETCH(const bool, isShown);
        const FakeMachine machine(1);
        const auto discharge = [&machine](const QByteArray& microwatts) {
            const QString battery = QStringLiteral("sys/class/power_supply/BAT0/");
            machine.write(battery + QStringLiteral("type"), "Battery\n");
            machine.write(battery + QStringLiteral("status"), "Discharging\n");
            machine.write(battery + QStringLiteral("power_now"), microwatts);
        };
        discharge("8000000\n");
        Setting(Keys::refreshInterval).set(interval);
        Setting(Keys::sensorsReadout).set(SensorsReadout::power);
        show({ MonitorSection::sensors });
        Sampler sampler(nullptr, machine.root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        const QSignalSpy completed(&sampler, &Sampler::completed);
        sampler.adoptSettings();
        QThread::msleep(100); // no events: the worker reads, and the second sample has not come yet
        discharge("9000000\n");
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
        if (isShown)
            QTRY_COMPARE_WITH_TIMEOUT(sampler.readings()->systemWatts(), std::optional(9.0), 3000);
        else
            rest(1000ms);
        QCOMPARE(sampled.count(), 2);
        QCOMPARE(sampler.readings()->systemWatts(), std::optional(isShown ? 9.0 : 8.0));
        QCOMPARE(completed.isEmpty(), !isShown);
    }

    void samplesAtTheChosenInterval()
    {
        Setting(Keys::refreshInterval).set(0.125);
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        rest(1100ms);
        // Samples are due at 0, 0.125, 0.25 … s; timers may be 5 % early or late.
        QVERIFY2(sampled.count() >= 7 && sampled.count() <= 11, qPrintable(QString::number(sampled.count())));
    }

    void anotherIntervalHoldsFromNowOn()
    {
        Setting(Keys::refreshInterval).set(60.0);
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
        Setting(Keys::refreshInterval).set(0.2);
        sampler.adoptSettings();
        QCOMPARE(sampled.count(), 2);
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 4, 5000);
    }

    void nothingShownMeansNothingRead()
    {
        show({});
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QVERIFY(!sampler.isRunning());
        rest(400ms);
        QCOMPARE(sampled.count(), 0);
    }

    void anItemWithoutReadoutAndMeterNeedsNothing()
    {
        show({ MonitorSection::sensors });
        Setting(Keys::sensorsReadout).set(SensorsReadout::off);
        Sampler sampler;
        sampler.adoptSettings();
        QVERIFY(!sampler.isRunning());
    }

    void hidingTheLastItemStopsAndShowingOneStartsAnew()
    {
        Setting(Keys::refreshInterval).set(0.1);
        show({ MonitorSection::memory });
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 3, 5000);
        show({});
        sampler.adoptSettings();
        const auto count = sampled.count();
        rest(400ms);
        QCOMPARE(sampled.count(), count);
        show({ MonitorSection::cpu });
        sampler.adoptSettings();
        QCOMPARE(sampled.count(), count + 1);
        QTRY_VERIFY_WITH_TIMEOUT(!sampler.readings()->cpuHistory().isEmpty(), 5000);
    }

    void whatNeedsOtherReadingsIsSampledAtOnceAndNothingElseIs()
    {
        Setting(Keys::refreshInterval).set(60.0);
        Sampler sampler;
        QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
        sampler.adoptSettings();
        Setting(Keys::meterStyle).set(MeterStyle::wave);
        sampler.adoptSettings();
        QCOMPARE(sampled.count(), 2);
        Setting(Keys::memoryReadout, MemoryReadout::off).set(MemoryReadout::pressure);
        sampler.adoptSettings();
        QCOMPARE(sampled.count(), 3);
    }

    void onlyShownItemsAreRead()
    {
        const FakeMachine machine(1);
        machine.write(QStringLiteral("proc/stat"), statText(coresAfter(0, { 50 })));
        machine.write(QStringLiteral("proc/meminfo"), "MemTotal: 4 kB\nMemAvailable: 1 kB\n");
        Setting(Keys::refreshInterval).set(0.1);
        show({ MonitorSection::cpu });
        Sampler sampler(nullptr, machine.root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        machine.write(QStringLiteral("proc/stat"), statText(coresAfter(1, { 50 })));
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 3, 5000);
        QCOMPARE(sampler.readings()->cpuUsage(), 0.5);
        QCOMPARE(sampler.readings()->memoryUsage(), 0.0);
        QCOMPARE(sampler.readings()->availableStorage(), 0);
    }

    void anOpenPopoverIsReadThoughItsItemIsHidden()
    {
        Setting(Keys::refreshInterval).set(0.1);
        show({});
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        sampler.setPopover(MonitorSection::memory);
        QCOMPARE(sampled.count(), 1);
        QVERIFY(sampler.isRunning());
        QVERIFY(sampler.readings()->memoryUsage() > 0);
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 3, 5000);
        sampler.setPopover(std::nullopt);
        QVERIFY(!sampler.isRunning());
        const auto count = sampled.count();
        rest(300ms);
        QCOMPARE(sampled.count(), count);
    }

    void aPopoverReadsWhatItsReadoutDoesNot()
    {
        const FakeMachine machine(1);
        machine.write(QStringLiteral("proc/meminfo"), "MemTotal: 4 kB\nMemAvailable: 1 kB\n");
        machine.write(
            QStringLiteral("proc/pressure/memory"), "some avg10=25.00 avg60=0.00 avg300=0.00 total=0\n");
        Setting(Keys::refreshInterval).set(4.0);
        show({ MonitorSection::memory });
        Sampler sampler(nullptr, machine.root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        const WantedReadings before = sampler.wanted();
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
        QCOMPARE(sampler.readings()->memoryPressure(), 0.75);
        sampler.setPopover(MonitorSection::memory);
        QCOMPARE(sampled.count(), 3);
        QCOMPARE(sampler.readings()->memoryPressure(), 0.25);
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 4, 5000);
        // The same again is no other popover.
        sampler.setPopover(MonitorSection::memory);
        QCOMPARE(sampled.count(), 4);
        sampler.setPopover(std::nullopt);
        QVERIFY(sampler.wanted() == before);
        QCOMPARE(sampled.count(), 4);
    }

    void aPopoverThatNeedsNothingMoreWaitsForATickThatIsNear()
    {
        const struct {
            double interval;
            bool isSampled;
        } rows[] { { 4.0, false }, { 60.0, true } };
        for (const auto& row : rows) {
            const FakeMachine machine(1);
            Setting(Keys::refreshInterval).set(row.interval);
            show({ MonitorSection::storage });
            Sampler sampler(nullptr, machine.root());
            const QSignalSpy sampled(&sampler, &Sampler::sampled);
            sampler.adoptSettings();
            QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 2, 5000);
            sampler.setPopover(MonitorSection::storage);
            QCOMPARE(sampled.count(), row.isSampled ? 3 : 2);
        }
    }

    // At short intervals, too: nobody wants to look at an empty row.
    void aWorkersAnswersToAnOpeningAreShownWhenTheyAreThere()
    {
        const FakeMachine machine(1);
        Setting(Keys::refreshInterval).set(0.1);
        show({});
        Sampler sampler(nullptr, machine.root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        const QSignalSpy completed(&sampler, &Sampler::completed);
        sampler.setPopover(MonitorSection::storage);
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 6, 5000);
        QVERIFY2(
            completed.count() == 1 || completed.count() == 2, qPrintable(QString::number(completed.count())));
    }

    void intervals_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<qint64>("milliseconds");
        QTest::newRow("one second") << 1.0 << qint64(1000);
        QTest::newRow("fraction") << 2.5 << qint64(2500);
        QTest::newRow("shortest") << 0.1 << qint64(100);
        QTest::newRow("below the shortest") << 0.001 << qint64(100);
        QTest::newRow("hardly anything") << std::numeric_limits<double>::denorm_min() << qint64(100);
        QTest::newRow("a day") << 86400.0 << qint64(86'400'000);
        QTest::newRow("longer than a day") << 1e300 << qint64(86'400'000);
        QTest::newRow("zero") << 0.0 << qint64(1000);
        QTest::newRow("negative") << -5.0 << qint64(1000);
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << qint64(1000);
        QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << qint64(1000);
    }
    void intervals()
    {
        QFETCH(double, seconds);
        QTEST(qint64(Sampler::interval(seconds).count()), "milliseconds");
    }

    void aTextForAnIntervalIsTheFactorys()
    {
        SharedSettings::store().set(Keys::refreshInterval.name, QStringLiteral("often"));
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QVERIFY(sampler.isRunning());
        QTRY_COMPARE_WITH_TIMEOUT(sampled.count(), 3, 5000);
        // The second sample comes 0.2 s after the first one, the third one 1 s later.
        rest(300ms);
        QCOMPARE(sampled.count(), 3);
    }

    // A worker's answer wakes no other thread. The worker sleeps until the next tick.
    void aTickWakesEachThreadOnceAtMost()
    {
        Setting(Keys::refreshInterval).set(0.1);
        Sampler sampler;
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        rest(300ms);
        const auto ticksBefore = sampled.count();
        const auto before = sleeps();
        rest(1300ms);
        const auto after = sleeps();
        const auto ticks = sampled.count() - ticksBefore;
        QVERIFY(ticks >= 10);
        for (auto thread = after.begin(); thread != after.end(); ++thread) {
            const qint64 wakeUps = thread.value() - before.value(thread.key(), 0);
            // A few wake-ups have other causes, such as the end of the wait and page faults.
            QVERIFY2(wakeUps <= ticks + 4,
                qPrintable(
                    QStringLiteral("thread %1: %2 in %3 ticks").arg(thread.key()).arg(wakeUps).arg(ticks)));
        }
    }

    void nothingWakesWhileNothingIsShown()
    {
        Setting(Keys::refreshInterval).set(0.1);
        Sampler sampler;
        sampler.adoptSettings();
        rest(300ms);
        show({});
        sampler.adoptSettings();
        rest(300ms);
        const auto before = sleeps();
        rest(600ms);
        const auto after = sleeps();
        for (auto thread = after.begin(); thread != after.end(); ++thread)
            QVERIFY(thread.value() - before.value(thread.key(), 0) <= 2);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SamplerTest)
#include "SamplerTest.moc"
