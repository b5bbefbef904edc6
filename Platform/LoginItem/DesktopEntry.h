// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <optional>
#include <span>

namespace kestrum {

/// The text of a desktop entry as a list of lines. Changing a key leaves all other lines unchanged. Values are in escaped form,
/// as in the file; `escaped` and `command` create such values. Any bytes can be parsed.
class DesktopEntry {
public:
    static DesktopEntry parsed(const QByteArray& text);

    /// Whether the parsed text has errors that make strict readers reject the whole entry. The result of `text` has no such
    /// errors, once there is a main group: `set` adds one.
    bool isDamaged() const { return m_isDamaged; }
    /// Whether the entry has no keys except `keys`, no comments and no groups except the main group.
    bool holdsOnly(std::span<const char* const> keys) const;

    /// The value of `key` in the main group; the last value if the key is repeated, nothing if the key is missing.
    std::optional<QByteArray> value(QByteArrayView key) const;
    /// Sets the value of `key` in the main group. A new key is added at the end of the group.
    void set(const QByteArray& key, const QByteArray& value);
    void remove(QByteArrayView key);

    QByteArray text() const;

    /// Converts a plain text to a value.
    static QByteArray escaped(const QByteArray& text);
    /// Returns the value of "Exec" that starts `program`, whose path may contain any characters. `argument` is a word of
    /// letters and dashes, or empty for no argument.
    static QByteArray command(const QByteArray& program, const QByteArray& argument = {});
    /// Converts a value to plain text.
    static QByteArray unescaped(const QByteArray& value);
    /// Splits a value of "Exec" into words as GLib does. The first word is the program. Empty if the value cannot be read.
    static QByteArrayList wordsOf(const QByteArray& command);

private:
    struct Line {
        QByteArray text;
        QByteArray key; ///< empty for a comment, a blank line and a header
        bool isHeader;  ///< begins a group
        bool isMain;    ///< belongs to the main group
    };

    QList<Line> m_lines;
    bool m_isDamaged = false;
};

} // namespace kestrum
