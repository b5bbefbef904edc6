#include "KestrumShared/Items/WantedReadings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

namespace {

WantedReadings wantedBy(MonitorSection section)
{
    return WantedReadings::of({ section });
}

} // namespace

class WantedReadingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void nothingShownWantsNothing() { QCOMPARE(WantedReadings::of({}), WantedReadings()); }

    void factorySettings()
    {
        WantedReadings expected;
        expected.cpuLoad = expected.memory = expected.storage = expected.systemPower = true;
        expected.sensors.cpu = true;
        QCOMPARE(WantedReadings::of({ MonitorSection::sensors, MonitorSection::cpu, MonitorSection::storage,
                     MonitorSection::memory }),
            expected);
    }

    void eachReadoutOfTheProcessorWantsItsSource()
    {
        const auto wanted = [](CPUReadout readout) {
            Setting(Keys::cpuReadout).set(readout);
            return wantedBy(MonitorSection::cpu);
        };
        WantedReadings load;
        load.cpuLoad = true;
        QCOMPARE(wanted(CPUReadout::off), load);
        QCOMPARE(wanted(CPUReadout::usage), load);
        WantedReadings power = load;
        power.cpuPower = true;
        QCOMPARE(wanted(CPUReadout::power), power);
        WantedReadings temperature = load;
        temperature.sensors.cpu = true;
        QCOMPARE(wanted(CPUReadout::temperature), temperature);
    }

    void onlyPressureWantsMoreOfTheMemory()
    {
        WantedReadings memory;
        memory.memory = true;
        for (const MemoryReadout readout :
            { MemoryReadout::off, MemoryReadout::usage, MemoryReadout::swap }) {
            Setting(Keys::memoryReadout, readout).set(readout);
            QCOMPARE(wantedBy(MonitorSection::memory), memory);
        }
        Setting(Keys::memoryReadout, MemoryReadout::off).set(MemoryReadout::pressure);
        memory.memoryPressure = true;
        QCOMPARE(wantedBy(MonitorSection::memory), memory);
    }

    void everyReadoutOfTheStorageWantsTheVolume()
    {
        WantedReadings storage;
        storage.storage = true;
        for (const StorageReadout readout :
            { StorageReadout::off, StorageReadout::usage, StorageReadout::free }) {
            Setting(Keys::storageReadout, readout).set(readout);
            QCOMPARE(wantedBy(MonitorSection::storage), storage);
        }
    }

    void eachReadoutOfTheSensorsWantsItsSourceAlone()
    {
        const auto wanted = [](SensorsReadout readout) {
            Setting(Keys::sensorsReadout).set(readout);
            return wantedBy(MonitorSection::sensors);
        };
        QCOMPARE(wanted(SensorsReadout::off), WantedReadings());
        WantedReadings power;
        power.systemPower = true;
        QCOMPARE(wanted(SensorsReadout::power), power);
        WantedReadings hottest;
        hottest.sensors.hottest = true;
        QCOMPARE(wanted(SensorsReadout::hottest), hottest);
        WantedReadings gpu;
        gpu.sensors.gpu = true;
        QCOMPARE(wanted(SensorsReadout::gpu), gpu);
        WantedReadings fan;
        fan.sensors.fan = true;
        QCOMPARE(wanted(SensorsReadout::fan), fan);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, WantedReadingsTest)
#include "WantedReadingsTest.moc"
