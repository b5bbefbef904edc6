// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QJsonObject>
#include <QList>
#include <QStringView>
#include <functional>

namespace kestrum {

/// Settings that depend on more than one key. Functions without a snapshot as argument read the shared store.
namespace MeterSettings {

/// The order in which the function `order` adds missing sections. The order in a new store is another one: the factory
/// default of `Keys::menuBarOrder`.
inline constexpr MonitorSection defaultMenuBarOrder[]
    = { MonitorSection::sensors, MonitorSection::storage, MonitorSection::memory, MonitorSection::cpu };
static_assert(std::size(defaultMenuBarOrder) == std::size(Enumeration<MonitorSection>::cases));

/// The sections whose names are in `text`, separated by ",", followed by the missing sections. Unknown and repeated names
/// are skipped. The result contains each section exactly once.
QList<MonitorSection> order(QStringView text);

/// The stored order; missing sections are added as by `order`.
QList<MonitorSection> storedOrder(const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// Replaces the shown sections in `stored`, one after the other, by the sections in `visible`. Hidden sections keep their
/// places. `visible` must contain shown sections only.
QList<MonitorSection> merged(const QList<MonitorSection>& visible, const QList<MonitorSection>& stored,
    const std::function<bool(MonitorSection)>& isShown);

/// Stores a new order of the visible sections; hidden sections keep their places, see `merged`. False when the save failed.
bool setMenuBarOrder(const QList<MonitorSection>& visible);

/// The key that shows or hides a section's item.
constexpr const Key<bool>& visibilityKey(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return Keys::showCPUItem;
    case MonitorSection::memory:
        return Keys::showMemoryItem;
    case MonitorSection::storage:
        return Keys::showStorageItem;
    case MonitorSection::sensors:
        return Keys::showSensorsItem;
    }
    return Keys::showCPUItem; // for a number that is not an enumerator
}

/// Whether a section's item is shown: true unless the stored value is false.
bool isShown(MonitorSection section, const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// The stored readout of a key without a factory default. Without a valid stored value, `Keys::showMemoryPercent`
/// determines the readout.
template <class Readout>
Readout readout(const UnregisteredKey<Readout>& key, const SettingsSnapshot& settings)
{
    // A value that is not a boolean counts as false.
    const bool showedPercent = settings.boolean(Keys::showMemoryPercent.name).value_or(false);
    return SettingCoding<Readout>::read(settings, key.name)
        .value_or(showedPercent ? Readout::usage : Readout::off);
}
MemoryReadout memoryReadout();
StorageReadout storageReadout();

/// The accent stored under `key`; `MeterAccent::fallback` when it is absent or not understood.
MeterAccent accent(const UnregisteredKey<MeterAccent>& key,
    const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// The accents for the accent keys that are not stored, in stored form. They are taken from the two keys of an earlier
/// version.
QJsonObject missingAccents();

/// Stores the `missingAccents`. Called at every start, after the factory defaults are registered. False if the save failed.
bool migrateAccents();

/// The keys of all settings that determine the selection, the order and the look of a strip's items.
QStringList itemKeys();

} // namespace MeterSettings
} // namespace kestrum
