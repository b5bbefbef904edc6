// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// A property list in the classic text form, as in "Info.plist" and "Localizable.strings": a text ("a", or a bare word), a list
/// ( a, b ) or a dictionary { a = b; }. A strings table is a dictionary without braces. Comments are /* … */ and // ….
class PropertyList {
public:
    static constexpr qsizetype maximumBytes = 1024 * 1024;
    static constexpr int maximumDepth = 32;
    /// Longer than any displayed text. The toolkit's time for breaking a text into lines grows with the square of the length.
    static constexpr qsizetype maximumTextLength = 1024;

    enum class Type { text, list, dictionary };

    /// Parses the whole content of a file (UTF-8). Fails if the content exceeds a maximum above or is malformed. The reason
    /// names the line, except for a content of too many bytes.
    static Result<PropertyList> parsed(const QByteArray& content);
    static Result<PropertyList> fromFile(const QString& path);

    Type type() const { return m_type; }
    /// The text; nothing for a list or a dictionary.
    std::optional<QString> text() const;
    QList<PropertyList> list() const { return m_list; }
    /// The value of `key`; nothing if the key is missing or this property list is not a dictionary.
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
