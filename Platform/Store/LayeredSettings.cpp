// SPDX-License-Identifier: MIT
#include "Platform/Store/LayeredSettings.h"

#include <initializer_list>
#include <utility>

namespace kestrum {

namespace {

void add(QJsonObject& values, const QJsonObject& more)
{
    for (auto value = more.begin(); value != more.end(); ++value)
        values.insert(value.key(), value.value());
}

} // namespace

QJsonObject LayeredSettings::inEffect() const
{
    QJsonObject values = m_registered;
    add(values, m_administered);
    add(values, m_stored);
    return values;
}

QStringList LayeredSettings::setStored(const QJsonObject& values)
{
    const SettingsSnapshot before = m_inEffect;
    m_stored = values;
    rebuild();
    QStringList changed;
    for (const auto& [key, entry] : m_inEffect.table()) {
        if (before.object(key) != entry.value)
            changed.append(QString::fromStdString(key));
    }
    for (const auto& [key, entry] : before.table()) {
        if (!m_inEffect.table().contains(key))
            changed.append(QString::fromStdString(key));
    }
    return changed;
}

void LayeredSettings::setAdministered(const QJsonObject& values)
{
    m_administered = values;
    rebuild();
}

void LayeredSettings::addRegistered(const QJsonObject& values)
{
    add(m_registered, values);
    rebuild();
}

void LayeredSettings::rebuild()
{
    SettingsSnapshot::Table table;
    for (const QJsonObject* layer : { &m_stored, &m_administered, &m_registered }) {
        for (auto member = layer->begin(); member != layer->end(); ++member) {
            const QJsonValue value = member.value();
            // Inserts nothing if a higher layer has the key.
            table.try_emplace(member.key().toStdString(),
                SettingsSnapshot::Entry {
                    value, value.type(), value.toBool(), value.toDouble(), value.toString() });
        }
    }
    m_inEffect = SettingsSnapshot(std::move(table));
}

} // namespace kestrum
