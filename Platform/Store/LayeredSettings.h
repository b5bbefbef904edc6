// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrum {

/// Three layers of values, each hiding the ones below: stored, the administrator's, registered. A look-up takes some nanoseconds. A
/// change of a layer rebuilds the table of effective values.
class LayeredSettings {
public:
    /// An effective value, with its typed forms cached.
    struct Entry {
        QJsonValue value;
        QJsonValue::Type type;
        bool truth;
        double number;
        QString text;
    };

    /// The effective value of `key` (UTF-8); null if no layer has it. Valid until a layer changes.
    const Entry* find(std::string_view key) const
    {
        const auto found = m_inEffect.find(key);
        return found == m_inEffect.end() ? nullptr : &found->second;
    }

    const QJsonObject& stored() const { return m_stored; }
    /// All keys of all layers, each with its effective value. Builds a new object.
    QJsonObject inEffect() const;

    /// The first two replace a layer; the last one adds to a layer. `setStored` gives the keys whose effective value changed, in
    /// no order.
    QStringList setStored(const QJsonObject& values);
    void setAdministered(const QJsonObject& values);
    void addRegistered(const QJsonObject& values);

private:
    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
    };

    using Table = std::unordered_map<std::string, Entry, Hash, std::equal_to<>>;

    void rebuild();

    QJsonObject m_stored;
    QJsonObject m_administered;
    QJsonObject m_registered;
    Table m_inEffect;
};

} // namespace kestrum
