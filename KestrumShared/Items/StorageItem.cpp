// SPDX-License-Identifier: MIT
// The menu-bar item of the start-up volume.

#include "KestrumShared/Items/ItemGeometry.h"
#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

namespace {

using namespace ItemGeometry;

ItemMeter storageMeter(const Appearance&)
{
    return { gaugeWidth, tallMeterBottom, tallMeterHeight,
        [](ItemDrawing& drawing, const QRectF& frame) {
            drawing.gauge(frame, drawing.readings.storageUsage(), Keys::storageAccent);
        },
        gaugeOverhang };
}

constexpr ItemReadout storageUsage {
    enumerationCase(StorageReadout::usage).title,
    &ItemReadout::percent,
    ItemReadout::value<&MenuBarReadings::storageUsage>,
    [](WantedReadings& wanted) { wanted.storage = true; },
};

ItemReadout readoutOfStorage(const Appearance& appearance)
{
    const StorageReadout chosen = appearance.readout(Keys::storageReadout);
    switch (chosen) {
    case StorageReadout::off:
        return {};
    case StorageReadout::usage:
        return storageUsage;
    case StorageReadout::free:
        return { enumerationCase(chosen).title, &ItemReadout::bytes,
            ItemReadout::value<&MenuBarReadings::availableStorage> };
    }
    return {};
}

} // namespace

constinit const SectionItem SectionItem::storage {
    .letters = QLatin1StringView("SSD"),
    .symbol = u"internaldrive",
    .description = [] { return AppLanguage::string("SSD"); },
    // The settings use another name than `description` does.
    .name = [] { return AppLanguage::string("Disk"); },
    .meter = storageMeter,
    .readout = readoutOfStorage,
    .shownByMeter = storageUsage,
};

} // namespace kestrum
