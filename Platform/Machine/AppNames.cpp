// SPDX-License-Identifier: MIT
#include "Platform/Machine/AppNames.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Machine/KernelText.h"
#include "Platform/Machine/ProgramName.h"

#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <glib.h>
#include <memory>
#include <sys/stat.h>

namespace kestrum {
namespace {

constexpr QByteArrayView entrySuffix(".desktop");
// Entries in folders of folders are rare; a folder that contains itself must end somewhere.
constexpr int deepestFolder = 3;
constexpr qint64 largestEntry = qint64(1) << 20;

std::optional<timespec> changeTime(const QByteArray& folder)
{
    struct stat status { };
    if (::stat(folder.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
        return std::nullopt;
    return status.st_mtim;
}

bool isSameTime(const std::optional<timespec>& one, const std::optional<timespec>& other)
{
    if (!one || !other)
        return !one && !other;
    return one->tv_sec == other->tv_sec && one->tv_nsec == other->tv_nsec;
}

QByteArray contentOfEntry(const QByteArray& path)
{
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status { };
    if (!file.isValid() || ::fstat(file.get(), &status) != 0 || status.st_size > largestEntry)
        return {};
    QByteArray text(status.st_size, Qt::Uninitialized);
    const ssize_t size = ::read(file.get(), text.data(), std::size_t(text.size()));
    text.truncate(std::max<qsizetype>(0, size));
    return text;
}

// Keys of "Name", the best first. Entries write the languages of the C library, which knows Chinese by countries.
QByteArrayList nameKeys(const QString& language)
{
    QByteArray code = language.toLatin1();
    if (code == "zh-Hans")
        code = "zh-CN";
    else if (code == "zh-Hant")
        code = "zh-TW";
    const QByteArray plain = code.left(code.indexOf('-'));
    QByteArrayList keys { "Name[" + code.replace('-', '_') + ']' };
    if (plain != code)
        keys.append("Name[" + plain + ']');
    keys.append("Name");
    return keys;
}

// Undoes the escapes of a text in an entry.
QByteArray unescapedText(std::string_view value)
{
    QByteArray text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        switch (const char code = value[++i]) {
        case 's':
        case 'n':
        case 't':
        case 'r':
            text += ' ';
            break;
        case '\\':
            text += '\\';
            break;
        default:
            (text += '\\') += code;
        }
    }
    return text;
}

// The words of a command, without the codes for files.
QByteArrayList wordsOf(const QByteArray& command)
{
    int count = 0;
    char** parsed = nullptr;
    if (!::g_shell_parse_argv(command.constData(), &count, &parsed, nullptr))
        return {};
    const std::unique_ptr<char*, decltype(&::g_strfreev)> words(parsed, ::g_strfreev);
    QByteArrayList list;
    for (int i = 0; i < count; ++i) {
        if (parsed[i][0] != '%')
            list.append(parsed[i]);
    }
    return list;
}

// How clearly an entry is the own entry of its program: the higher the clearer.
int clearness(const AppNames::Entry& entry)
{
    const QString program = QString::fromUtf8(entry.program);
    const QString ownName = entry.id.sliced(entry.id.lastIndexOf(u'.') + 1);
    const bool isNamedAlike = entry.id == program || ownName.compare(program, Qt::CaseInsensitive) == 0;
    return (isNamedAlike ? 2 : 0) + (entry.isShown ? 1 : 0);
}

} // namespace

AppNames::AppNames(QStringList folders)
    : m_dataFolders(std::move(folders))
{
}

QStringList AppNames::userFolders()
{
    return QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation);
}

bool AppNames::update(const QString& language, std::chrono::nanoseconds now)
{
    const bool isKnown = m_lastLook && m_language == language;
    if (isKnown && now - *m_lastLook < lookPause)
        return false;
    m_lastLook = now;
    if (isKnown && !hasChanged())
        return false;
    m_language = language;
    m_nameKeys = nameKeys(language);
    m_folders.clear();
    m_entries.clear();
    m_ids.clear();
    for (const QString& folder : std::as_const(m_dataFolders))
        readFolder(QFile::encodeName(folder) + "/applications", QString(), 0);
    addToIndexes();
    return true;
}

bool AppNames::hasChanged() const
{
    return std::any_of(m_folders.begin(), m_folders.end(),
        [](const Folder& folder) { return !isSameTime(folder.time, changeTime(folder.path)); });
}

void AppNames::readFolder(const QByteArray& path, const QString& prefix, int depth)
{
    // The time is taken first: a change during the reading is read again.
    m_folders.push_back({ path, changeTime(path) });
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.constData()), ::closedir);
    if (!folder)
        return;
    while (const dirent* found = ::readdir(folder.get())) {
        const QByteArray name(found->d_name);
        const QString id = prefix + QString::fromUtf8(name);
        if (name.startsWith('.'))
            continue;
        if (name.endsWith(entrySuffix))
            readEntry(path + '/' + name, id.chopped(entrySuffix.size()));
        else if (found->d_type == DT_DIR && depth < deepestFolder)
            readFolder(path + '/' + name, id + u'-', depth + 1);
    }
}

void AppNames::readEntry(const QByteArray& path, const QString& id)
{
    if (m_ids.contains(id))
        return;
    const QByteArray content = contentOfEntry(path);
    Entry entry;
    entry.id = id;
    qsizetype bestKey = m_nameKeys.size();
    bool isOfMainGroup = false;
    bool isSwitchedOff = false;
    std::string_view rest(content.constData(), std::size_t(content.size()));
    while (!rest.empty()) {
        std::string_view line = KernelText::takeLine(rest);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        line = KernelText::trimmed(line);
        if (line.starts_with('[')) {
            // Other groups hold actions of the application with names of their own.
            if (isOfMainGroup)
                break;
            isOfMainGroup = line == "[Desktop Entry]";
            continue;
        }
        if (!isOfMainGroup || line.find('=') == std::string_view::npos)
            continue;
        const std::string_view key = KernelText::trimmed(KernelText::takeUpTo('=', line));
        const std::string_view value = KernelText::trimmed(line);
        if (key.starts_with("Name")) {
            const qsizetype place = m_nameKeys.indexOf(QByteArray(key.data(), qsizetype(key.size())));
            if (place >= 0 && place < bestKey && !value.empty()) {
                bestKey = place;
                entry.name = QString::fromUtf8(unescapedText(value));
            }
        } else if (key == "Exec") {
            entry.program = ProgramName::ofCommand(wordsOf(unescapedText(value)));
        } else if (key == "StartupWMClass") {
            entry.windowClass = QString::fromUtf8(unescapedText(value));
        } else if (key == "NoDisplay") {
            entry.isShown = value != "true";
        } else if (key == "Hidden") {
            isSwitchedOff = value == "true";
        }
    }
    // A user's entry that is switched off hides the system's entry of that id.
    if (isSwitchedOff || entry.name.isEmpty()) {
        m_ids.insert(id, none);
        return;
    }
    m_ids.insert(id, int(m_entries.size()));
    m_entries.push_back(std::move(entry));
}

void AppNames::addToIndexes()
{
    m_windowClasses.clear();
    m_programs.clear();
    for (int i = 0; i < int(m_entries.size()); ++i) {
        const Entry& entry = m_entries[std::size_t(i)];
        const auto sameClass = m_windowClasses.constFind(entry.windowClass);
        // The order of a folder is chance, so the lesser id wins.
        if (!entry.windowClass.isEmpty()
            && (sameClass == m_windowClasses.cend() || entry.id < m_entries[std::size_t(*sameClass)].id))
            m_windowClasses.insert(entry.windowClass, i);

        const int clear = clearness(entry);
        const auto sameProgram = m_programs.find(entry.program);
        if (sameProgram == m_programs.end() || clear > sameProgram->clearness)
            m_programs.insert(entry.program, { i, clear });
        else if (clear == sameProgram->clearness)
            sameProgram->place = none;
    }
    m_programs.remove(QByteArray());
}

const AppNames::Entry* AppNames::entry(const QString& id) const
{
    const int place = m_ids.value(id, none);
    return place < 0 ? nullptr : &m_entries[std::size_t(place)];
}

const AppNames::Entry* AppNames::entryOfApp(const QString& id) const
{
    if (const Entry* own = entry(id))
        return own;
    if (const int place = m_windowClasses.value(id, none); place >= 0)
        return &m_entries[std::size_t(place)];
    return entryOfProgram(id.toUtf8());
}

const AppNames::Entry* AppNames::entryOfProgram(const QByteArray& program) const
{
    const int place = m_programs.value(program).place;
    return place < 0 ? nullptr : &m_entries[std::size_t(place)];
}

} // namespace kestrum
