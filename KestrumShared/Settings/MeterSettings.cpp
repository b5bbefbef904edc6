// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/MeterSettings.h"

namespace kestrum {

namespace {

void appendMissing(QList<MonitorSection>& order, MonitorSection section)
{
    if (!order.contains(section))
        order.append(section);
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

QList<MonitorSection> MeterSettings::storedOrder(const SettingsSnapshot& settings)
{
    return order(settings.string(Keys::menuBarOrder.name).value_or(QString()));
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
    // Adds the sections that are neither in `stored` nor in `visible`, in the order of the enumerators.
    for (const auto& entry : allCases<MonitorSection>())
        appendMissing(result, entry.value);
    return result;
}

bool MeterSettings::setMenuBarOrder(const QList<MonitorSection>& visible)
{
    const SettingsSnapshot settings = SharedSettings::store().snapshot();
    const auto isShownNow = [&settings](MonitorSection section) { return isShown(section, settings); };
    QStringList keys;
    for (const MonitorSection section : merged(visible, storedOrder(settings), isShownNow))
        keys.append(rawValue(section));
    return Setting(Keys::menuBarOrder).set(keys.join(QLatin1Char(',')));
}

bool MeterSettings::isShown(MonitorSection section, const SettingsSnapshot& settings)
{
    return settings.boolean(visibilityKey(section).name).value_or(true);
}

MemoryReadout MeterSettings::memoryReadout()
{
    return readout(Keys::memoryReadout, SharedSettings::store().snapshot());
}

StorageReadout MeterSettings::storageReadout()
{
    return readout(Keys::storageReadout, SharedSettings::store().snapshot());
}

MeterAccent MeterSettings::accent(const UnregisteredKey<MeterAccent>& key, const SettingsSnapshot& settings)
{
    return SettingCoding<MeterAccent>::read(settings, key.name).value_or(MeterAccent::fallback);
}

QJsonObject MeterSettings::missingAccents()
{
    const SettingsSnapshot settings = SharedSettings::store().snapshot();
    const auto read = [&settings](const Key<MeterAccent>& key) {
        return SettingCoding<MeterAccent>::read(settings, key.name);
    };
    const MeterAccent base = read(Keys::accentChoice).value_or(MeterAccent::fallback);
    const MeterAccent fastCore = read(Keys::performanceCoreAccent).value_or(base);

    QJsonObject missing;
    const auto add = [&](const UnregisteredKey<MeterAccent>& key, const MeterAccent& accent) {
        if (settings.object(key.name).isUndefined())
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
    // Without a missing accent nothing is saved: a save of nothing could fail, and would be reported.
    const QJsonObject missing = missingAccents();
    return missing.isEmpty() || SharedSettings::store().apply(missing, {});
}

} // namespace kestrum
