// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/MemoryPopoverReader.h"

namespace kestrum {

void MemoryPopoverReader::update(MemoryPopoverReadings& readings, const PopoverSample& sample)
{
    if (sample.occasion == PopoverSample::Occasion::answer)
        return;
    readings.parts = sample.live.memoryParts();
    readings.pressure = sample.live.memoryPressure();
    if (sample.occasion == PopoverSample::Occasion::opening) {
        readings.hasCompressed = readings.parts.compressed > 0;
        readings.hasSwap = readings.parts.swapTotal > 0;
    }
    readings.app = sample.histories.app.points(sample.now);
    readings.system = sample.histories.system.points(sample.now);
    readings.compressed = sample.histories.compressed.points(sample.now);
    readings.cache = sample.histories.cache.points(sample.now);
}

} // namespace kestrum
