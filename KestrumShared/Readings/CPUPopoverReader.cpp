// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/CPUPopoverReader.h"

#include "KestrumShared/Readings/RowDecision.h"

#include <utility>

namespace kestrum {

CPUPopoverReader::Opening::Opening(const QString& root)
    : load(root)
    , uptime(root)
    , frequency(std::make_shared<CPUFrequency>(root))
{
}

void CPUPopoverReader::update(CPUPopoverReadings& readings, const PopoverSample& sample)
{
    if (sample.occasion == PopoverSample::Occasion::opening) {
        m_opening.emplace(m_root);
        m_hertz.take(); // of an earlier opening
        readings.celsius.value.reset();
        readings.watts.value.reset();
        readings.hertz.value.reset();
    }
    if (sample.occasion != PopoverSample::Occasion::answer) {
        readings.usage = sample.live.cpuUsage();
        readings.cores = sample.live.coreUsages();
        readings.history = sample.histories.cpu.points(sample.now);
        readings.load = m_opening->load.read();
        readings.uptime = m_opening->uptime.read();
        updateTiers(readings);
        takePower(readings.watts, readings.powerAccess, sample.live, ++m_opening->powerAnswers);
    }
    if (const auto hertz = m_hertz.take()) {
        const bool isLater = std::exchange(m_opening->knowsHertz, true);
        take(readings.hertz, *hertz, isLater ? Answer::later : Answer::deciding);
    }
    if (sample.occasion != PopoverSample::Occasion::answer)
        m_hertz.begin([frequency = m_opening->frequency] { return frequency->read(); }, sample.ring);
    if (m_opening->knowsTemperature || sample.live.answered().sensors.cpu) {
        const bool isLater = std::exchange(m_opening->knowsTemperature, true);
        take(readings.celsius, sample.live.cpuTemperature(), isLater ? Answer::later : Answer::deciding);
    }
}

// Cores can go offline and come back while the popover is open.
void CPUPopoverReader::updateTiers(CPUPopoverReadings& readings)
{
    const qsizetype cores = readings.cores.size();
    if (std::exchange(m_opening->tieredCores, cores) == cores)
        return;
    readings.tiers = CoreTopology::tiers(KernelValues(m_root));
    qsizetype count = 0;
    for (const CoreTier& tier : readings.tiers)
        count += tier.count;
    if (count != cores)
        readings.tiers.clear();
}

} // namespace kestrum
