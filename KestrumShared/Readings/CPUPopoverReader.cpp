// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/CPUPopoverReader.h"

#include "Platform/Machine/KernelFile.h"

#include <string_view>
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
    const bool isOpening = sample.occasion == PopoverSample::Occasion::opening;
    if (isOpening) {
        m_opening.emplace(m_root);
        m_hertz.take(); // of an earlier opening
        expect(readings.celsius, m_knowsTemperature);
        readings.hertz = {};
        readings.hertz.hasRow = m_expectedHertz.open() && m_opening->frequency->isReported();
        readings.load.value.reset();
        readings.uptime.value.reset();
    }
    if (sample.occasion != PopoverSample::Occasion::answer) {
        // A load is measured between two samples.
        readings.usage = sample.live.hasCPULoad() ? std::optional(sample.live.cpuUsage()) : std::nullopt;
        readings.cores = sample.live.coreUsages();
        readings.coreNumbers = sample.live.coreNumbers();
        readings.history = sample.histories.cpu.points(sample.now);
        const Answer answer = isOpening ? Answer::deciding : Answer::later;
        take(readings.load, m_opening->load.read(), answer);
        take(readings.uptime, m_opening->uptime.read(), answer);
        updateTiers(readings, isOpening);
        takePower(readings.watts, readings.powerAccess, m_expectedWatts, sample.live, isOpening);
    }
    if (const auto hertz = m_hertz.take()) {
        const bool isFirst = m_expectedHertz.add(hertz->has_value()) == 1;
        take(readings.hertz, *hertz, isFirst ? Answer::deciding : Answer::later);
    }
    if (sample.occasion != PopoverSample::Occasion::answer)
        m_hertz.begin([frequency = m_opening->frequency] { return frequency->read(); }, sample.ring);
    if (m_knowsTemperature || sample.live.answered().sensors.cpu) {
        const bool isLater = std::exchange(m_knowsTemperature, true);
        take(readings.celsius, sample.live.cpuTemperature(), isLater ? Answer::later : Answer::deciding);
    }
}

// Cores can go offline and come back while the popover is open. To find the tiers, a file of each core is read several times, so
// they are found only for other cores than before.
void CPUPopoverReader::updateTiers(CPUPopoverReadings& readings, bool isOpening)
{
    const qsizetype cores = readings.cores.size();
    const bool isSameCount = std::exchange(m_tieredCount, cores) == cores;
    if (isSameCount && !isOpening)
        return;
    KernelFile file(m_root + QStringLiteral("/sys/devices/system/cpu/online"));
    const std::string_view text = file.readWord();
    const QByteArray online(text.data(), qsizetype(text.size()));
    if (std::exchange(m_tieredCores, online) == online && isSameCount)
        return;
    readings.tiers = CoreTopology::tiers(KernelValues(m_root));
    qsizetype count = 0;
    for (const CoreTier& tier : readings.tiers)
        count += tier.count;
    if (count != cores)
        readings.tiers.clear();
}

} // namespace kestrum
