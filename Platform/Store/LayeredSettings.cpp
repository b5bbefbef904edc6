#include "Platform/Store/LayeredSettings.h"

#include <initializer_list>

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

void LayeredSettings::setStored(const QJsonObject& values)
{
    m_stored = values;
    rebuild();
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
            // The first layer that has the key keeps it.
            m_inEffect.try_emplace(member.key().toStdString(),
                Entry { value, value.type(), value.toBool(), value.toDouble(), value.toString() });
        }
    }
}

} // namespace kestrum
