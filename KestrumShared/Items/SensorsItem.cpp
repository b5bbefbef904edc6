// SPDX-License-Identifier: MIT
// The menu-bar item of the sensors.

#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

namespace {

// The item has no real meter. If the label consists of letters, the section's symbol is drawn in place of the meter.
ItemMeter sensorsMeter(const Appearance& appearance)
{
    if (!appearance.hasLetters)
        return {};
    const QSizeF size = StatusMetricView::iconSize(MonitorSection::sensors);
    return { size.width(), StatusMetricView::height / 2 - size.height() / 2, size.height(),
        [](ItemDrawing& drawing, const QRectF& frame) {
            drawing.symbol(MonitorSection::sensors, frame.topLeft());
        } };
}

ItemReadout readoutOfSensors(const Appearance& appearance)
{
    const SensorsReadout chosen = appearance.value(Keys::sensorsReadout);
    const char* title = enumerationCase(chosen).title;
    switch (chosen) {
    case SensorsReadout::off:
        return {};
    case SensorsReadout::power:
        return { title, &ItemReadout::watts, ItemReadout::value<&MenuBarReadings::systemWatts>,
            [](WantedReadings& wanted) { wanted.systemPower = true; } };
    case SensorsReadout::hottest:
        return { title, &ItemReadout::degrees, ItemReadout::value<&MenuBarReadings::hottestCelsius>,
            [](WantedReadings& wanted) { wanted.sensors.hottest = true; }, true };
    case SensorsReadout::gpu:
        return { title, &ItemReadout::degrees, ItemReadout::value<&MenuBarReadings::gpuTemperature>,
            [](WantedReadings& wanted) { wanted.sensors.gpu = true; }, true };
    case SensorsReadout::fan:
        return { title, &ItemReadout::revolutions, ItemReadout::value<&MenuBarReadings::fastestFanRPM>,
            [](WantedReadings& wanted) { wanted.sensors.fan = true; } };
    }
    return {};
}

} // namespace

constinit const SectionItem SectionItem::sensors {
    .letters = QLatin1StringView("SEN"),
    .symbol = u"sensor",
    .description = [] { return AppLanguage::string("Sensors"); },
    .name = [] { return AppLanguage::string("Sensors"); },
    .meter = sensorsMeter,
    .readout = readoutOfSensors,
    .shownByMeter = {},
};

} // namespace kestrum
