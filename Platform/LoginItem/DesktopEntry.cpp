// A desktop entry has two layers of quoting. The lower one is that of all its texts: a backslash, and blanks and line ends
// where they would be lost, are written with a backslash. The upper one is that of command lines: a program's path is put
// in double quotes, within which four characters take a backslash, and each percent sign is doubled. A command line is quoted
// by the upper rule first and then written by the lower one, so that a backslash in a path becomes four.

#include "Platform/LoginItem/DesktopEntry.h"

#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

constexpr QByteArrayView mainGroup("Desktop Entry");
constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");

bool isBlankOrComment(const QByteArray& line)
{
    const QByteArray text = line.trimmed();
    return text.isEmpty() || text.startsWith('#');
}

/// The group that the line begins; nothing when it is no such line.
std::optional<QByteArray> groupOf(const QByteArray& line)
{
    const QByteArray text = line.trimmed();
    if (text.size() < 3 || !text.startsWith('[') || !text.endsWith(']'))
        return std::nullopt;
    const QByteArray name = text.sliced(1, text.size() - 2);
    const bool isName = std::none_of(name.begin(), name.end(),
        [](char c) { return c == '[' || c == ']' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
    return isName ? std::optional(name) : std::nullopt;
}

bool isKey(const QByteArray& key)
{
    const qsizetype locale = key.indexOf('[');
    if (locale < 0)
        return !key.isEmpty() && !key.contains(']');
    return locale > 0 && key.endsWith(']') && key.size() > locale + 2 && key.lastIndexOf('[') == locale
        && key.indexOf(']') == key.size() - 1;
}

/// The key that the line gives a value to; empty when it is no such line.
QByteArray keyOf(const QByteArray& line)
{
    if (isBlankOrComment(line))
        return {};
    const qsizetype sign = line.indexOf('=');
    const QByteArray key = sign < 0 ? QByteArray() : line.left(sign).trimmed();
    return isKey(key) ? key : QByteArray();
}

} // namespace

bool DesktopEntry::Group::isMain() const
{
    return name == mainGroup;
}

DesktopEntry DesktopEntry::parsed(const QByteArray& text)
{
    DesktopEntry entry;
    entry.m_groups.append(Group {});
    QByteArray sound = text;
    if (sound.startsWith(byteOrderMark)) {
        sound.remove(0, byteOrderMark.size());
        entry.m_isDamaged = true;
    }
    if (sound.endsWith('\n'))
        sound.chop(1);
    const QByteArrayList lines = sound.isEmpty() ? QByteArrayList() : sound.split('\n');
    for (const QByteArray& line : lines) {
        const bool isInGroup = entry.m_groups.size() > 1;
        if (line.contains('\0'))
            entry.m_isDamaged = true;
        else if (const auto group = groupOf(line))
            entry.m_groups.append(Group { *group, {} });
        else if (isBlankOrComment(line) || (isInGroup && !keyOf(line).isEmpty()))
            entry.m_groups.last().lines.append(line);
        else
            entry.m_isDamaged = true;
    }
    // The main group has to be the first one.
    const auto firstGroup = entry.m_groups.begin() + 1;
    const auto main
        = std::find_if(firstGroup, entry.m_groups.end(), [](const Group& g) { return g.isMain(); });
    if (main != firstGroup && main != entry.m_groups.end())
        std::rotate(firstGroup, main, main + 1);
    if (main != firstGroup)
        entry.m_isDamaged = true;
    return entry;
}

bool DesktopEntry::holdsOnly(std::span<const char* const> keys) const
{
    return std::all_of(m_groups.begin(), m_groups.end(), [keys](const Group& group) {
        return (group.name.isEmpty() || group.isMain())
            && std::all_of(group.lines.begin(), group.lines.end(), [keys](const QByteArray& line) {
                   return line.trimmed().isEmpty()
                       || std::find(keys.begin(), keys.end(), keyOf(line)) != keys.end();
               });
    });
}

std::optional<QByteArray> DesktopEntry::value(QByteArrayView key) const
{
    std::optional<QByteArray> value;
    for (const Group& group : m_groups) {
        for (const QByteArray& line : group.lines) {
            if (group.isMain() && keyOf(line) == key)
                value = line.mid(line.indexOf('=') + 1).trimmed();
        }
    }
    return value;
}

void DesktopEntry::set(const QByteArray& key, const QByteArray& value)
{
    if (m_groups.isEmpty())
        m_groups.append(Group {});
    if (m_groups.size() < 2 || !m_groups[1].isMain())
        m_groups.insert(1, Group { mainGroup.toByteArray(), {} });
    const QByteArray changed = key + '=' + value;
    bool isSet = false;
    for (Group& group : m_groups) {
        if (!group.isMain())
            continue;
        for (qsizetype i = 0; i < group.lines.size();) {
            if (keyOf(group.lines[i]) != key)
                ++i;
            else if (std::exchange(isSet, true))
                group.lines.remove(i);
            else
                group.lines[i++] = changed;
        }
    }
    if (isSet)
        return;
    // Above the blank lines that set the next group apart.
    QByteArrayList& lines = m_groups[1].lines;
    qsizetype end = lines.size();
    while (end > 0 && lines[end - 1].trimmed().isEmpty())
        --end;
    lines.insert(end, changed);
}

void DesktopEntry::remove(QByteArrayView key)
{
    for (Group& group : m_groups) {
        if (group.isMain())
            group.lines.removeIf([key](const QByteArray& line) { return keyOf(line) == key; });
    }
}

QByteArray DesktopEntry::text() const
{
    QByteArray text;
    for (const Group& group : m_groups) {
        if (!group.name.isEmpty())
            text += '[' + group.name + "]\n";
        for (const QByteArray& line : group.lines)
            text += line + '\n';
    }
    return text;
}

QByteArray DesktopEntry::escaped(const QByteArray& text)
{
    QByteArray value;
    for (qsizetype i = 0; i < text.size(); ++i) {
        switch (text[i]) {
        case '\\':
            value += "\\\\";
            break;
        case '\n':
            value += "\\n";
            break;
        case '\r':
            value += "\\r";
            break;
        case '\t':
            value += "\\t";
            break;
        case ' ':
            value += i == 0 || i + 1 == text.size() ? "\\s" : " ";
            break;
        default:
            value += text[i];
        }
    }
    return value;
}

QByteArray DesktopEntry::unescaped(const QByteArray& value)
{
    QByteArray text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        constexpr QByteArrayView codes("sntr\\");
        constexpr QByteArrayView meanings(" \n\t\r\\");
        const qsizetype code = codes.indexOf(value[++i]);
        if (code >= 0)
            text += meanings[code];
        else
            (text += '\\') += value[i];
    }
    return text;
}

QByteArray DesktopEntry::command(const QByteArray& program, const QByteArray& argument)
{
    QByteArray quoted("\"");
    // GLib looks for the program before it makes one of two percent signs, and so never finds it. A shell that starts what it
    // is given is found.
    if (program.contains('%'))
        quoted = "/bin/sh -c \"exec \\\"\\$0\\\" \\\"\\$@\\\"\" \"";
    for (const char character : program) {
        if (QByteArrayView("\"`$\\").contains(character))
            quoted += '\\';
        else if (character == '%')
            quoted += '%';
        quoted += character;
    }
    quoted += '"';
    if (!argument.isEmpty())
        quoted += ' ' + argument;
    return escaped(quoted);
}

QByteArrayList DesktopEntry::wordsOf(const QByteArray& command)
{
    // As a shell takes words apart, which is what readers of desktop entries do.
    const QByteArray line = unescaped(command).trimmed();
    QByteArrayList words;
    QByteArray word;
    bool isInWord = false;
    char quote = '\0';
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char character = line[i];
        const bool isLast = i + 1 == line.size();
        if (quote == '\0' && (character == ' ' || character == '\t' || character == '\n')) {
            if (std::exchange(isInWord, false))
                words.append(std::exchange(word, {}));
            continue;
        }
        isInWord = true;
        if (character == quote) {
            quote = '\0';
        } else if (quote == '\0' && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == '\\' && quote != '\'') {
            if (isLast)
                return {};
            if (quote == '"' && !QByteArrayView("\"`$\\").contains(line[i + 1]))
                word += character;
            word += line[++i];
        } else if (character == '%') {
            // Two are one; with anything else it stands for files, of which there are none.
            if (!isLast && line[++i] == '%')
                word += '%';
        } else {
            word += character;
        }
    }
    if (isInWord)
        words.append(word);
    const bool isUnderstood = quote == '\0' && !words.isEmpty() && !words.first().isEmpty();
    return isUnderstood ? words : QByteArrayList();
}

} // namespace kestrum
