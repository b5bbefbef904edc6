#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrum {

/// Three layers of values, each hiding the ones below: stored, the administrator's, registered. A look-up
/// costs some nanoseconds, a change of a layer builds the table of what is in effect anew.
class LayeredSettings {
public:
    /// A value in effect, taken apart beforehand so that a typed read has nothing to do.
    struct Entry {
        QJsonValue value;
        QJsonValue::Type type;
        bool truth;
        double number;
        QString text;
    };

    /// What is in effect under `key` (UTF-8); null when no layer has it. Stands until a layer changes.
    const Entry* find(std::string_view key) const
    {
        const auto found = m_inEffect.find(key);
        return found == m_inEffect.end() ? nullptr : &found->second;
    }

    const QJsonObject& stored() const { return m_stored; }
    /// All keys of all layers, each with its value in effect. Builds a new object.
    QJsonObject inEffect() const;

    /// The first two replace what the layer held; registered values are added to it. `setStored` gives the keys whose value
    /// in effect changed by it, in no order.
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
