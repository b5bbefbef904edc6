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

/// Rules for settings that depend on more than one key. They read the shared store as it is now, or the given snapshot.
namespace MeterSettings {

/// The order in which `order` adds missing sections. It differs from the factory default of `Keys::menuBarOrder`, which is
/// the order in a new store.
inline constexpr MonitorSection defaultMenuBarOrder[]
    = { MonitorSection::sensors, MonitorSection::storage, MonitorSection::memory, MonitorSection::cpu };
static_assert(std::size(defaultMenuBarOrder) == std::size(Enumeration<MonitorSection>::cases));

/// The sections in `text`, separated by ",", followed by the missing ones. Unknown and repeated names are skipped; the
/// result has each section exactly once.
QList<MonitorSection> order(QStringView text);

/// The stored order; missing sections are added as by `order`.
QList<MonitorSection> storedOrder(const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// `stored` with its shown sections replaced, slot by slot, by `visible`; hidden sections keep their slots.
/// `visible` holds shown sections only.
QList<MonitorSection> merged(const QList<MonitorSection>& visible, const QList<MonitorSection>& stored,
    const std::function<bool(MonitorSection)>& isShown);

/// Merges `visible`, the visible sections in their new order, into the stored order, and stores the result. False when the
/// save failed.
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

/// A readout whose key has no factory default: the stored value, else the value that follows from a setting of an earlier
/// version.
template <class Readout>
Readout readout(const UnregisteredKey<Readout>& key, const SettingsSnapshot& settings)
{
    // Only a boolean counts; any other value reads as false.
    const bool showedPercent = settings.boolean(Keys::showMemoryPercent.name).value_or(false);
    return SettingCoding<Readout>::read(settings, key.name)
        .value_or(showedPercent ? Readout::usage : Readout::off);
}
MemoryReadout memoryReadout();
StorageReadout storageReadout();

/// The accent stored under `key`; `MeterAccent::fallback` when it is absent or not understood.
MeterAccent accent(const UnregisteredKey<MeterAccent>& key,
    const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// For every accent key that is not stored, the accent from the global keys of an earlier version, in its stored form.
QJsonObject missingAccents();

/// Stores the `missingAccents`; the global keys stay. Called at every start, after the factory defaults are registered.
/// False when the save failed.
bool migrateAccents();

/// The keys that determine which items a strip has, their order, and their look.
QStringList itemKeys();

} // namespace MeterSettings
} // namespace kestrum
