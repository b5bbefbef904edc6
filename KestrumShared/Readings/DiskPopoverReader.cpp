// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/DiskPopoverReader.h"

#include "KestrumShared/Readings/RowDecision.h"

namespace kestrum {

void DiskPopoverReader::update(DiskPopoverReadings& readings, const PopoverSample& sample)
{
    using Occasion = PopoverSample::Occasion;
    const bool isOpening = sample.occasion == Occasion::opening;
    if (isOpening) {
        close(); // it may be open already
        m_volumes.begin();
        m_pressure.emplace(Pressure::Resource::io, m_root);
        readings.pressure = {};
        readings.readRate.value.reset();
        readings.writeRate.value.reset();
    }
    if (sample.occasion == Occasion::answer)
        m_volumes.collect();
    else
        m_volumes.sample(sample.ring);
    readings.used = sample.live.storageUsage();
    readings.volumes = m_volumes.volumes();
    readings.moreVolumes = m_volumes.more();
    if (sample.occasion == Occasion::answer)
        return;

    take(readings.pressure, m_pressure->read(), isOpening ? Answer::deciding : Answer::later);
    // An agent that has just started may not have looked at the disks at all: that is no answer yet.
    const Answer which = sample.histories.areDiskRatesBegun() ? answerOfTwo(++m_rateAnswers) : Answer::first;
    const auto& rates = sample.histories.diskRates();
    take(readings.readRate, rates ? std::optional(rates->read) : std::nullopt, which);
    take(readings.writeRate, rates ? std::optional(rates->write) : std::nullopt, which);
    readings.readHistory = sample.histories.diskRead.points(sample.now);
    readings.writeHistory = sample.histories.diskWritten.points(sample.now);
}

void DiskPopoverReader::close()
{
    m_volumes.end();
    m_pressure.reset();
    m_rateAnswers = 0;
}

} // namespace kestrum
