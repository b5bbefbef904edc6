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

/// The rules that concern more than a single key. They read the shared store as it is now, or the given snapshot.
namespace MeterSettings {

/// The order of sections that an order text lacks. It differs from the factory value of `Keys::menuBarOrder`, which a fresh
/// store reads.
inline constexpr MonitorSection defaultMenuBarOrder[]
    = { MonitorSection::sensors, MonitorSection::storage, MonitorSection::memory, MonitorSection::cpu };
static_assert(std::size(defaultMenuBarOrder) == std::size(Enumeration<MonitorSection>::cases));

/// The sections in `text`, separated by ",", followed by the missing ones. Unknown and repeated names are skipped; the
/// result has each section exactly once.
QList<MonitorSection> order(QStringView text);

/// The stored order, completed.
QList<MonitorSection> storedOrder(const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// `stored` with its shown sections replaced, slot by slot, by `visible`; hidden sections keep their slots.
/// `visible` holds shown sections only.
QList<MonitorSection> merged(const QList<MonitorSection>& visible, const QList<MonitorSection>& stored,
    const std::function<bool(MonitorSection)>& isShown);

/// Merges the visible sections in their new order into the stored order and stores that. False when the save
/// failed.
bool setMenuBarOrder(const QList<MonitorSection>& visible);

/// The key that shows or hides a section's item.
inline const Key<bool>& visibilityKey(MonitorSection section)
{
    return Keys::visibility(section);
}

/// Whether a section's item is shown: anything but a stored false.
bool isShown(MonitorSection section, const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// The readouts whose keys have no factory default: the stored one, else the one that follows from the setting of an
/// earlier version.
template <class Readout>
Readout readout(const UnregisteredKey<Readout>& key, const SettingsSnapshot& settings)
{
    // Only a stored truth value counts; anything else reads as "no".
    const bool showedPercent = settings.boolean(Keys::showMemoryPercent.name).value_or(false);
    return SettingCoding<Readout>::read(settings, key.name)
        .value_or(showedPercent ? Readout::usage : Readout::off);
}
MemoryReadout memoryReadout();
StorageReadout storageReadout();

/// The accent under `key`, `MeterAccent::fallback` when it is absent or not understood.
MeterAccent accent(const UnregisteredKey<MeterAccent>& key,
    const SettingsSnapshot& settings = SharedSettings::store().snapshot());

/// For every unset accent key, the accent of the earlier version's global keys, as it is to be stored.
QJsonObject missingAccents();

/// Stores them; the global keys stay. Run at every start, after the factory defaults are registered. False when the save
/// failed.
bool migrateAccents();

/// The keys that decide which items stand in a strip, in which order, and what they show.
QStringList itemKeys();

} // namespace MeterSettings
} // namespace kestrum
