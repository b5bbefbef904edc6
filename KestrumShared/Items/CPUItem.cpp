// SPDX-License-Identifier: MIT
// The menu-bar item of the CPU.

#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Machine/CoreTopology.h"

#include <algorithm>

namespace kestrum {

namespace {

using namespace ItemGeometry;

// The frame's corners are concentric with the corners of the outermost bars. A bar's corner radius is half its width.
void strokeTallFrame(ItemDrawing& drawing, const QRectF& frame)
{
    drawing.strokeFrame(frame, 1.5, std::min(frame.height() / 2, barInset + barWidth / 2));
}

// Draws only the bars that fit, because the readings may have more cores than the frame has room for.
void drawBars(ItemDrawing& drawing, const QRectF& frame)
{
    strokeTallFrame(drawing, frame);
    const QList<double> usages = drawing.readings.coreUsages();
    const qsizetype firstFast = usages.size() - drawing.readings.performanceCoreCount();
    const QColor base = drawing.appearance.accent(Keys::cpuAccent);
    const QColor fast = drawing.appearance.accent(Keys::cpuFastCoreAccent);
    for (qsizetype i = 0; i < usages.size(); ++i) {
        const QRectF bar(frame.left() + barInset + double(i) * (barWidth + barGap), frame.top() + barInset,
            barWidth, std::max(leastBarHeight, usages[i] * fullBarHeight));
        if (bar.right() > frame.right() - barInset + 0.01)
            break;
        drawing.fill(bar, i >= firstFast ? fast : base);
    }
}

void drawWave(ItemDrawing& drawing, const QRectF& frame)
{
    strokeTallFrame(drawing, frame);
    const QList<double> history = drawing.readings.cpuHistory();
    if (history.size() < 2)
        return;
    const QRectF inner = frame.adjusted(waveInset, waveInset, -waveInset, -waveInset);
    const double step = inner.width() / double(history.size() - 1);
    QPolygonF line;
    line.reserve(history.size());
    for (qsizetype i = 0; i < history.size(); ++i) {
        const double load = history[i] > 0 ? std::min(history[i], 1.0) : 0;
        line.append(QPointF(inner.left() + double(i) * step, inner.top() + load * inner.height()));
    }
    QColor colour = drawing.appearance.accent(Keys::cpuAccent);
    colour.setAlphaF(0.85F);
    drawing.canvas.fillBelow(line, inner.top(), colour);
}

void drawCompact(ItemDrawing& drawing, const QRectF& frame)
{
    drawing.strokeFrame(frame, 1.5, frame.height() / 2);
    const double fullWidth = frame.width() - 2 * compactInset;
    drawing.fill(
        QRectF(frame.left() + compactInset, frame.top() + compactInset,
            std::max(leastFill, fullWidth * drawing.readings.cpuUsage()), frame.height() - 2 * compactInset),
        drawing.appearance.accent(Keys::cpuAccent));
}

ItemMeter cpuMeter(const Appearance& appearance)
{
    switch (appearance.value(Keys::meterStyle)) {
    case MeterStyle::bars:
        return { barsMeterWidth(CoreTopology::totalCores()), tallMeterBottom, tallMeterHeight, drawBars };
    case MeterStyle::wave:
        return { fixedMeterWidth, tallMeterBottom, tallMeterHeight, drawWave };
    case MeterStyle::compact:
        return { fixedMeterWidth, compactMeterBottom, compactMeterHeight, drawCompact };
    }
    return {};
}

constexpr ItemReadout cpuUsage {
    enumerationCase(CPUReadout::usage).title,
    &ItemReadout::percent,
    ItemReadout::value<&MenuBarReadings::cpuUsage>,
    [](WantedReadings& wanted) { wanted.cpuLoad = true; },
};

ItemReadout readoutOfCPU(const Appearance& appearance)
{
    const CPUReadout chosen = appearance.value(Keys::cpuReadout);
    const char* title = enumerationCase(chosen).title;
    switch (chosen) {
    case CPUReadout::off:
        return {};
    case CPUReadout::usage:
        return cpuUsage;
    case CPUReadout::temperature:
        return { title, &ItemReadout::degrees, ItemReadout::value<&MenuBarReadings::cpuTemperature>,
            [](WantedReadings& wanted) { wanted.sensors.cpu = true; } };
    case CPUReadout::power:
        return { title, &ItemReadout::watts, ItemReadout::value<&MenuBarReadings::cpuWatts>,
            [](WantedReadings& wanted) { wanted.cpuPower = true; } };
    }
    return {};
}

} // namespace

constinit const SectionItem SectionItem::cpu {
    .letters = QLatin1StringView("CPU"),
    .symbol = u"cpu",
    .description = [] { return AppLanguage::string("CPU"); },
    .name = [] { return AppLanguage::string("CPU"); },
    .meter = cpuMeter,
    .readout = readoutOfCPU,
    .shownByMeter = cpuUsage,
};

} // namespace kestrum
