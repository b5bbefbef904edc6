#include "KestrumShared/Readings/ItemHistories.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

class ItemHistoriesTest : public QObject {
    Q_OBJECT
private:
    struct Machine {
        Machine()
            : live(std::make_unique<LiveReadings>(files.root(), devices.readSensors()))
            , histories(files.root())
        {
            files.write(QStringLiteral("proc/meminfo"),
                "MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 40 kB\nAnonPages: 25 kB\n");
            devices.setSensors({ 50.0, 60.0, {}, {} });
        }
        /// Samples at `now`, and adds the results.
        void sample(const WantedReadings& wanted, nanoseconds now)
        {
            files.write(QStringLiteral("proc/stat"), statText(coresAfter(m_second++, { 20, 40 })));
            QSemaphore done;
            live->sample(wanted, [&done] { done.release(); });
            if (wanted.sensors.any())
                QVERIFY(done.tryAcquire(1, 5000));
            live->collect();
            histories.add(*live, wanted, false, interval, now);
        }
        FakeMachine files { 2 };
        StandInDevices devices;
        std::unique_ptr<LiveReadings> live;
        ItemHistories histories;
        nanoseconds interval = 1s;

    private:
        quint64 m_second = 0;
    };
    static WantedReadings everything()
    {
        WantedReadings wanted;
        wanted.cpuLoad = wanted.memory = true;
        wanted.sensors.cpu = wanted.sensors.gpu = true;
        return wanted;
    }
    static constexpr nanoseconds morning = 10h;

private Q_SLOTS:
    void eachSampleIsAdded()
    {
        Machine machine;
        for (int second = 0; second < 10; second += 2)
            machine.sample(everything(), morning + second * 1s);
        const auto pointsOf = [](const History& history) { return history.points(morning + 8s); };
        // Two samples measure one load.
        QCOMPARE(valuesOf(pointsOf(machine.histories.cpu)), QList<double>(4, 0.3));
        QCOMPARE(valuesOf(pointsOf(machine.histories.app)), QList<double>(5, 0.25));
        QCOMPARE(valuesOf(pointsOf(machine.histories.system)), QList<double>(5, 0.35));
        QCOMPARE(valuesOf(pointsOf(machine.histories.compressed)), QList<double>(5, 0.0));
        QCOMPARE(valuesOf(pointsOf(machine.histories.cache)), QList<double>(5, 0.3));
        QCOMPARE(valuesOf(pointsOf(machine.histories.cpuTemperature)), QList<double>(5, 50.0));
        QCOMPARE(valuesOf(pointsOf(machine.histories.gpuTemperature)), QList<double>(5, 60.0));
        QCOMPARE(pointsOf(machine.histories.app).first().age, 8.0);
    }

    void whatIsHiddenForAWhileHasAGap()
    {
        Machine machine;
        machine.sample(everything(), morning);
        machine.sample(everything(), morning + 2s);
        machine.sample({}, morning + 4s);
        machine.sample({}, morning + 60s);
        machine.sample(everything(), morning + 62s);
        machine.sample(everything(), morning + 64s);
        const History* const histories[] { &machine.histories.cpu, &machine.histories.app,
            &machine.histories.cpuTemperature };
        for (const History* history : histories) {
            const QList<HistoryPoint> points = history->points(morning + 64s);
            int gaps = 0;
            for (const HistoryPoint& point : points)
                gaps += int(point.followsGap);
            QCOMPARE(gaps, 1);
            QCOMPARE(points.last().age, 0.0);
            QVERIFY(!points.last().followsGap || history == &machine.histories.cpu);
        }
        // The load between the two times is not that of a second.
        QCOMPARE(machine.histories.cpu.points(morning + 64s).size(), 2);
    }

    void whatDevicesDoNotAnswerIsMissing()
    {
        Machine machine;
        machine.sample(everything(), morning);
        machine.devices.setSensors({ {}, 61.0, {}, {} });
        machine.sample(everything(), morning + 2s);
        // No answer, so the last one is not taken for a new one.
        machine.histories.add(*machine.live, everything(), false, machine.interval, morning + 4s);
        QCOMPARE(valuesOf(machine.histories.cpuTemperature.points(morning + 4s)), QList<double>({ 50 }));
        QCOMPARE(valuesOf(machine.histories.gpuTemperature.points(morning + 4s)), QList<double>({ 60, 61 }));
    }

    void answersBetweenSamplesAreAddedOnce()
    {
        Machine machine;
        QSemaphore done;
        machine.live->sample(everything(), [&done] { done.release(); });
        QVERIFY(!machine.histories.add(*machine.live, everything(), false, machine.interval, morning));
        QVERIFY(done.tryAcquire(1, 5000));
        machine.live->collect();
        QVERIFY(machine.histories.addAnswer(*machine.live, machine.interval, morning + 2s));
        QVERIFY(!machine.histories.addAnswer(*machine.live, machine.interval, morning + 4s));
        QCOMPARE(valuesOf(machine.histories.cpuTemperature.points(morning + 4s)), QList<double>({ 50 }));
    }

    void ratesOfTheDisks()
    {
        Machine machine;
        WantedReadings wanted;
        wanted.storage = true;
        machine.files.write(QStringLiteral("sys/block/sda/hidden"), "0\n");
        const auto sample = [&](int sectors, nanoseconds now) {
            machine.files.write(QStringLiteral("proc/diskstats"),
                "8 0 sda 1 0 " + QByteArray::number(sectors) + " 1 1 0 0 1 0 1 1\n");
            QTest::qWait(60); // less is no measurement
            machine.histories.add(*machine.live, wanted, false, machine.interval, now);
        };
        sample(0, morning);
        QVERIFY(!machine.histories.diskRates());
        sample(1000, morning + 2s);
        QVERIFY(machine.histories.diskRates()->read > 0);
        QCOMPARE(machine.histories.diskRates()->write, 0.0);
        QCOMPARE(machine.histories.diskRead.points(morning + 2s).size(), 1);
        QCOMPARE(machine.histories.diskRead.points(morning + 2s).last().value,
            machine.histories.diskRates()->read);
        // Hidden, and shown again: what happened in between is no rate.
        machine.histories.add(*machine.live, {}, false, machine.interval, morning + 4s);
        QVERIFY(!machine.histories.diskRates());
        sample(1'000'000, morning + 6s);
        QVERIFY(!machine.histories.diskRates());
        QCOMPARE(machine.histories.diskRead.points(morning + 6s).size(), 1);
    }

    void unseenTheDisksAreReadOnceInTwoSeconds()
    {
        Machine machine;
        WantedReadings wanted;
        wanted.storage = true;
        machine.files.write(QStringLiteral("sys/block/sda/hidden"), "0\n");
        QList<double> rates;
        const auto tick = [&](bool areSeen, nanoseconds now) {
            machine.files.write(QStringLiteral("proc/diskstats"),
                "8 0 sda 1 0 " + QByteArray::number(1000 * rates.size()) + " 1 1 0 0 1 0 1 1\n");
            QTest::qWait(60); // less is no measurement
            machine.histories.add(*machine.live, wanted, areSeen, machine.interval, now);
            const auto& known = machine.histories.diskRates();
            rates.append(known ? known->read : -1);
            return rates.size() > 1 && rates.last() != rates[rates.size() - 2];
        };
        tick(false, morning);
        QVERIFY(!tick(false, morning + 1s));
        QVERIFY(tick(false, morning + 1980ms)); // ticks come a little early or late
        QVERIFY(!tick(false, morning + 3s));
        QVERIFY(tick(false, morning + 4s));
        QVERIFY(tick(true, morning + 5s));
        QVERIFY(tick(true, morning + 6s));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ItemHistoriesTest)
#include "ItemHistoriesTest.moc"
