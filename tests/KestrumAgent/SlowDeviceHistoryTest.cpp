#include "tests/Support/FreshSettings.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class SlowDeviceHistoryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }

    // It is read at every tenth tick, after two readings that showed how slow it is.
    void aSlowDeviceHasALineWithoutGaps()
    {
        using Occasion = PopoverSample::Occasion;
        const FakeMachine machine(1);
        const LiveReadings live(machine.root());
        const StandInDevices devices;
        SensorsPopoverReader reader(machine.root(), devices.readList());
        ItemHistories histories(machine.root());
        SensorsPopoverReadings readings;
        const auto answers = std::make_shared<std::atomic<int>>(0);
        std::chrono::nanoseconds now = std::chrono::hours(1);
        for (int tick = 0; tick <= 32; ++tick) {
            const bool isOld = tick > 1 && tick % SlowDevice::slowInterval != 1;
            SensorList::Values values;
            values.devices
                = { { QStringLiteral("slow"), SensorDevice::Kind::cpu, 0, {}, 48.0, false, {}, isOld },
                      { QStringLiteral("quick"), SensorDevice::Kind::gpu, 0, {}, 41.0, false, {} } };
            devices.setList(values);
            now += std::chrono::seconds(1);
            reader.update(readings,
                { tick == 0 ? Occasion::opening : Occasion::tick, live, histories, std::chrono::seconds(1),
                    now, [answers] { ++*answers; } });
            QTRY_VERIFY_WITH_TIMEOUT(*answers > tick, 5000);
        }
        QVERIFY(readings.cpuHistory.size() >= 3);
        QVERIFY(readings.gpuHistory.size() > 3 * readings.cpuHistory.size());
        for (const HistoryPoint& point : readings.cpuHistory)
            QVERIFY(!point.followsGap);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SlowDeviceHistoryTest)
#include "SlowDeviceHistoryTest.moc"
