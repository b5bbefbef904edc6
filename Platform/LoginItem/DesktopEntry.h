// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <optional>
#include <span>

namespace kestrum {

/// The text of a desktop entry, line by line, so that the lines of others stay as they are when a key of ours is changed.
/// Values are as they stand in the text: `escaped` and `command` make them. Any bytes can be parsed.
class DesktopEntry {
public:
    static DesktopEntry parsed(const QByteArray& text);

    /// Whether there are lines for which a strict reader refuses the whole entry. `text` leaves them out.
    bool isDamaged() const { return m_isDamaged; }
    /// Whether it has no other keys than these, no comments and no other groups.
    bool holdsOnly(std::span<const char* const> keys) const;

    /// The value of a key of the main group; the last one where the key is repeated.
    std::optional<QByteArray> value(QByteArrayView key) const;
    /// Changes the key of the main group, or adds it at the group's end.
    void set(const QByteArray& key, const QByteArray& value);
    void remove(QByteArrayView key);

    QByteArray text() const;

    /// A plain text as a value.
    static QByteArray escaped(const QByteArray& text);
    /// The value of "Exec" that starts `program`, whatever characters its path has. `argument` is a word of letters and dashes,
    /// or empty for none.
    static QByteArray command(const QByteArray& program, const QByteArray& argument = {});
    /// The plain text of a value.
    static QByteArray unescaped(const QByteArray& value);
    /// The words of a value of "Exec" as GLib reads it, the program first. None when the value cannot be read.
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
