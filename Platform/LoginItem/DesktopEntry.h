// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <optional>
#include <span>

namespace kestrum {

/// The text of a desktop entry as a list of lines. A change of one of our keys leaves the lines of others unchanged. Values are
/// in escaped form, as in the text; `escaped` and `command` create such values. Any bytes can be parsed.
class DesktopEntry {
public:
    static DesktopEntry parsed(const QByteArray& text);

    /// Whether the parsed text has errors for which a strict reader refuses the whole entry. `text` returns the entry without
    /// these errors.
    bool isDamaged() const { return m_isDamaged; }
    /// Whether the entry has only these keys, no comments and no groups other than the main group.
    bool holdsOnly(std::span<const char* const> keys) const;

    /// The value of a key of the main group; the last one where the key is repeated.
    std::optional<QByteArray> value(QByteArrayView key) const;
    /// Changes the value of a key of the main group, or adds the key at the group's end.
    void set(const QByteArray& key, const QByteArray& value);
    void remove(QByteArrayView key);

    QByteArray text() const;

    /// The escaped form of a plain text, which is a value.
    static QByteArray escaped(const QByteArray& text);
    /// The value of "Exec" that starts `program`, whatever characters its path has. `argument` is a word of letters and dashes,
    /// or empty for none.
    static QByteArray command(const QByteArray& program, const QByteArray& argument = {});
    /// The plain text of a value.
    static QByteArray unescaped(const QByteArray& value);
    /// The words of a value of "Exec" as GLib reads it, the program first. Empty when the value cannot be read.
    static QByteArrayList wordsOf(const QByteArray& command);

private:
    struct Line {
        QByteArray text;
        QByteArray key; ///< empty: a comment, a blank line or a header
        bool isHeader;  ///< begins a group
        bool isMain;    ///< belongs to the main group
    };

    QList<Line> m_lines;
    bool m_isDamaged = false;
};

} // namespace kestrum
