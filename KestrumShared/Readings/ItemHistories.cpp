// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/ItemHistories.h"

#include <algorithm>
#include <utility>

namespace kestrum {

ItemHistories::ItemHistories(const QString& root)
    : m_disk(root)
{
}

bool ItemHistories::add(const LiveReadings& readings, const WantedReadings& wanted, bool areDisksSeen,
    std::chrono::nanoseconds interval, std::chrono::nanoseconds now)
{
    // A load is measured between two samples. Before the second one, there is none.
    if (wanted.cpuLoad && readings.hasCPULoad())
        cpu.add(readings.cpuUsage(), interval, now);
    const MemoryParts& memory = readings.memoryParts();
    if (wanted.memory && memory.total > 0) {
        const auto share = [&memory](quint64 part) { return double(part) / double(memory.total); };
        app.add(share(memory.app), interval, now);
        system.add(share(memory.system), interval, now);
        compressed.add(share(memory.compressed), interval, now);
        cache.add(share(memory.cache), interval, now);
    }
    // Ticks come a little early or late.
    const bool isDue = areDisksSeen || !m_diskTime || now - *m_diskTime >= History::bucketTime - interval / 2;
    if (!wanted.storage)
        pause();
    else if (isDue)
        addRates(
            areDisksSeen ? interval : std::max<std::chrono::nanoseconds>(interval, History::bucketTime), now);
    return addAnswer(readings, interval, now);
}

void ItemHistories::addRates(std::chrono::nanoseconds interval, std::chrono::nanoseconds now)
{
    m_looksAtDisks = true;
    m_diskTime = now;
    m_diskRates = m_disk.sample();
    if (!m_diskRates)
        return;
    diskRead.add(m_diskRates->read, interval, now);
    diskWritten.add(m_diskRates->write, interval, now);
}

void ItemHistories::pause()
{
    m_diskTime.reset();
    m_looksAtDisks = false;
    m_disk.pause();
    m_diskRates.reset();
}

bool ItemHistories::addAnswer(
    const LiveReadings& readings, std::chrono::nanoseconds interval, std::chrono::nanoseconds now)
{
    if (std::exchange(m_answers, readings.answers()) == readings.answers())
        return false;
    const auto addTo = [&](History& history, bool isAnswered, const std::optional<double>& celsius) {
        if (isAnswered && celsius)
            history.add(*celsius, interval, now);
    };
    addTo(cpuTemperature, readings.answered().sensors.cpu, readings.cpuTemperature());
    addTo(gpuTemperature, readings.answered().sensors.gpu, readings.gpuTemperature());
    return true;
}

} // namespace kestrum
