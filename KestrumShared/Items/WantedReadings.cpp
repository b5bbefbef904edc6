// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/WantedReadings.h"

#include "KestrumShared/Items/SectionItem.h"

#include <functional>

namespace kestrum {
namespace {

template <class Operation>
WantedReadings combined(const WantedReadings& one, const WantedReadings& other, Operation operation)
{
    WantedReadings result;
    for (bool WantedReadings::*source :
        { &WantedReadings::cpuLoad, &WantedReadings::cpuPower, &WantedReadings::memory,
            &WantedReadings::memoryPressure, &WantedReadings::storage, &WantedReadings::systemPower })
        result.*source = operation(one.*source, other.*source);
    using Wanted = Sensors::Wanted;
    for (bool Wanted::*sensor : { &Wanted::cpu, &Wanted::gpu, &Wanted::hottest, &Wanted::fan })
        result.sensors.*sensor = operation(one.sensors.*sensor, other.sensors.*sensor);
    return result;
}

} // namespace

WantedReadings WantedReadings::of(const QList<MonitorSection>& sections, const Appearance& appearance)
{
    WantedReadings wanted;
    for (const MonitorSection section : sections) {
        const SectionItem& item = SectionItem::of(section);
        for (const ItemReadout& drawn : { item.shownByMeter, item.readout(appearance) }) {
            if (drawn.want)
                drawn.want(wanted);
        }
    }
    return wanted;
}

WantedReadings WantedReadings::ofPopover(MonitorSection section, const Appearance& appearance)
{
    WantedReadings wanted = of({ section }, appearance);
    switch (section) {
    case MonitorSection::cpu:
        wanted.cpuPower = wanted.sensors.cpu = true;
        break;
    case MonitorSection::memory:
        wanted.memoryPressure = true;
        break;
    case MonitorSection::storage:
        break;
    case MonitorSection::sensors:
        wanted.cpuPower = wanted.systemPower = true;
        break;
    }
    return wanted;
}

WantedReadings WantedReadings::operator|(const WantedReadings& other) const
{
    return combined(*this, other, std::logical_or<>());
}

WantedReadings WantedReadings::operator&(const WantedReadings& other) const
{
    return combined(*this, other, std::logical_and<>());
}

} // namespace kestrum
