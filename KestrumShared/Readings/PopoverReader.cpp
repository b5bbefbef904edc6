// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/PopoverReader.h"

#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

using Occasion = PopoverSample::Occasion;

// The answers to the opening and to the first ticks after it are shown as soon as they are there.
constexpr int firstTicks = 2;

/// The column of the list of apps by which the section's list is ordered; nothing for a section without a list.
std::optional<TopApps::Column> columnOf(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return TopApps::Column::cpu;
    case MonitorSection::memory:
        return TopApps::Column::memory;
    case MonitorSection::storage:
        return TopApps::Column::disk;
    case MonitorSection::sensors:
        break;
    }
    return std::nullopt;
}

} // namespace

PopoverReader::PopoverReader(std::shared_ptr<const LiveReadings> live, const QString& root, QObject* parent)
    : PopoverReader(std::move(live), root, SensorsPopoverReader::listOf(root), ::statvfs, parent)
{
}

PopoverReader::PopoverReader(std::shared_ptr<const LiveReadings> live, const QString& root,
    SensorsPopoverReader::ReadList readList, const StorageUse::Ask& askStorage, QObject* parent)
    : QObject(parent)
    , m_live(std::move(live))
    , m_histories(root)
    , m_silence(this)
    , m_apps(root, m_bell.rope())
    , m_cpu(root)
    , m_disk(root, askStorage)
    , m_sensors(root, std::move(readList))
{
    connect(&m_bell, &Bell::rung, this, [this] { update(Occasion::answer); });
    m_silence.setSingleShot(true);
    m_silence.setTimerType(Qt::PreciseTimer);
    connect(&m_silence, &QTimer::timeout, this, [this] { update(Occasion::answer); });
}

void PopoverReader::sampled(const WantedReadings& wanted, std::chrono::milliseconds interval)
{
    m_interval = interval;
    if (m_histories.add(*m_live, wanted, m_section == MonitorSection::storage, interval))
        m_sensors.addItem(*m_live);
    ++m_ticks;
    update(Occasion::tick);
}

void PopoverReader::completed()
{
    if (m_histories.addAnswer(*m_live, m_interval))
        m_sensors.addItem(*m_live);
    update(Occasion::answer);
}

void PopoverReader::opened(MonitorSection section)
{
    closeReaders();
    m_section = section;
    m_ticks = 0;
    if (const auto column = columnOf(section))
        m_apps.open(*column);
    update(Occasion::opening);
}

void PopoverReader::closed()
{
    closeReaders();
    m_section.reset();
}

// While a popover is open, its own readings come first: the workers have one list and one set of devices at a time. Another
// section's list begins when its popover takes the place of the open one.
void PopoverReader::approached(MonitorSection section)
{
    const auto column = columnOf(section);
    if (!m_section && column)
        m_apps.approach(*column);
    if (!m_section && section == MonitorSection::sensors)
        m_sensors.approach(m_bell.rope());
}

void PopoverReader::resetHighest()
{
    m_sensors.resetHighest(m_readings.sensors);
    if (m_section == MonitorSection::sensors)
        Q_EMIT changed();
}

void PopoverReader::update(Occasion occasion)
{
    if (!m_section) {
        m_apps.collect();
        m_sensors.collect(m_readings.sensors);
        return;
    }
    const bool isAwaited = m_ticks <= firstTicks || m_interval >= SlowReadings::longInterval;
    const PopoverSample sample { occasion, *m_live, m_histories, m_interval, timeSinceBoot(),
        isAwaited ? m_bell.rope() : std::function<void()>() };
    switch (*m_section) {
    case MonitorSection::cpu:
        m_cpu.update(m_readings.cpu, sample);
        break;
    case MonitorSection::memory:
        MemoryPopoverReader::update(m_readings.memory, sample);
        break;
    case MonitorSection::storage:
        m_disk.update(m_readings.disk, sample);
        awaitSilence();
        break;
    case MonitorSection::sensors:
        m_sensors.update(m_readings.sensors, sample);
        break;
    }
    m_apps.collect();
    if (occasion == Occasion::tick)
        m_apps.tick(m_interval, sample.ring);
    if (QList<AppUse>* const list = listOf(*m_section))
        *list = m_apps.rows();
    if (occasion != Occasion::opening)
        Q_EMIT changed();
}

void PopoverReader::awaitSilence()
{
    using std::chrono::milliseconds;
    const auto time = m_disk.nextSilence();
    if (time)
        m_silence.start(
            std::max(std::chrono::ceil<milliseconds>(*time - Volumes::Clock::now()), milliseconds::zero()));
    else
        m_silence.stop();
}

void PopoverReader::closeReaders()
{
    m_silence.stop();
    m_apps.close();
    m_cpu.close();
    m_disk.close();
    m_sensors.close();
}

QList<AppUse>* PopoverReader::listOf(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return &m_readings.cpu.apps;
    case MonitorSection::memory:
        return &m_readings.memory.apps;
    case MonitorSection::storage:
        return &m_readings.disk.apps;
    case MonitorSection::sensors:
        break;
    }
    return nullptr;
}

} // namespace kestrum
