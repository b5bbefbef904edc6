// SPDX-License-Identifier: MIT
#include "Platform/LoginItem/AutostartRules.h"

#include "Platform/Processes/ProgramStart.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr char onlyShowInKey[] = "OnlyShowIn";
constexpr char notShowInKey[] = "NotShowIn";

QByteArrayList parts(const QByteArray& text, char separator)
{
    QByteArrayList list = text.split(separator);
    list.removeAll(QByteArray());
    return list;
}

/// The names of this desktop, the most specific one first. What cannot stand in a list of an entry is no name.
QByteArrayList desktopsHere()
{
    QByteArrayList names = parts(qgetenv("XDG_CURRENT_DESKTOP"), ':');
    names.removeIf([](const QByteArray& name) {
        return std::any_of(name.begin(), name.end(), [](char c) { return (c >= 0 && c <= ' ') || c == ';'; });
    });
    return names;
}

QByteArray joined(const QByteArrayList& desktops)
{
    return desktops.isEmpty() ? QByteArray() : desktops.join(';') + ';';
}

bool isShownHere(const DesktopEntry& entry)
{
    const auto only = entry.value(onlyShowInKey);
    const QByteArrayList wanted = parts(only.value_or(QByteArray()), ';');
    const QByteArrayList unwanted = parts(entry.value(notShowInKey).value_or(QByteArray()), ';');
    const QByteArrayList here = desktopsHere();
    for (const QByteArray& desktop : here) {
        if (wanted.contains(desktop))
            return true;
        if (unwanted.contains(desktop))
            return false;
    }
    return !only || here.isEmpty();
}

/// Returns the end of the path `program`, from the ".app" directory on, which is the same in every copy of the bundle. Without
/// a bundle, returns the whole path.
QByteArray placeInBundle(const QByteArray& program)
{
    const qsizetype inside = program.lastIndexOf(".app/Contents/");
    return inside < 0 ? program : program.mid(program.lastIndexOf('/', inside));
}

/// `word` is the first word of a command. Returns the path of the program that the word names, with links resolved.
QByteArray fileOf(const QByteArray& word)
{
    const QString name = QFile::decodeName(word);
    const QString path = word.startsWith('/') ? name : ProgramStart::find(name);
    return QFile::encodeName(QFileInfo(path).canonicalFilePath());
}

} // namespace

bool AutostartRules::isProgram(const QByteArray& path)
{
    if (!path.startsWith('/'))
        return !ProgramStart::find(QFile::decodeName(path)).isEmpty();
    struct stat state;
    return ::stat(path.constData(), &state) == 0 && S_ISREG(state.st_mode)
        && ::faccessat(AT_FDCWD, path.constData(), X_OK, AT_EACCESS) == 0;
}

bool AutostartRules::starts(const DesktopEntry& entry, const QByteArray& program)
{
    const auto command = entry.value(commandKey);
    const QByteArrayList words = command ? DesktopEntry::wordsOf(*command) : QByteArrayList();
    const auto tried = entry.value(programKey);
    if (program.isEmpty() || entry.isDamaged() || entry.value(typeKey) != "Application" || words.isEmpty()
        || !isProgram(words.first()) || (tried && !isProgram(DesktopEntry::unescaped(*tried)))
        || !isShownHere(entry))
        return false;
    const QByteArray place = placeInBundle(program);
    return fileOf(words.first()).endsWith(place)
        || std::any_of(words.begin(), words.end(), [&place](const QByteArray& word) {
               return word.contains(place) && (!word.startsWith('/') || isProgram(word));
           });
}

bool AutostartRules::isOff(const DesktopEntry& entry)
{
    const auto hidden = entry.value(hiddenKey);
    const auto enabled = entry.value(gnomeKey);
    return hidden == "true" || hidden == "1" || enabled == "false" || enabled == "0";
}

void AutostartRules::showHere(DesktopEntry& entry)
{
    if (isShownHere(entry))
        return;
    const QByteArrayList here = desktopsHere();
    if (const auto only = entry.value(onlyShowInKey))
        entry.set(onlyShowInKey, joined(parts(*only, ';') << here.first()));
    if (const auto unwanted = entry.value(notShowInKey)) {
        QByteArrayList elsewhere = parts(*unwanted, ';');
        elsewhere.removeIf([&here](const QByteArray& desktop) { return here.contains(desktop); });
        entry.set(notShowInKey, joined(elsewhere));
    }
}

} // namespace kestrum
