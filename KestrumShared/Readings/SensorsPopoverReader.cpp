// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/SensorsPopoverReader.h"

#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

// The temperature that the CPU's item shows. It belongs to the processor's device, which is known only to open popovers.
const QString cpuItem = QStringLiteral("item");

std::optional<double> highestCelsius(
    const QList<SensorDevice>& devices, std::optional<SensorDevice::Kind> kind = {})
{
    std::optional<double> highest;
    for (const SensorDevice& device : devices) {
        if (device.celsius && device.kind == kind.value_or(device.kind))
            highest = std::max(highest.value_or(*device.celsius), *device.celsius);
    }
    return highest;
}

/// What the devices of `kind` measured just now, without those that answer slowly and were not read.
std::optional<double> newCelsius(QList<SensorDevice> devices, SensorDevice::Kind kind)
{
    devices.removeIf([](const SensorDevice& device) { return device.isOld; });
    return highestCelsius(devices, kind);
}

bool isAnyOld(const QList<SensorDevice>& devices, SensorDevice::Kind kind)
{
    return std::any_of(devices.begin(), devices.end(),
        [kind](const SensorDevice& device) { return device.kind == kind && device.isOld; });
}

std::optional<double> fastest(const QList<FanSpeed>& fans)
{
    std::optional<double> highest;
    for (const FanSpeed& fan : fans) {
        if (fan.rpm)
            highest = std::max(highest.value_or(*fan.rpm), *fan.rpm);
    }
    return highest;
}

} // namespace

SensorsPopoverReader::ReadList SensorsPopoverReader::listOf(const QString& root)
{
    if (!root.isEmpty())
        return {};
    return [list = std::make_shared<SensorList>()](bool isNewOpening) {
        if (isNewOpening)
            list->beginOpening();
        return list->read();
    };
}

SensorsPopoverReader::SensorsPopoverReader(
    const QString& root, ReadList readList, std::chrono::milliseconds longestAnswer)
    : m_root(root)
    , m_readList(std::move(readList))
    , m_longestAnswer(longestAnswer)
{
}

void SensorsPopoverReader::update(SensorsPopoverReadings& readings, const PopoverSample& sample)
{
    const LiveReadings& live = sample.live;
    const bool isOpening = sample.occasion == PopoverSample::Occasion::opening;
    if (isOpening) {
        collect(readings); // what was read before
        m_opening.emplace(std::make_shared<Battery>(m_root));
        if (std::exchange(m_knowsBattery, false))
            readings.hasBattery = readings.battery.has_value();
        expect(readings.gpuWatts, m_knowsGPUPower);
        expect(readings.wholeWatts, m_knowsWholePower);
        forgetDevices(readings);
    }
    if (const auto devices = m_background.take())
        adopt(readings, *devices, sample);
    else if (m_background.isBusy() && Clock::now() - m_begin > m_longestAnswer)
        forgetDevices(readings);
    if (sample.occasion != PopoverSample::Occasion::answer) {
        if (begin(!m_opening->isListRead, m_opening->battery, sample.ring))
            m_opening->isListRead = true;
        takePower(readings.cpuWatts, readings.cpuPowerAccess, m_expectedWatts, live, isOpening);
    }

    const WantedReadings& answered = live.answered();
    if (m_knowsWholePower || answered.systemPower) {
        const bool isLater = std::exchange(m_knowsWholePower, true);
        take(readings.wholeWatts, live.systemWatts(), isLater ? Answer::later : Answer::deciding);
    }
    readings.systemWatts = answered.systemPower ? live.systemWatts() : std::nullopt;
    readings.hottest = answered.sensors.hottest ? live.hottestCelsius() : m_opening->hottest;
    readings.gpu = answered.sensors.gpu ? live.gpuTemperature() : m_opening->gpu;
    readings.fastestFan = answered.sensors.fan ? live.fastestFanRPM() : fastest(readings.fans);
    readings.cpuHistory = sample.histories.cpuTemperature.points(sample.now);
    readings.gpuHistory = sample.histories.gpuTemperature.points(sample.now);
    showHighest(readings);
}

void SensorsPopoverReader::approach(const std::function<void()>& ring)
{
    if (!m_opening && !m_knowsRows)
        begin(true, std::make_shared<Battery>(m_root), ring);
}

void SensorsPopoverReader::collect(SensorsPopoverReadings& readings)
{
    if (const auto devices = m_background.take())
        adoptRows(readings, *devices);
}

void SensorsPopoverReader::addItem(const LiveReadings& live)
{
    if (live.answered().sensors.cpu)
        m_highest.add(cpuItem, live.cpuTemperature());
}

void SensorsPopoverReader::resetHighest(SensorsPopoverReadings& readings)
{
    m_highest.reset();
    addHighest(readings);
    showHighest(readings);
}

void SensorsPopoverReader::addHighest(const SensorsPopoverReadings& readings)
{
    for (const SensorDevice& device : readings.devices)
        m_highest.add(device.id, device.celsius);
    for (const FanSpeed& fan : readings.fans)
        m_highest.add(fan.id, fan.rpm);
}

// The rows stay: until the worker answers, they are those of the last opening.
void SensorsPopoverReader::forgetDevices(SensorsPopoverReadings& readings)
{
    for (SensorDevice& device : readings.devices) {
        device.celsius.reset();
        for (SensorInput& input : device.inputs)
            input.celsius.reset();
    }
    for (FanSpeed& fan : readings.fans)
        fan.rpm.reset();
    readings.battery.reset();
    readings.gpuWatts.value.reset();
    m_opening->hottest.reset();
    m_opening->gpu.reset();
}

bool SensorsPopoverReader::begin(
    bool isNewOpening, std::shared_ptr<Battery> battery, std::function<void()> ring)
{
    const bool isBegun = m_background.begin(
        [readList = m_readList, isNewOpening, battery = std::move(battery)] {
            Devices devices;
            devices.battery = battery->read();
            if (readList)
                devices.list = readList(isNewOpening);
            return devices;
        },
        std::move(ring));
    if (isBegun)
        m_begin = Clock::now();
    return isBegun;
}

void SensorsPopoverReader::showDevices(SensorsPopoverReadings& readings, const SensorList::Values& list)
{
    m_knowsRows = true;
    readings.devices = list.devices.first(std::min(mostDevices, list.devices.size()));
    readings.moreDevices = int(list.devices.size() - readings.devices.size());
    readings.fans = list.fans;
}

// Only the rows count: when the popover is opened, its values are those of that moment.
void SensorsPopoverReader::adoptRows(SensorsPopoverReadings& readings, const Devices& devices)
{
    readings.isAnswered = true;
    readings.hasBattery = devices.battery.has_value();
    if (!devices.list)
        return;
    showDevices(readings, *devices.list);
    readings.gpuWatts.hasRow = devices.list->gpuWatts.has_value();
    readings.gpuWatts.value = devices.list->gpuWatts;
}

void SensorsPopoverReader::adopt(
    SensorsPopoverReadings& readings, const Devices& devices, const PopoverSample& sample)
{
    readings.isAnswered = true; // also where no device can be read
    if (!std::exchange(m_knowsBattery, true))
        readings.hasBattery = readings.hasBattery || devices.battery;
    readings.battery = devices.battery;
    if (!devices.list)
        return;
    showDevices(readings, *devices.list);
    m_opening->hottest = highestCelsius(devices.list->devices);
    m_opening->gpu = highestCelsius(devices.list->devices, SensorDevice::Kind::gpu);
    const bool isLater = std::exchange(m_knowsGPUPower, true);
    take(readings.gpuWatts, devices.list->gpuWatts, isLater ? Answer::later : Answer::deciding);
    addHighest(readings);
    // What an item reads is in the history already.
    const Sensors::Wanted& answered = sample.live.answered().sensors;
    const auto addTo = [&](History& history, bool isRead, SensorDevice::Kind kind, bool& wasOld) {
        const auto celsius = newCelsius(devices.list->devices, kind);
        // Between two readings of a device that answers slowly, there is no gap.
        const int ticks
            = std::exchange(wasOld, isAnyOld(devices.list->devices, kind)) ? SlowDevice::slowInterval : 1;
        if (!isRead && celsius)
            history.add(*celsius, ticks * sample.interval, sample.now);
    };
    addTo(sample.histories.cpuTemperature, answered.cpu, SensorDevice::Kind::cpu, m_opening->wasCPUOld);
    addTo(sample.histories.gpuTemperature, answered.gpu, SensorDevice::Kind::gpu, m_opening->wasGPUOld);
}

void SensorsPopoverReader::showHighest(SensorsPopoverReadings& readings) const
{
    readings.highest = m_highest.values();
    readings.highestSince = m_highest.since().value_or(HighestValues::Clock::time_point());
    // With several processors, it is not known which one the item shows.
    const auto isCPU = [](const SensorDevice& device) { return device.kind == SensorDevice::Kind::cpu; };
    const auto found = std::find_if(readings.devices.begin(), readings.devices.end(), isCPU);
    if (const auto item = m_highest.values().find(cpuItem); item != m_highest.values().end()) {
        readings.highest.remove(cpuItem);
        if (std::count_if(readings.devices.begin(), readings.devices.end(), isCPU) == 1)
            readings.highest[found->id] = std::max(readings.highest.value(found->id, *item), *item);
    }
}

} // namespace kestrum
