// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarPage.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/AccentRow.h"
#include "Kestrum/MenuBar/ItemHeader.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/Units.h"
#include "Platform/Machine/CoreTopology.h"

namespace kestrum {

namespace {

Row* accentRow(const QString& item, const UnregisteredKey<MeterAccent>& key)
{
    return new AccentRow(AppLanguage::string("Colour"), item, key);
}

void addCPURows(Card& card, const QString& item)
{
    // All items share one meter style, which is edited only here.
    card.add(Form::segmented<MeterStyle>("Meter", Setting { Keys::meterStyle }));
    card.add(Form::picker<CPUReadout>("Readout", Setting { Keys::cpuReadout }));
    card.add(accentRow(item, Keys::cpuAccent));
    // If there are slower cores too, the bars of the fast cores have a colour of their own.
    const QList<CoreTier>& tiers = CoreTopology::tiers();
    if (tiers.size() >= 2) {
        const QString title = AppLanguage::string("%@ cores", { AppLanguage::string(tiers.first().name) });
        card.add(new AccentRow(title, title, Keys::cpuFastCoreAccent));
    }
}

void addMemoryRows(Card& card, const QString& item)
{
    card.add(Form::picker<MemoryReadout>("Readout",
        { Setting { Keys::memoryReadout, MemoryReadout::usage }, MeterSettings::memoryReadout,
            Keys::names(Keys::showMemoryPercent) }));
    card.add(accentRow(item, Keys::memoryAccent));
}

void addStorageRows(Card& card, const QString& item)
{
    card.add(Form::picker<StorageReadout>("Readout",
        { Setting { Keys::storageReadout, StorageReadout::usage }, MeterSettings::storageReadout,
            Keys::names(Keys::showMemoryPercent) }));
    card.add(accentRow(item, Keys::storageAccent));
}

void addSensorsRows(Card& card, const QString&)
{
    card.add(Form::picker<SensorsReadout>("Readout", Setting { Keys::sensorsReadout }));
    Setting { Keys::temperatureUnit }.follow(&card, [&card](Units::TemperatureChoice) {
        card.setFootnote(AppLanguage::string("The readout turns amber at %@ and red at %@.",
            { Units::temperature(HeatColour::amberFrom, 0), Units::temperature(HeatColour::redFrom, 0) }));
    });
}

/// The page's section for each item, in the order of the page.
struct ItemSection {
    MonitorSection section;
    void (*addRows)(Card& card, const QString& item); ///< `item`: the section's name
};

constexpr ItemSection itemSections[] = {
    { MonitorSection::cpu, addCPURows },
    { MonitorSection::memory, addMemoryRows },
    { MonitorSection::storage, addStorageRows },
    { MonitorSection::sensors, addSensorsRows },
};
static_assert(std::size(itemSections) == std::size(allCases<MonitorSection>()), "an item lacks its section");

Card* makeCard(const ItemSection& item)
{
    const QString name = SectionItem::of(item.section).name();
    auto* card = new Card;
    card->setHeader(new ItemHeader(item.section, name));
    card->add(Form::toggle("Show in menu bar", Setting { MeterSettings::visibilityKey(item.section) }));
    item.addRows(*card, name);
    return card;
}

} // namespace

MenuBarPage::MenuBarPage(QWidget* parent)
    : FormPage(parent)
    , m_preview(new MenuBarPreview)
{
    auto* preview = new Card(Card::Ground::none);
    preview->add(m_preview);
    add(preview);
    add(new Card("All Items",
        { Form::segmented<MeterShape>("Bar shape", Setting { Keys::meterShape }),
            Form::segmented<MeterLabelStyle>("Item labels", Setting { Keys::meterLabelStyle }) }));
    for (const ItemSection& item : itemSections)
        add(makeCard(item));
}

} // namespace kestrum
