#include "KestrumAgent/Readings/WantedReadings.h"

#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"

namespace kestrum {

WantedReadings WantedReadings::of(const QList<MonitorSection>& sections)
{
    WantedReadings wanted;
    if (sections.contains(MonitorSection::cpu)) {
        const CPUReadout readout = Setting(Keys::cpuReadout).value();
        wanted.cpuLoad = true;
        wanted.cpuPower = readout == CPUReadout::power;
        wanted.sensors.cpu = readout == CPUReadout::temperature;
    }
    if (sections.contains(MonitorSection::memory)) {
        wanted.memory = true;
        wanted.memoryPressure = MeterSettings::memoryReadout() == MemoryReadout::pressure;
    }
    wanted.storage = sections.contains(MonitorSection::storage);
    if (sections.contains(MonitorSection::sensors)) {
        const SensorsReadout readout = Setting(Keys::sensorsReadout).value();
        wanted.systemPower = readout == SensorsReadout::power;
        wanted.sensors.hottest = readout == SensorsReadout::hottest;
        wanted.sensors.gpu = readout == SensorsReadout::gpu;
        wanted.sensors.fan = readout == SensorsReadout::fan;
    }
    return wanted;
}

} // namespace kestrum
