// SPDX-License-Identifier: MIT
// Others change the user's entry too: the desktop's settings switch the entry off, and the user may add a delay or replace the
// file by a link. So this class changes only its own keys, and reads the file again if somebody else saves it in the meantime.
// If the entry is a link, the linked file is changed. An entry with other lines is not deleted when it is switched off, but
// renamed to a name that no desktop reads. Switching the entry on renames the file back. Renaming never replaces a file.
//
// Desktops switch an entry off with the key "Hidden" or GNOME's older key, and some desktops read only one of the two keys. So
// this class reads and writes both keys.
//
// An entry for the whole system counts while the user has no entry of the same name. To switch off such an entry, `unregister`
// writes a user's entry that is switched off and has the key `offByUsKey`. Without this key, the entry would count as switched
// off by the desktop's own settings.

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
constexpr qsizetype mostEntryBytes = 1024 * 1024;

Failure failed(const QByteArray& path, const Failure& failure)
{
    const int error = failure.error;
    const bool isRefused = error == EACCES || error == EPERM || error == EROFS;
    return { failure.step, failure.reason, isRefused ? LoginItemService::refused : -error,
        QFile::decodeName(path) };
}

Failure failed(const QByteArray& path, const char* step, int error)
{
    return failed(path, Failure::fromErrno(step, error));
}

/// Returns `result`. Adds `path` to a failure.
Result<> outcome(const QByteArray& path, const Result<>& result)
{
    return result ? result : failed(path, result.failure());
}

Failure rootRefused()
{
    return { {}, QStringLiteral("No login item is registered for root."), LoginItemService::notForRoot, {} };
}

/// The content of an entry's file, or the error of reading this file.
struct Found {
    int error = 0;    ///< 0 on success, ENOENT if there is no file, else another `errno`
    QByteArray bytes; ///< empty unless `error` is 0
    struct stat state = {};
};

Found read(int directory, const QByteArray& name, int flags)
{
    Found found;
    // Without O_NONBLOCK, opening a pipe would wait for a writer.
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
    if (const auto bytes = FilePath::readAll(file.get(), mostEntryBytes))
        found.bytes = *bytes;
    else
        found.error = bytes.failure().error;
    return found;
}

/// Whether the entry was switched off by `unregister`, and not by the desktop's own settings.
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
    if (isOffByUs(entry))
        return Status::notRegistered;
    if (!AutostartRules::starts(entry, QFile::encodeName(m_program)))
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
        // A switched-off entry for the whole system counts as no entry.
        if (AutostartRules::isOff(entry))
            return Status::notRegistered;
        const bool isOurs = AutostartRules::starts(entry, QFile::encodeName(m_program));
        return isOurs ? Status::enabled : Status::notFound;
    }
    return Status::notRegistered;
}

Result<> LoginItemService::registerItem() const
{
    // Root has no desktop that would start the program, and a user cannot change a file of root in the user's folder.
    if (::geteuid() == 0)
        return rootRefused();
    const QByteArray program = QFile::encodeName(m_program);
    if (!AutostartRules::isProgram(program))
        return Failure { {}, QStringLiteral("it cannot be run"), notTrusted, m_program };
    // If the program is a link, other users must not be able to change the link or its target.
    for (const QByteArray& path : { program, QFile::encodeName(QFileInfo(m_program).canonicalFilePath()) }) {
        if (const auto wayIn = FileTrust::wayInForOthers(path))
            return Failure { {}, *wayIn, notTrusted, {} };
    }

    const QByteArray path = QFile::encodeName(entryPath());
    const FilePath::Parts place = FilePath::split(path);
    if (const auto made = FilePath::makeDirectory(place.directory); !made)
        return failed(place.directory, made.failure());
    const auto directory = FilePath::openDirectory(place.directory);
    if (!directory)
        return failed(place.directory, directory.failure());
    AtomicFile::sweepLeftovers(directory->get());

    const QByteArray switchedOff = place.name + switchedOffSuffix;
    bool comesBack = false;
    for (const QByteArray& name : { place.name, switchedOff }) {
        struct stat state;
        const bool isThere = ::fstatat(directory->get(), name.constData(), &state, AT_SYMLINK_NOFOLLOW) == 0;
        // Only ENOENT means that there is no file. After another error, a new entry could destroy lines that the user wrote.
        if (!isThere && errno != ENOENT)
            return failed(place.directory + '/' + name, "look at it", errno);
        comesBack = isThere && name == switchedOff;
        if (isThere)
            break;
    }
    const auto written = write(place.directory + '/' + (comesBack ? switchedOff : place.name), true);
    if (!comesBack || (!written && written.failure().error != alreadyThere))
        return written;
    return moved(directory->get(), switchedOff, place.name);
}

Result<> LoginItemService::write(const QByteArray& path, bool isOn) const
{
    const FilePath::Parts target = FilePath::split(FilePath::linkChain(path).constLast());
    const auto directory = FilePath::openDirectory(target.directory);
    if (!directory)
        return failed(target.directory, directory.failure());
    const auto written = AtomicFile::retried(
        [&](AtomicFile::Over over) { return write(path, isOn, directory->get(), target.name, over); });
    const bool isRaw = !written && written.failure().error == AtomicFile::changedMeanwhile;
    return isRaw ? failed(path, written.failure()) : written;
}

Result<> LoginItemService::write(
    const QByteArray& path, bool isOn, int directory, const QByteArray& name, AtomicFile::Over over) const
{
    const Found found = read(directory, name, O_NOFOLLOW);
    const bool exists = found.error == 0;
    if (!exists && found.error != ENOENT)
        return failed(path, "read", found.error);

    DesktopEntry entry = DesktopEntry::parsed(found.bytes);
    if (entry.isDamaged()) {
        const auto copy = AtomicFile::copyDamaged(directory, name, found.bytes);
        if (!copy)
            return failed(path, copy.failure());
        Log::warning("loginItem",
            QStringLiteral("%1 was damaged and is kept as %2")
                .arg(Log::escaped(QFile::decodeName(path)), Log::escaped(QFile::decodeName(*copy))));
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
        return Failure { {},
            isOn ? QStringLiteral("it is registered already") : QStringLiteral("it is switched off already"),
            alreadyThere, QFile::decodeName(path) };
    const auto replaced = AtomicFile::replace(directory, name, text, exists ? &found.state : nullptr, over);
    if (!replaced && replaced.failure().error == AtomicFile::changedMeanwhile)
        return replaced.failure();
    if (!replaced)
        return failed(path, replaced.failure());
    return outcome(path, AtomicFile::syncDirectory(directory));
}

Result<> LoginItemService::moved(int directory, const QByteArray& from, const QByteArray& to) const
{
    const QByteArray path = FilePath::split(QFile::encodeName(entryPath())).directory + '/' + from;
    const auto renamed = FilePath::renameToNew(directory, from, to);
    return outcome(path, renamed ? AtomicFile::syncDirectory(directory) : renamed);
}

Result<> LoginItemService::setAside(int directory, const QByteArray& name) const
{
    const QByteArray switchedOff = name + switchedOffSuffix;
    // If the name is taken, the older file gets a numbered name, so that `registerItem` finds the latest file.
    for (int number = 1; number <= mostSetAside; ++number) {
        const auto latest = moved(directory, name, switchedOff);
        if (latest || latest.failure().error != -EEXIST)
            return latest;
        const auto older = moved(directory, switchedOff, switchedOff + '-' + QByteArray::number(number));
        if (!older && older.failure().error != -EEXIST)
            return older;
    }
    return moved(directory, name, switchedOff);
}

Result<> LoginItemService::unregister() const
{
    const QByteArray path = QFile::encodeName(entryPath());
    const FilePath::Parts place = FilePath::split(path);
    const auto nothing = [this] {
        return Failure { {}, QStringLiteral("it is not registered"), nothingThere, entryPath() };
    };
    if (statusForAll() == Status::enabled) {
        if (status() == Status::notRegistered)
            return nothing();
        if (::geteuid() == 0)
            return rootRefused();
        if (const auto made = FilePath::makeDirectory(place.directory); !made)
            return failed(place.directory, made.failure());
        return write(path, false);
    }
    const auto directory = FilePath::openDirectory(place.directory);
    if (!directory) {
        const int error = directory.failure().error;
        return error == ENOENT || error == ENOTDIR ? nothing() : failed(place.directory, directory.failure());
    }
    AtomicFile::sweepLeftovers(directory->get());

    struct stat state;
    if (::fstatat(directory->get(), place.name.constData(), &state, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? nothing() : failed(path, "look at it", errno);
    if (!S_ISREG(state.st_mode) && !S_ISLNK(state.st_mode))
        return failed(path, "remove", S_ISDIR(state.st_mode) ? EISDIR : EINVAL);

    const Found found = read(directory->get(), place.name, O_NOFOLLOW);
    const DesktopEntry entry = DesktopEntry::parsed(found.bytes);
    if (found.error != 0 || entry.isDamaged() || !entry.holdsOnly(ownKeys))
        return setAside(directory->get(), place.name);
    if (::unlinkat(directory->get(), place.name.constData(), 0) != 0)
        return errno == ENOENT ? nothing() : failed(path, "remove", errno);
    return outcome(path, AtomicFile::syncDirectory(directory->get()));
}

} // namespace kestrum
