#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <optional>
#include <span>

namespace kestrum {

/// The text of a desktop entry, taken apart by lines, so that what others wrote into it stays where it is when ours is
/// changed. Values are as they stand in the text: `escaped` and `command` make them. Any bytes can be parsed.
class DesktopEntry {
public:
    static DesktopEntry parsed(const QByteArray& text);

    /// Whether there are lines that make a strict reader refuse the whole entry. `text` leaves them out.
    bool isDamaged() const { return m_isDamaged; }
    /// Whether there is nothing but these keys: no others, no comments, no other groups.
    bool holdsOnly(std::span<const char* const> keys) const;

    /// The value of a key of the main group, the last one when it stands there several times.
    std::optional<QByteArray> value(QByteArrayView key) const;
    /// Changes the key of the main group, or adds it at the group's end.
    void set(const QByteArray& key, const QByteArray& value);
    void remove(QByteArrayView key);

    QByteArray text() const;

    /// The value that stands for a plain text.
    static QByteArray escaped(const QByteArray& text);
    /// The value of "Exec" that starts `program`, whatever its path looks like, with `argument`, a word of letters and dashes;
    /// empty: with none.
    static QByteArray command(const QByteArray& program, const QByteArray& argument = {});
    /// The plain text that a value stands for.
    static QByteArray unescaped(const QByteArray& value);
    /// The words of a value of "Exec", the program first; none when it cannot be understood.
    static QByteArrayList wordsOf(const QByteArray& command);

private:
    struct Group {
        QByteArray name; ///< empty: the lines before the first group
        QByteArrayList lines;
        bool isMain() const;
    };

    QList<Group> m_groups;
    bool m_isDamaged = false;
};

} // namespace kestrum
