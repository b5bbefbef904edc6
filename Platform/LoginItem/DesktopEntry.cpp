// SPDX-License-Identifier: MIT
// GLib's parser for key files is not used. It rejects the whole entry for one damaged line, and rewrites lines that others
// wrote (blanks around values, line ends, repeated groups). This parser omits damaged lines and does not change other lines.
//
// A command is quoted twice, first as a command and then as a value, so one backslash in a path becomes four. Command: the
// program's path is in double quotes, four characters within the quotes get a backslash, and a percent sign is doubled. Value
// (of any key): a backslash, and blanks and line ends that would be lost, are written with a backslash. The standard requires
// both steps, and GLib reads entries this way. systemd's generator reads backslashes in a path differently.

#include "Platform/LoginItem/DesktopEntry.h"

#include <algorithm>
#include <glib.h>
#include <utility>

namespace kestrum {

namespace {

constexpr QByteArrayView mainGroup("Desktop Entry");
constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");
// The characters that follow a backslash in a value, and the characters that these pairs stand for.
constexpr QByteArrayView codes("sntr\\");
constexpr QByteArrayView meanings(" \n\t\r\\");

bool isBlank(const QByteArray& line)
{
    return line.trimmed().isEmpty();
}

bool isBlankOrComment(const QByteArray& line)
{
    return isBlank(line) || line.trimmed().startsWith('#');
}

/// The name of the group if `line` is the header of a group; nothing for any other line.
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
    return locale > 0 && key.endsWith(']') && key.size() > locale + 2 && key.count('[') == 1
        && key.count(']') == 1;
}

/// The key in a line "key=value"; empty for any other line.
QByteArray keyOf(const QByteArray& line)
{
    const qsizetype sign = isBlankOrComment(line) ? -1 : line.indexOf('=');
    const QByteArray key = sign < 0 ? QByteArray() : line.left(sign).trimmed();
    return isKey(key) ? key : QByteArray();
}

/// Returns `word` as the program receives it: "%%" becomes one percent sign, and other codes are removed. They stand for files,
/// and no files are passed.
QByteArray withoutFieldCodes(QByteArrayView word)
{
    QByteArray text;
    for (qsizetype i = 0; i < word.size(); ++i) {
        if (word[i] != '%' || (++i < word.size() && word[i] == '%'))
            text += word[i];
    }
    return text;
}

} // namespace

DesktopEntry DesktopEntry::parsed(const QByteArray& text)
{
    DesktopEntry entry;
    QByteArray sound = text;
    if (sound.startsWith(byteOrderMark)) {
        sound.remove(0, byteOrderMark.size());
        entry.m_isDamaged = true;
    }
    QByteArrayList lines = sound.split('\n');
    // What follows the last line end is no line.
    if (lines.last().isEmpty())
        lines.removeLast();
    bool isInGroup = false;
    bool isMain = false;
    for (const QByteArray& line : std::as_const(lines)) {
        const auto group = groupOf(line);
        if (line.contains('\0')) {
            entry.m_isDamaged = true;
        } else if (group) {
            isInGroup = true;
            isMain = *group == mainGroup;
            entry.m_lines.append({ '[' + *group + ']', {}, true, isMain });
        } else if (isBlankOrComment(line) || (isInGroup && !keyOf(line).isEmpty())) {
            entry.m_lines.append({ line, keyOf(line), false, isMain });
        } else {
            entry.m_isDamaged = true;
        }
    }
    // The main group must be the first group, so a later main group is moved to the front.
    const auto end = entry.m_lines.end();
    const auto isHeader = [](const Line& line) { return line.isHeader; };
    const auto first = std::find_if(entry.m_lines.begin(), end, isHeader);
    const auto main = std::find_if(first, end, [](const Line& line) { return line.isHeader && line.isMain; });
    if (main != first)
        entry.m_isDamaged = true;
    if (main != end)
        std::rotate(first, main, std::find_if(main + 1, end, isHeader));
    return entry;
}

bool DesktopEntry::holdsOnly(std::span<const char* const> keys) const
{
    return std::all_of(m_lines.begin(), m_lines.end(), [keys](const Line& line) {
        return line.isHeader
            ? line.isMain
            : isBlank(line.text) || std::find(keys.begin(), keys.end(), line.key) != keys.end();
    });
}

std::optional<QByteArray> DesktopEntry::value(QByteArrayView key) const
{
    const auto found = std::find_if(
        m_lines.rbegin(), m_lines.rend(), [key](const Line& line) { return line.isMain && line.key == key; });
    if (found == m_lines.rend())
        return std::nullopt;
    return found->text.mid(found->text.indexOf('=') + 1).trimmed();
}

void DesktopEntry::set(const QByteArray& key, const QByteArray& value)
{
    const Line changed { key + '=' + value, key, false, true };
    const auto isOld = [&key](const Line& line) { return line.isMain && line.key == key; };
    const auto old = std::find_if(m_lines.begin(), m_lines.end(), isOld);
    if (old != m_lines.end()) {
        *old = changed;
        m_lines.erase(std::remove_if(old + 1, m_lines.end(), isOld), m_lines.end());
        return;
    }
    auto place = std::find_if(m_lines.begin(), m_lines.end(), [](const Line& line) { return line.isHeader; });
    if (place == m_lines.end() || !place->isMain)
        place = m_lines.insert(place, { '[' + mainGroup.toByteArray() + ']', {}, true, true });
    // The new line goes above the blank lines at the end of the group.
    for (auto line = place + 1; line != m_lines.end() && !line->isHeader; ++line) {
        if (!isBlank(line->text))
            place = line;
    }
    m_lines.insert(place + 1, changed);
}

void DesktopEntry::remove(QByteArrayView key)
{
    m_lines.removeIf([key](const Line& line) { return line.isMain && line.key == key; });
}

QByteArray DesktopEntry::text() const
{
    QByteArray text;
    for (const Line& line : m_lines)
        text += line.text + '\n';
    return text;
}

QByteArray DesktopEntry::escaped(const QByteArray& text)
{
    QByteArray value;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isInside = i > 0 && i + 1 < text.size();
        const qsizetype code = text[i] == ' ' && isInside ? -1 : meanings.indexOf(text[i]);
        if (code < 0)
            value += text[i];
        else
            (value += '\\') += codes[code];
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
    // GLib searches for the program before it replaces "%%" by "%", and would not find a path with a percent sign. So the
    // command names a shell, and the shell starts the program.
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
    int count = 0;
    char** parsed = nullptr;
    if (!::g_shell_parse_argv(unescaped(command).constData(), &count, &parsed, nullptr))
        return {};
    QByteArrayList words;
    for (int i = 0; i < count; ++i)
        words.append(withoutFieldCodes(parsed[i]));
    ::g_strfreev(parsed);
    return words.value(0).isEmpty() ? QByteArrayList() : words;
}

} // namespace kestrum
