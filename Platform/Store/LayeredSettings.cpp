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
    const Table before = std::exchange(m_inEffect, {});
    m_stored = values;
    rebuild();
    QStringList changed;
    for (const auto& [key, entry] : m_inEffect) {
        const auto was = before.find(key);
        if (was == before.end() || was->second.value != entry.value)
            changed.append(QString::fromStdString(key));
    }
    for (const auto& [key, entry] : before) {
        if (!m_inEffect.contains(key))
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
    m_inEffect.clear();
    for (const QJsonObject* layer : { &m_stored, &m_administered, &m_registered }) {
        for (auto member = layer->begin(); member != layer->end(); ++member) {
            const QJsonValue value = member.value();
            // Leaves the entry of a higher layer as it is.
            m_inEffect.try_emplace(member.key().toStdString(),
                Entry { value, value.type(), value.toBool(), value.toDouble(), value.toString() });
        }
    }
}

} // namespace kestrum
