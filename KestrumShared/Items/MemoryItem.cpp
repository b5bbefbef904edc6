// SPDX-License-Identifier: MIT
// The menu-bar item of the memory.

#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

namespace {

using namespace ItemGeometry;

// The meter shows the share of memory in use, no matter which readout is chosen.
ItemMeter memoryMeter(const Appearance&)
{
    return { gaugeWidth, tallMeterBottom, tallMeterHeight,
        [](ItemDrawing& drawing, const QRectF& frame) {
            drawing.gauge(frame, drawing.readings.memoryUsage(), Keys::memoryAccent);
        },
        gaugeOverhang };
}

constexpr ItemReadout memoryUsage {
    enumerationCase(MemoryReadout::usage).title,
    &ItemReadout::percent,
    ItemReadout::value<&MenuBarReadings::memoryUsage>,
    [](WantedReadings& wanted) { wanted.memory = true; },
};

ItemReadout readoutOfMemory(const Appearance& appearance)
{
    const MemoryReadout chosen = appearance.readout(Keys::memoryReadout);
    const char* title = enumerationCase(chosen).title;
    switch (chosen) {
    case MemoryReadout::off:
        return {};
    case MemoryReadout::usage:
        return memoryUsage;
    case MemoryReadout::pressure:
        return { title, &ItemReadout::percent, ItemReadout::value<&MenuBarReadings::memoryPressure>,
            [](WantedReadings& wanted) { wanted.memoryPressure = true; } };
    case MemoryReadout::swap:
        return { title, &ItemReadout::bytes, ItemReadout::value<&MenuBarReadings::swapUsed> };
    }
    return {};
}

} // namespace

constinit const SectionItem SectionItem::memory {
    .letters = QLatin1StringView("RAM"),
    .symbol = u"memorychip",
    .description = [] { return AppLanguage::string("Memory"); },
    .name = [] { return AppLanguage::string("Memory"); },
    .meter = memoryMeter,
    .readout = readoutOfMemory,
    .shownByMeter = memoryUsage,
};

} // namespace kestrum
