// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/MeterSettings.h"

#include "KestrumShared/Settings/Setting.h"

namespace kestrum {

namespace {

void appendMissing(QList<MonitorSection>& order, MonitorSection section)
{
    if (!order.contains(section))
        order.append(section);
}

// Only a stored truth value counts; anything else under the key reads as "no".
bool legacyShowsPercent()
{
    return SharedSettings::store().boolean(Keys::showMemoryPercent.name).value_or(false);
}

template <class Readout> Readout readout(const UnregisteredKey<Readout>& key)
{
    const auto stored = SettingCoding<Readout>::read(SharedSettings::store(), key.name);
    return stored.value_or(legacyShowsPercent() ? Readout::usage : Readout::off);
}

} // namespace

QList<MonitorSection> MeterSettings::order(QStringView text)
{
    QList<MonitorSection> result;
    for (const QStringView piece : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        if (const auto section = fromRawValue<MonitorSection>(piece))
            appendMissing(result, *section);
    }
    for (const MonitorSection section : defaultMenuBarOrder)
        appendMissing(result, section);
    return result;
}

QList<MonitorSection> MeterSettings::storedOrder()
{
    return order(SharedSettings::store().string(Keys::menuBarOrder.name).value_or(QString()));
}

QList<MonitorSection> MeterSettings::merged(const QList<MonitorSection>& visible,
    const QList<MonitorSection>& stored, const std::function<bool(MonitorSection)>& isShown)
{
    QList<MonitorSection> result;
    qsizetype next = 0;
    for (const MonitorSection section : stored) {
        if (!isShown(section))
            result.append(section);
        else if (next < visible.size())
            result.append(visible[next++]);
    }
    result.append(visible.mid(next));
    // Missing sections are added in the order of the cases, unlike in an order text: such a section was neither stored nor
    // shown, so it has no slot to preserve.
    for (const auto& entry : allCases<MonitorSection>())
        appendMissing(result, entry.value);
    return result;
}

bool MeterSettings::setMenuBarOrder(const QList<MonitorSection>& visible)
{
    QStringList keys;
    for (const MonitorSection section : merged(visible, storedOrder(), isShown))
        keys.append(rawValue(section));
    return Setting(Keys::menuBarOrder).set(keys.join(QLatin1Char(',')));
}

const Key<bool>& MeterSettings::visibilityKey(MonitorSection section)
{
    switch (section) {
    case MonitorSection::cpu:
        return Keys::showCPUItem;
    case MonitorSection::memory:
        return Keys::showMemoryItem;
    case MonitorSection::storage:
        return Keys::showStorageItem;
    case MonitorSection::sensors:
        break;
    }
    return Keys::showSensorsItem;
}

bool MeterSettings::isShown(MonitorSection section)
{
    return SharedSettings::store().boolean(visibilityKey(section).name).value_or(true);
}

MemoryReadout MeterSettings::memoryReadout()
{
    return readout(Keys::memoryReadout);
}

StorageReadout MeterSettings::storageReadout()
{
    return readout(Keys::storageReadout);
}

MeterAccent MeterSettings::accent(const UnregisteredKey<MeterAccent>& key)
{
    return Setting(key, MeterAccent(MeterAccent::fallback)).value();
}

QJsonObject MeterSettings::missingAccents()
{
    const UserDefaults& store = SharedSettings::store();
    const auto read
        = [&store](const Key<MeterAccent>& key) { return SettingCoding<MeterAccent>::read(store, key.name); };
    const MeterAccent base = read(Keys::accentChoice).value_or(MeterAccent::fallback);
    const MeterAccent fastCore = read(Keys::performanceCoreAccent).value_or(base);

    QJsonObject missing;
    const auto add = [&](const UnregisteredKey<MeterAccent>& key, const MeterAccent& accent) {
        if (store.object(key.name).isUndefined())
            missing.insert(QLatin1StringView(key.name), accent.rawValue());
    };
    add(Keys::cpuAccent, base);
    add(Keys::cpuFastCoreAccent, fastCore);
    add(Keys::memoryAccent, base);
    add(Keys::storageAccent, base);
    return missing;
}

QStringList MeterSettings::itemKeys()
{
    using namespace Keys;
    return names(showCPUItem, showMemoryItem, showStorageItem, showSensorsItem, menuBarOrder, cpuReadout,
        sensorsReadout, Keys::memoryReadout, Keys::storageReadout, showMemoryPercent, meterStyle, meterShape,
        meterLabelStyle, cpuAccent, cpuFastCoreAccent, memoryAccent, storageAccent, temperatureUnit,
        language);
}

bool MeterSettings::migrateAccents()
{
    const QJsonObject missing = missingAccents();
    return missing.isEmpty() || SharedSettings::store().apply(missing, {});
}

} // namespace kestrum
