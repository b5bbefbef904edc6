// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonValue>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kestrum {

/// All effective values of a settings domain at one moment. A snapshot never changes, so several reads are consistent. Cheap to
/// copy; thread-safe.
class SettingsSnapshot {
public:
    /// A value and its conversions, which are made in advance so that typed reads are fast.
    struct Entry {
        QJsonValue value;
        QJsonValue::Type type;
        bool truth;
        double number;
        QString text;
    };

    struct Hash {
        using is_transparent = void;
        size_t operator()(std::string_view key) const { return std::hash<std::string_view>()(key); }
    };

    using Table = std::unordered_map<std::string, Entry, Hash, std::equal_to<>>;

    SettingsSnapshot() = default;
    explicit SettingsSnapshot(Table table)
        : m_table(std::make_shared<const Table>(std::move(table)))
    {
    }

    /// The value of `key` (UTF-8); `QJsonValue::Undefined` if there is none.
    QJsonValue object(std::string_view key) const
    {
        const Entry* entry = find(key);
        return entry ? entry->value : QJsonValue(QJsonValue::Undefined);
    }

    /// Each of these functions returns the value if it has the function's type; else nothing.
    std::optional<QString> string(std::string_view key) const
    {
        return read(key, QJsonValue::String, &Entry::text);
    }
    std::optional<bool> boolean(std::string_view key) const
    {
        return read(key, QJsonValue::Bool, &Entry::truth);
    }
    std::optional<double> number(std::string_view key) const
    {
        return read(key, QJsonValue::Double, &Entry::number);
    }

    const Table& table() const { return *m_table; }

private:
    const Entry* find(std::string_view key) const
    {
        const auto found = m_table->find(key);
        return found == m_table->end() ? nullptr : &found->second;
    }

    template <class T>
    std::optional<T> read(std::string_view key, QJsonValue::Type type, T Entry::*member) const
    {
        const Entry* entry = find(key);
        return entry && entry->type == type ? std::optional(entry->*member) : std::nullopt;
    }

    std::shared_ptr<const Table> m_table = std::make_shared<const Table>();
};

} // namespace kestrum
