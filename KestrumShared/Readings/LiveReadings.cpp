// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/LiveReadings.h"

namespace kestrum {

LiveReadings::LiveReadings(const QString& root)
    : m_cpuLoad(root)
    , m_cpuPower(root)
    , m_memory(root)
    , m_pressureFile(Pressure::Resource::memory, root)
    , m_slow(root)
{
}

LiveReadings::LiveReadings(const QString& root, SlowReadings::ReadSensors readSensors)
    : m_cpuLoad(root)
    , m_cpuPower(root)
    , m_memory(root)
    , m_pressureFile(Pressure::Resource::memory, root)
    , m_slow(root, ::statvfs, std::move(readSensors))
{
}

void LiveReadings::sample(const WantedReadings& wanted, std::function<void()> done)
{
    m_slow.collect();
    // The slow readings are started first, so that the worker reads them while this thread reads the others.
    m_slow.begin(wanted, std::move(done));
    if (wanted.cpuLoad)
        m_cpuLoad.sample();
    else
        m_cpuLoad.pause();
    if (wanted.cpuPower)
        m_cpuWatts = m_cpuPower.read();
    else
        m_cpuPower.pause();
    if (wanted.memory)
        m_memory.sample();
    if (wanted.memoryPressure)
        m_memoryPressure = m_pressureFile.read();
}

} // namespace kestrum
