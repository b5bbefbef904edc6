// SPDX-License-Identifier: MIT
// The entry belongs to several: to us, to the desktop's settings, which switch it off in it, and to its user, who may have
// put a delay into it or linked it to a place where it is kept under version control. So only our own keys are changed, a
// linked file is changed where it is, and an entry that holds more than ours is not deleted when it is switched off but renamed,
// to a name that no desktop reads, from which it comes back when it is switched on again. Nothing is ever renamed over something.
//
// Desktops switch an entry off in two ways, of which each reads only one or both: "Hidden" and, older, GNOME's key. Both are
// read, and both are written.
//
// An entry of the same name for the whole system is started as long as the user has none. So where there is one, the item is
// switched off by an entry of the user's that is switched off, and that bears a mark of ours: without it the item would count as
// switched off by the desktop's own settings.

#include "Platform/LoginItem/LoginItemService.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Files/FileTrust.h"
#include "Platform/Log/Log.h"
#include "Platform/LoginItem/AutostartRules.h"
#include "Platform/LoginItem/DesktopEntry.h"

#include <QFile>
#include <QFileInfo>
#include <fcntl.h>
#include <sys/stat.h>

namespace kestrum {

namespace {

using AutostartRules::commandKey;
using AutostartRules::gnomeKey;
using AutostartRules::hiddenKey;
using AutostartRules::programKey;
using AutostartRules::typeKey;
constexpr char nameKey[] = "Name";
constexpr char offByUsKey[] = "X-Kestrum-SwitchedOff";
constexpr const char* ownKeys[]
    = { typeKey, nameKey, commandKey, programKey, hiddenKey, gnomeKey, offByUsKey };

constexpr char switchedOffSuffix[] = ".off";
constexpr int mostSetAside = 999;
constexpr qsizetype mostBytes = 1024 * 1024;

LoginItemService::Error failed(const QByteArray& path, const char* step, int error)
{
    const bool isRefused = error == EACCES || error == EPERM || error == EROFS;
    // The system's own numbers are turned negative: some of them are the same as codes of ours.
    return { isRefused ? LoginItemService::refused : -error,
        QStringLiteral("%1: cannot %2: %3")
            .arg(QFile::decodeName(path), QLatin1StringView(step), qt_error_string(error)) };
}

/// What stands in the place of the entry.
struct Found {
    int error = 0; ///< ENOENT when there is nothing; another when it cannot be read
    QByteArray bytes;
    struct stat state = {};
};

Found read(int directory, const QByteArray& name, int flags)
{
    Found found;
    // Not blocking: there may be a pipe.
    const FileDescriptor file(
        ::openat(directory, name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
    if (!file.isValid() || ::fstat(file.get(), &found.state) != 0) {
        found.error = errno == ENOTDIR ? ENOENT : errno;
        return found;
    }
    if (!S_ISREG(found.state.st_mode)) {
        found.error = S_ISDIR(found.state.st_mode) ? EISDIR : EINVAL;
        return found;
    }
    if (const auto bytes = FilePath::bytesOf(file.get(), mostBytes))
        found.bytes = *bytes;
    else
        found.error = errno;
    return found;
}

/// Switched off by `unregister`, and not by the desktop's own settings.
bool isOffByUs(const DesktopEntry& entry)
{
    return AutostartRules::isOff(entry) && entry.value(offByUsKey) == "true";
}

} // namespace

LoginItemService::LoginItemService(
    const QString& identifier, const QString& program, const QString& name, const QByteArray& argument)
    : m_identifier(identifier)
    , m_program(program)
    , m_name(name)
    , m_argument(argument)
{
}

QString LoginItemService::entryPath() const
{
    return entryIn(FilePath::configDirectory());
}

QString LoginItemService::entryIn(const QString& configDirectory) const
{
    return configDirectory + QStringLiteral("/autostart/%1.desktop").arg(m_identifier);
}

LoginItemService::Status LoginItemService::status() const
{
    const Found found = read(AT_FDCWD, QFile::encodeName(entryPath()), 0);
    if (found.error == ENOENT)
        return statusForAll();
    const DesktopEntry entry = DesktopEntry::parsed(found.bytes);
    if (found.error == 0 && isOffByUs(entry))
        return Status::notRegistered;
    if (found.error != 0 || !AutostartRules::starts(entry, QFile::encodeName(m_program)))
        return Status::notFound;
    return AutostartRules::isOff(entry) ? Status::requiresApproval : Status::enabled;
}

LoginItemService::Status LoginItemService::statusForAll() const
{
    const QStringList directories = FilePath::systemConfigDirectories();
    for (const QString& directory : directories) {
        const Found found = read(AT_FDCWD, QFile::encodeName(entryIn(directory)), 0);
        if (found.error == ENOENT)
            continue;
        const DesktopEntry entry = DesktopEntry::parsed(found.bytes);
        // Hidden there, it is as if there were none.
        if (found.error == 0 && AutostartRules::isOff(entry))
            return Status::notRegistered;
        const bool isOurs = found.error == 0 && AutostartRules::starts(entry, QFile::encodeName(m_program));
        return isOurs ? Status::enabled : Status::notFound;
    }
    return Status::notRegistered;
}

std::optional<LoginItemService::Error> LoginItemService::registerItem() const
{
    // Root has no desktop that would start anything, and a file of root's in a user's folder would be in that user's way.
    if (::geteuid() == 0)
        return Error { notForRoot, QStringLiteral("No login item is registered for root.") };
    const QByteArray program = QFile::encodeName(m_program);
    if (!AutostartRules::isProgram(program))
        return Error { notTrusted, QStringLiteral("%1: it cannot be run").arg(m_program) };
    // By links, too, others could get in at either end.
    for (const QByteArray& path : { program, QFile::encodeName(QFileInfo(m_program).canonicalFilePath()) }) {
        if (const auto wayIn = FileTrust::wayInForOthers(path))
            return Error { notTrusted, *wayIn };
    }

    const QByteArray path = QFile::encodeName(entryPath());
    const FilePath::Place place = FilePath::of(path);
    if (!FilePath::makeDirectory(place.directory))
        return failed(place.directory, "make the directory", errno);
    const FileDescriptor directory = FilePath::openedDirectory(place.directory);
    if (!directory.isValid())
        return failed(place.directory, "open the directory", errno);
    AtomicFile::sweepLeftovers(directory.get());

    const QByteArray switchedOff = place.name + switchedOffSuffix;
    bool comesBack = false;
    for (const QByteArray& name : { place.name, switchedOff }) {
        struct stat state;
        const bool isThere = ::fstatat(directory.get(), name.constData(), &state, AT_SYMLINK_NOFOLLOW) == 0;
        // What cannot be asked for may be there: a new entry in its place would be without what its user wrote.
        if (!isThere && errno != ENOENT)
            return failed(place.directory + '/' + name, "look at it", errno);
        comesBack = isThere && name == switchedOff;
        if (isThere)
            break;
    }
    const auto error = write(place.directory + '/' + (comesBack ? switchedOff : place.name), true);
    if (!comesBack || (error && error->code != alreadyThere))
        return error;
    return moved(directory.get(), switchedOff, place.name);
}

std::optional<LoginItemService::Error> LoginItemService::write(const QByteArray& path, bool isOn) const
{
    const FilePath::Place target = FilePath::of(FilePath::wayTo(path).constLast());
    const FileDescriptor directory = FilePath::openedDirectory(target.directory);
    if (!directory.isValid())
        return failed(target.directory, "open the directory", errno);
    const Found found = read(directory.get(), target.name, O_NOFOLLOW);
    const bool exists = found.error == 0;
    if (!exists && found.error != ENOENT)
        return failed(path, "read", found.error);

    DesktopEntry entry = DesktopEntry::parsed(found.bytes);
    if (exists && entry.isDamaged() && !found.bytes.trimmed().isEmpty()) {
        QByteArray copy;
        if (const auto failure = AtomicFile::keepDamaged(directory.get(), target.name, found.bytes, &copy))
            return failed(path, failure.step, failure.error);
        Log::warning("loginItem",
            QStringLiteral("%1 was damaged and is kept as %2")
                .arg(Log::escaped(QFile::decodeName(path)), Log::escaped(QFile::decodeName(copy))));
    }
    const QByteArray program = QFile::encodeName(m_program);
    entry.set(typeKey, "Application");
    entry.set(nameKey, DesktopEntry::escaped(m_name.toUtf8()));
    entry.set(commandKey, DesktopEntry::command(program, m_argument));
    entry.set(programKey, DesktopEntry::escaped(program));
    entry.set(hiddenKey, isOn ? "false" : "true");
    entry.set(gnomeKey, isOn ? "true" : "false");
    if (isOn) {
        entry.remove(offByUsKey);
        AutostartRules::showHere(entry);
    } else {
        entry.set(offByUsKey, "true");
    }
    const QByteArray text = entry.text();
    if (exists && text == found.bytes)
        return Error { alreadyThere,
            QStringLiteral("%1: it is %2 already")
                .arg(QFile::decodeName(path), QLatin1StringView(isOn ? "registered" : "switched off")) };
    const auto result
        = AtomicFile::replace(directory.get(), target.name, text, exists ? &found.state : nullptr);
    if (result.failure)
        return failed(path, result.failure.step, result.failure.error);
    return std::nullopt;
}

std::optional<LoginItemService::Error> LoginItemService::moved(
    int directory, const QByteArray& from, const QByteArray& to) const
{
    const QByteArray path = FilePath::of(QFile::encodeName(entryPath())).directory + '/' + from;
    if (!FilePath::renameToNew(directory, from, to))
        return failed(path, "rename", errno);
    if (const auto failure = AtomicFile::syncDirectory(directory))
        return failed(path, failure.step, failure.error);
    return std::nullopt;
}

std::optional<LoginItemService::Error> LoginItemService::setAside(int directory, const QByteArray& name) const
{
    const QByteArray switchedOff = name + switchedOffSuffix;
    // One that was switched off earlier makes room, so that the latest is the one that comes back.
    for (int number = 1; number <= mostSetAside; ++number) {
        const auto error = moved(directory, name, switchedOff);
        if (!error || error->code != -EEXIST)
            return error;
        const auto older = moved(directory, switchedOff, switchedOff + '-' + QByteArray::number(number));
        if (older && older->code != -EEXIST)
            return older;
    }
    return moved(directory, name, switchedOff);
}

std::optional<LoginItemService::Error> LoginItemService::unregister() const
{
    const QByteArray path = QFile::encodeName(entryPath());
    const FilePath::Place place = FilePath::of(path);
    const auto nothing = [this] {
        return Error { nothingThere, QStringLiteral("%1: it is not registered").arg(entryPath()) };
    };
    if (statusForAll() == Status::enabled) {
        if (status() == Status::notRegistered)
            return nothing();
        if (::geteuid() == 0)
            return Error { notForRoot, QStringLiteral("No login item is registered for root.") };
        if (!FilePath::makeDirectory(place.directory))
            return failed(place.directory, "make the directory", errno);
        return write(path, false);
    }
    const FileDescriptor directory = FilePath::openedDirectory(place.directory);
    if (!directory.isValid())
        return errno == ENOENT || errno == ENOTDIR ? nothing()
                                                   : failed(place.directory, "open the directory", errno);
    AtomicFile::sweepLeftovers(directory.get());

    struct stat state;
    if (::fstatat(directory.get(), place.name.constData(), &state, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? nothing() : failed(path, "look at it", errno);
    if (!S_ISREG(state.st_mode) && !S_ISLNK(state.st_mode))
        return failed(path, "remove", S_ISDIR(state.st_mode) ? EISDIR : EINVAL);

    const Found found = read(directory.get(), place.name, O_NOFOLLOW);
    const DesktopEntry entry = DesktopEntry::parsed(found.bytes);
    if (found.error != 0 || entry.isDamaged() || !entry.holdsOnly(ownKeys))
        return setAside(directory.get(), place.name);
    if (::unlinkat(directory.get(), place.name.constData(), 0) != 0)
        return errno == ENOENT ? nothing() : failed(path, "remove", errno);
    if (const auto failure = AtomicFile::syncDirectory(directory.get()))
        return failed(path, failure.step, failure.error);
    return std::nullopt;
}

} // namespace kestrum
