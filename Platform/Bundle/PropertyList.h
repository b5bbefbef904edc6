#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// A property list in its classic text form: texts ("a", or a bare word), lists ( a, b ), dictionaries { a = b; }, and
/// the strings-table form, a dictionary without its braces. Both "Info.plist" and "Localizable.strings" are
/// written so. Comments are /* … */ and // ….
class PropertyList {
public:
    static constexpr qsizetype maximumBytes = 1024 * 1024;
    static constexpr int maximumDepth = 32;
    /// A longer text is no text for people, and the toolkit would break it into lines in a time that grows with its square.
    static constexpr qsizetype maximumTextLength = 1024;

    enum class Type { text, list, dictionary };

    /// Reads a whole file's content (UTF-8). Nothing when it is malformed, too large, nested too deep or has too long a
    /// text in it; `error`, when given, then says what and in which line.
    static std::optional<PropertyList> parsed(const QByteArray& content, QString* error = nullptr);
    static std::optional<PropertyList> fromFile(const QString& path, QString* error = nullptr);

    Type type() const { return m_type; }
    /// The text; nothing for a list or a dictionary.
    std::optional<QString> text() const;
    QList<PropertyList> list() const { return m_list; }
    /// The value of `key`; nothing when absent or when this is no dictionary.
    std::optional<PropertyList> value(const QString& key) const;
    QStringList keys() const { return m_dictionary.keys(); }

private:
    friend class PropertyListParser;
    Type m_type = Type::text;
    QString m_text;
    QList<PropertyList> m_list;
    QHash<QString, PropertyList> m_dictionary;
};

} // namespace kestrum
