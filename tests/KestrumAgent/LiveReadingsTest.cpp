#include "KestrumShared/Readings/LiveReadings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/TestHome.h"

#include <QRandomGenerator>
#include <QSemaphore>
#include <cmath>

using namespace kestrum;

namespace {

/// A machine whose cores are busy for the given hundredths of each second. `pass` advances its time.
class Machine {
public:
    explicit Machine(const QList<quint64>& busy)
        : files(int(busy.size()))
        , m_busy(busy)
    {
        pass();
    }
    void write(const char* path, const QByteArray& content) const
    {
        files.write(QLatin1StringView(path), content);
    }
    void pass() { files.write(QStringLiteral("proc/stat"), statText(coresAfter(m_seconds++, m_busy))); }

    FakeMachine files;

private:
    QList<quint64> m_busy;
    quint64 m_seconds = 0;
};

WantedReadings everything()
{
    WantedReadings wanted;
    wanted.cpuLoad = wanted.cpuPower = wanted.memory = wanted.memoryPressure = true;
    wanted.storage = wanted.systemPower = true;
    wanted.sensors = { true, true, true, true };
    return wanted;
}

/// Takes a sample, and waits for the worker's results. The results appear at the next sample.
void sample(LiveReadings& readings)
{
    QSemaphore read;
    readings.sample(everything(), [&read] { read.release(); });
    QVERIFY(read.tryAcquire(1, 5000));
}
void sampleTwice(Machine& machine, LiveReadings& readings)
{
    sample(readings);
    machine.pass();
    sample(readings);
}

using Optional = std::optional<double>;

void verifyNoDevices(const LiveReadings& readings)
{
    for (const Optional& value : { readings.cpuTemperature(), readings.cpuWatts(), readings.gpuTemperature(),
             readings.hottestCelsius(), readings.fastestFanRPM(), readings.systemWatts() })
        QCOMPARE(value, std::nullopt);
}

void writeBattery(const Machine& machine, const QByteArray& status)
{
    machine.write("sys/class/power_supply/AC/type", "Mains\n");
    machine.write("sys/class/power_supply/AC/online", status == "Discharging\n" ? "0\n" : "1\n");
    machine.write("sys/class/power_supply/BAT0/type", "Battery\n");
    machine.write("sys/class/power_supply/BAT0/status", status);
    machine.write("sys/class/power_supply/BAT0/current_now", "1200000\n");
    machine.write("sys/class/power_supply/BAT0/voltage_now", "11500000\n");
}

} // namespace

class LiveReadingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void beforeTheFirstSampleNothingIsMeasured()
    {
        const LiveReadings readings;
        QCOMPARE(readings.cpuUsage(), 0.0);
        QVERIFY(readings.coreUsages().isEmpty());
        QVERIFY(readings.cpuHistory().isEmpty());
        verifyNoDevices(readings);
        QCOMPARE(readings.memoryUsage(), 0.0);
        QCOMPARE(readings.memoryPressure(), 0.0);
        QCOMPARE(readings.storageUsage(), 0.0);
    }

    void anOrdinaryComputer()
    {
        Machine machine({ 10, 20, 30, 40 });
        machine.write("proc/meminfo",
            "MemTotal: 16000 kB\nMemFree: 100 kB\nMemAvailable: 12000 kB\nSwapTotal: 2000 kB\nSwapFree: 1500 "
            "kB\n");
        machine.write("proc/pressure/memory", "some avg10=25.00 avg60=0.00 avg300=0.00 total=0\n");
        LiveReadings readings(machine.files.root());
        sampleTwice(machine, readings);
        QCOMPARE(readings.coreUsages(), QList<double>({ 0.1, 0.2, 0.3, 0.4 }));
        QCOMPARE(readings.performanceCoreCount(), 0);
        QCOMPARE(readings.cpuUsage(), 0.25);
        QCOMPARE(readings.cpuHistory(), QList<double>({ 0.25 }));
        QCOMPARE(readings.memoryUsage(), 0.25);
        QCOMPARE(readings.memoryPressure(), 0.25);
        QCOMPARE(readings.swapUsed(), quint64(500) * 1024);
        QVERIFY(readings.storageUsage() > 0);
        QVERIFY(readings.availableStorage() > 0);
        // There is no battery, and only the administrator may read the energy counters.
        QCOMPARE(readings.cpuWatts(), std::nullopt);
        QCOMPARE(readings.systemWatts(), std::nullopt);
    }

    void aLaptopOfFastAndSlowCores()
    {
        Machine machine({ 90, 80, 10, 20, 30, 40 });
        machine.files.writeKind("cpu_core", "0-1\n");
        machine.files.writeKind("cpu_atom", "2-5\n");
        machine.write("sys/class/powercap/intel-rapl:0/name", "package-0\n");
        machine.write("sys/class/powercap/intel-rapl:0/max_energy_range_uj", "262143328850\n");
        machine.write("sys/class/powercap/intel-rapl:0/energy_uj", "1000000\n");
        writeBattery(machine, "Discharging\n");
        LiveReadings readings(machine.files.root());
        sample(readings);
        machine.pass();
        machine.write("sys/class/powercap/intel-rapl:0/energy_uj", "2000000\n");
        QTest::qWait(50);
        sample(readings);
        QCOMPARE(readings.coreUsages(), QList<double>({ 0.1, 0.2, 0.3, 0.4, 0.9, 0.8 }));
        QCOMPARE(readings.performanceCoreCount(), 2);
        QCOMPARE(readings.systemWatts().value_or(-1), 13.8);
        // The counter rose by one joule during the wait.
        QVERIFY(readings.cpuWatts());
        QVERIFY(*readings.cpuWatts() > 0 && *readings.cpuWatts() <= 20);

        writeBattery(machine, "Charging\n");
        sampleTwice(machine, readings);
        QCOMPARE(readings.systemWatts(), std::nullopt);
    }

    void aSmallBoard()
    {
        Machine machine({ 10, 10, 10, 10, 70, 70 });
        machine.files.writeCapacities(0, 4, "446\n");
        machine.files.writeCapacities(4, 2, "1024\n");
        // The kernel is too old to measure pressure, so memory in use is shown instead.
        machine.write(
            "proc/meminfo", "MemTotal: 4000 kB\nMemFree: 500 kB\nBuffers: 100 kB\nCached: 400 kB\n");
        LiveReadings readings(machine.files.root());
        sampleTwice(machine, readings);
        QCOMPARE(readings.coreUsages(), QList<double>({ 0.1, 0.1, 0.1, 0.1, 0.7, 0.7 }));
        QCOMPARE(readings.performanceCoreCount(), 2);
        QCOMPARE(readings.memoryUsage(), 0.75);
        QCOMPARE(readings.memoryPressure(), 0.75);
        QCOMPARE(readings.swapUsed(), quint64(0));
    }

    void aMachineWithNothing()
    {
        const FileTree tree;
        LiveReadings readings(tree.root());
        for (int i = 0; i < 5; ++i)
            readings.sample(everything());
        QVERIFY(readings.coreUsages().isEmpty());
        verifyNoDevices(readings);
        QCOMPARE(readings.memoryUsage(), 0.0);
    }

    void whatIsNotWantedIsNotReadAndKeepsItsValue()
    {
        Machine machine({ 10, 20 });
        machine.write("proc/meminfo", "MemTotal: 4 kB\nMemAvailable: 1 kB\n");
        LiveReadings readings(machine.files.root());
        sampleTwice(machine, readings);
        QCOMPARE(readings.memoryUsage(), 0.75);
        machine.write("proc/meminfo", "MemTotal: 4 kB\nMemAvailable: 3 kB\n");
        Setting(Keys::cpuReadout).set(CPUReadout::usage);
        readings.sample(WantedReadings::of({ MonitorSection::cpu }));
        QCOMPARE(readings.memoryUsage(), 0.75);
        readings.sample(WantedReadings::of({ MonitorSection::cpu, MonitorSection::memory }));
        QCOMPARE(readings.memoryUsage(), 0.25);
    }

    void thisMachine()
    {
        LiveReadings readings;
        readings.sample(everything());
        QTest::qWait(150);
        readings.sample(everything());
        QCOMPARE(readings.coreUsages().size(), KernelValues().activeProcessorCount());
        QVERIFY(readings.memoryUsage() > 0);
        QTRY_VERIFY_WITH_TIMEOUT((readings.sample(everything()), readings.availableStorage() > 0), 5000);
    }

    // Whatever the files contain, shares stay between 0 and 1, and nothing crashes.
    void randomBytesInAnyFile()
    {
        Machine machine({ 10, 20, 30, 40 });
        machine.files.writeKind("cpu_core", "0-1\n");
        machine.files.writeKind("cpu_atom", "2-3\n");
        const QList<std::pair<const char*, QByteArray>> files {
            { "proc/stat", statText(coresAfter(1, { 10, 20, 30, 40 })) },
            { "proc/meminfo",
                "MemTotal: 16000 kB\nMemAvailable: 12000 kB\nSwapTotal: 2000 kB\nSwapFree: 1500 kB\n" },
            { "proc/pressure/memory", "some avg10=25.00 avg60=0.00 avg300=0.00 total=0\n" },
            { "sys/class/powercap/intel-rapl:0/name", "package-0\n" },
            { "sys/class/powercap/intel-rapl:0/max_energy_range_uj", "262143328850\n" },
            { "sys/class/powercap/intel-rapl:0/energy_uj", "123456789\n" },
            { "sys/class/power_supply/BAT0/type", "Battery\n" },
            { "sys/class/power_supply/BAT0/status", "Discharging\n" },
            { "sys/class/power_supply/BAT0/power_now", "8400000\n" },
            { "sys/devices/cpu_core/cpus", "0-1\n" },
        };
        QRandomGenerator random(20);
        for (int round = 0; round < 500; ++round) {
            const auto& [path, valid] = files[random.bounded(int(files.size()))];
            machine.write(path, spoilt(valid, random));
            // A reader pauses after a read error, so each damaged file gets a new reader.
            LiveReadings readings(machine.files.root());
            readings.sample(everything());
            machine.write(path, spoilt(valid, random));
            readings.sample(everything());
            for (const double share : readings.coreUsages() + readings.cpuHistory()
                    + QList<double> {
                        readings.cpuUsage(), readings.memoryUsage(), readings.memoryPressure() })
                QVERIFY2(share >= 0 && share <= 1, path);
            QVERIFY2(readings.performanceCoreCount() <= readings.coreUsages().size(), path);
            QVERIFY2(readings.cpuWatts().value_or(0) >= 0, path);
            QVERIFY2(
                readings.systemWatts().value_or(1) > 0 && std::isfinite(readings.systemWatts().value_or(1)),
                path);
            machine.write(path, valid);
        }
    }

private:
    static QByteArray spoilt(QByteArray content, QRandomGenerator& random)
    {
        static constexpr char digits[] = "0123456789- \n:.";
        switch (random.bounded(4)) {
        case 0:
            return content.left(random.bounded(int(content.size())));
        case 1:
            for (int i = 0; i < 5; ++i)
                content[random.bounded(int(content.size()))] = char(random.bounded(256));
            return content;
        case 2:
            for (int i = 0; i < 5; ++i)
                content.insert(
                    random.bounded(int(content.size())), digits[random.bounded(int(sizeof digits) - 1)]);
            return content;
        default:
            return content.repeated(1 + random.bounded(50));
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LiveReadingsTest)
#include "LiveReadingsTest.moc"
