// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/LanguageChoice.h"
#include "KestrumShared/Vocabulary/MeterAccent.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "KestrumShared/Vocabulary/TemperatureChoice.h"

#include <QString>
#include <QStringList>
#include <tuple>

namespace kestrum {

/// The type of a key's default value. For texts, the type is `const char*`, so that all keys can be constants.
template <class T> struct KeyDefault {
    using Type = T;
};
template <> struct KeyDefault<QString> {
    using Type = const char*;
};

/// A key with a factory default. Reads return the factory default until another value is stored.
template <class T> struct Key {
    using Value = T;
    const char* name;
    typename KeyDefault<T>::Type factoryDefault;
};

/// A key without a factory default: a missing value has its own meaning.
template <class T> struct UnregisteredKey {
    using Value = T;
    const char* name;
};

/// The catalogue of all settings, the only place that defines the names, types and defaults of keys.
namespace Keys {

inline constexpr Key<bool> agentEnabled { "agentEnabled", true };
inline constexpr Key<QString> settingsPane { "settingsPane", "menuBar" };
/// In seconds.
inline constexpr Key<double> refreshInterval { "refreshInterval", 1.0 };
inline constexpr Key<bool> showCPUItem { "showCPUItem", true };
inline constexpr Key<bool> showMemoryItem { "showMemoryItem", true };
inline constexpr Key<bool> showStorageItem { "showStorageItem", true };
inline constexpr Key<bool> showSensorsItem { "showSensorsItem", true };
inline constexpr Key<CPUReadout> cpuReadout { "cpuReadout", CPUReadout::temperature };
inline constexpr Key<SensorsReadout> sensorsReadout { "sensorsReadout", SensorsReadout::power };
/// A key of an earlier version. Its value determines `memoryReadout` and `storageReadout` until these are stored.
inline constexpr Key<bool> showMemoryPercent { "showMemoryPercent", true };
inline constexpr Key<MeterStyle> meterStyle { "meterStyle", MeterStyle::bars };
inline constexpr Key<MeterShape> meterShape { "meterShape", MeterShape::pill };
inline constexpr Key<QString> menuBarOrder { "menuBarOrder", "storage,sensors,memory,cpu" };
inline constexpr Key<QString> language { "language", AppLanguage::systemChoice };
inline constexpr Key<Units::TemperatureChoice> temperatureUnit { "temperatureUnit",
    Units::TemperatureChoice::system };
inline constexpr Key<MeterLabelStyle> meterLabelStyle { "meterLabelStyle", MeterLabelStyle::icons };
/// Two keys of an earlier version: the accent of all items, and the accent of the performance cores.
inline constexpr Key<MeterAccent> accentChoice { "accentChoice", MeterAccent::Name::signal };
inline constexpr Key<MeterAccent> performanceCoreAccent { "performanceCoreAccent",
    MeterAccent::Name::indigo };
inline constexpr Key<PopoverAppearance> popoverAppearance { "popoverAppearance", PopoverAppearance::system };
inline constexpr Key<PopoverBackground> popoverBackground { "popoverBackground",
    PopoverBackground::translucent };
inline constexpr Key<bool> updatesCheckAutomatically { "updatesCheckAutomatically", true };
/// Whether the agent can check for updates. Only the agent writes this value.
inline constexpr Key<bool> updaterCanCheck { "updaterCanCheck", false };
inline constexpr Key<bool> didUnregisterLegacyLoginItem { "didUnregisterLegacyLoginItem", false };

inline constexpr UnregisteredKey<MemoryReadout> memoryReadout { "memoryReadout" };
inline constexpr UnregisteredKey<StorageReadout> storageReadout { "storageReadout" };
inline constexpr UnregisteredKey<MeterAccent> cpuAccent { "cpuAccent" };
inline constexpr UnregisteredKey<MeterAccent> cpuFastCoreAccent { "cpuFastCoreAccent" };
inline constexpr UnregisteredKey<MeterAccent> memoryAccent { "memoryAccent" };
inline constexpr UnregisteredKey<MeterAccent> storageAccent { "storageAccent" };
/// The version text of an update that the agent has found. Only the agent writes this value.
inline constexpr UnregisteredKey<QString> updatesAvailable { "updatesAvailable" };
/// The system monitor that popovers lead to: the id of a desktop entry, or a command. Absent: one is looked for.
inline constexpr UnregisteredKey<QString> systemMonitor { "systemMonitor" };
/// The desktops, separated by commas, to whose users the agent has offered to show the items in the panel. Only the agent writes
/// this value.
inline constexpr UnregisteredKey<QString> panelOffers { "panelOffers" };
/// The host whose panel showed the items last, by a bridge. Only the agent writes this value.
inline constexpr UnregisteredKey<QString> panelBridge { "panelBridge" };
/// "all": a strip stands on every screen. Anything else, or nothing: on the main screen only.
inline constexpr UnregisteredKey<QString> stripScreens { "stripScreens" };

/// The names of keys, in the form that `UserDefaults::observe` takes.
template <class... K> QStringList names(const K&... keys)
{
    return { QString::fromLatin1(keys.name)... };
}

/// All keys with a factory default. A key that is missing in this list has no registered default.
inline constexpr std::tuple registered { agentEnabled, settingsPane, refreshInterval, showCPUItem,
    showMemoryItem, showStorageItem, showSensorsItem, cpuReadout, sensorsReadout, showMemoryPercent,
    meterStyle, meterShape, menuBarOrder, language, temperatureUnit, meterLabelStyle, accentChoice,
    performanceCoreAccent, popoverAppearance, popoverBackground, updatesCheckAutomatically, updaterCanCheck,
    didUnregisterLegacyLoginItem };

inline constexpr std::tuple unregistered { memoryReadout, storageReadout, cpuAccent, cpuFastCoreAccent,
    memoryAccent, storageAccent, updatesAvailable, systemMonitor, panelBridge, panelOffers, stripScreens };

} // namespace Keys
} // namespace kestrum
