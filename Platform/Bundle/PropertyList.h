// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// A property list in its classic text form: texts ("a", or a bare word), lists ( a, b ), dictionaries { a = b; }, and strings
/// tables, which are dictionaries without braces. "Info.plist" and "Localizable.strings" have this form. Comments are /* … */
/// and // ….
class PropertyList {
public:
    static constexpr qsizetype maximumBytes = 1024 * 1024;
    static constexpr int maximumDepth = 32;
    /// No displayed text is longer, and the toolkit needs quadratic time to break a text into lines.
    static constexpr qsizetype maximumTextLength = 1024;

    enum class Type { text, list, dictionary };

    /// Reads a file's whole content (UTF-8). Fails if the content is too large, or, with the line number, if it is malformed,
    /// nested too deep or has too long a text.
    static Result<PropertyList> parsed(const QByteArray& content);
    static Result<PropertyList> fromFile(const QString& path);

    Type type() const { return m_type; }
    /// The text; nothing for a list or a dictionary.
    std::optional<QString> text() const;
    QList<PropertyList> list() const { return m_list; }
    /// The value of `key`; nothing if it is absent or this is not a dictionary.
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
