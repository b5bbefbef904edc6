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
    if (sample.occasion == PopoverSample::Occasion::opening) {
        m_opening.emplace();
        m_opening->battery = std::make_shared<Battery>(m_root);
        m_background.take(); // of an earlier opening
        forgetDevices(readings);
        readings.cpuWatts.value.reset();
        readings.wholeWatts.value.reset();
    }
    if (const auto devices = m_background.take())
        adopt(readings, *devices, sample);
    else if (m_background.isBusy() && Clock::now() - m_begin > m_longestAnswer)
        forgetDevices(readings);
    if (sample.occasion != PopoverSample::Occasion::answer) {
        begin(sample);
        takePower(readings.cpuWatts, readings.cpuPowerAccess, live, ++m_opening->powerAnswers);
    }

    const WantedReadings& answered = live.answered();
    if (m_opening->knowsWholePower || answered.systemPower) {
        const bool isLater = std::exchange(m_opening->knowsWholePower, true);
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

void SensorsPopoverReader::begin(const PopoverSample& sample)
{
    const bool isBegun = m_background.begin(
        [readList = m_readList, isNew = !m_opening->isListRead, battery = m_opening->battery] {
            Devices devices;
            devices.battery = battery->read();
            if (readList)
                devices.list = readList(isNew);
            return devices;
        },
        sample.ring);
    if (!isBegun)
        return;
    m_opening->isListRead = true;
    m_begin = Clock::now();
}

void SensorsPopoverReader::adopt(
    SensorsPopoverReadings& readings, const Devices& devices, const PopoverSample& sample)
{
    if (!std::exchange(m_opening->knowsBattery, true))
        readings.hasBattery = devices.battery.has_value();
    readings.battery = devices.battery;
    if (!devices.list)
        return;
    const bool isLater = std::exchange(m_opening->knowsDevices, true);
    readings.devices = devices.list->devices.first(std::min(mostDevices, devices.list->devices.size()));
    readings.moreDevices = int(devices.list->devices.size() - readings.devices.size());
    readings.fans = devices.list->fans;
    m_opening->hottest = highestCelsius(devices.list->devices);
    m_opening->gpu = highestCelsius(devices.list->devices, SensorDevice::Kind::gpu);
    take(readings.gpuWatts, devices.list->gpuWatts, isLater ? Answer::later : Answer::deciding);
    addHighest(readings);
    // What an item reads is in the history already.
    const Sensors::Wanted& answered = sample.live.answered().sensors;
    const auto addTo = [&](History& history, bool isRead, SensorDevice::Kind kind) {
        const auto celsius = newCelsius(devices.list->devices, kind);
        if (!isRead && celsius)
            history.add(*celsius, sample.interval, sample.now);
    };
    addTo(sample.histories.cpuTemperature, answered.cpu, SensorDevice::Kind::cpu);
    addTo(sample.histories.gpuTemperature, answered.gpu, SensorDevice::Kind::gpu);
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
