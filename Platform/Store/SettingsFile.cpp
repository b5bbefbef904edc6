// SPDX-License-Identifier: MIT
// The steps of a save. An interruption of any step loses no settings:
//   1. Follow the symbolic links: some users store their settings files elsewhere and link to them.
//   2. Lock the lock file next to the links' target, so that all links to a target use one lock. Then check the links again.
//   3. Read the file. If another program is saving it, wait a moment. An unreadable file is never replaced.
//   4. Merge the changes.
//   5. If the file is damaged, copy it.
//   6. Replace the file, unless the merge changed nothing (see AtomicFile). If an editor, which knows nothing of the lock, has saved
//      since step 3, go back to step 3.
//   7. Flush the directory.
// Every return closes the lock's descriptor and so releases the lock.

#include "Platform/Store/SettingsFile.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Files/Superuser.h"
#include "Platform/Log/Log.h"
#include "Platform/Store/SettingsLock.h"
#include "Platform/Store/SettingsText.h"

#include <QDir>
#include <QFile>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <utility>

namespace kestrum {

namespace {

using FilePath::nanoseconds;

SettingsFile::Identity identityOf(const struct stat& state)
{
    return { state.st_dev, state.st_ino, state.st_size, nanoseconds(state.st_mtim),
        nanoseconds(state.st_ctim) };
}

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A second write within one tick of the kernel's clock does not change the time stamp. A tick is 10 ms at most.
constexpr std::chrono::nanoseconds twoTicks = 20ms;
// Network file systems may report any file as open, so a file counts as open only for this time after a write.
constexpr std::chrono::nanoseconds longestWriting = 10s;
constexpr Clock::duration longestWaitForWriter = 1s;
constexpr Clock::duration pauseBetweenReadings = 5ms;

bool isWithin(std::chrono::nanoseconds limit, const struct timespec& time)
{
    struct timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    return qAbs(nanoseconds(now) - nanoseconds(time)) < limit.count();
}

SettingsFile::Doubt doubtAbout(int file, const struct stat& state)
{
    if (isWithin(longestWriting, state.st_mtim) && FilePath::isOpenForWriting(file))
        return SettingsFile::Doubt::open;
    const bool isNew = isWithin(SettingsFile::believedAfter, state.st_mtim);
    return isNew ? SettingsFile::Doubt::passing : SettingsFile::Doubt::none;
}

bool hasChangedJustNow(int directory)
{
    struct stat state;
    return ::fstat(directory, &state) == 0 && isWithin(SettingsFile::believedAfter, state.st_mtim);
}

QByteArray lockOf(const QByteArray& path)
{
    return path + ".lock";
}

/// Returns the home that contains `path`, or the nearest existing directory above `path`, if another user owns it. That other
/// user could not read the files that root creates there. Returns nothing if root owns both directories.
std::optional<QByteArray> foreignDirectory(const QByteArray& path)
{
    struct stat state;
    const QByteArray home = QFile::encodeName(QDir::homePath());
    if (path.startsWith(home + '/') && ::stat(home.constData(), &state) == 0 && state.st_uid != ::geteuid())
        return home;
    QByteArray directory = FilePath::split(path).directory;
    while (::stat(directory.constData(), &state) != 0) {
        if (directory == "/")
            return std::nullopt; // the next step of the save fails and returns the reason
        directory = FilePath::split(directory).directory;
    }
    return state.st_uid != ::geteuid() ? std::optional(directory) : std::nullopt;
}

} // namespace

struct SettingsFile::Reading {
    Content content;
    QByteArray bytes;
    struct stat state = {};
    bool exists() const { return content.identity.size >= 0; }
};

QJsonObject SettingsFile::Changes::appliedTo(const QJsonObject& before) const
{
    QJsonObject after = before;
    for (auto change = values.begin(); change != values.end(); ++change)
        after.insert(change.key(), change.value());
    for (const QString& key : removed)
        after.remove(key);
    return after;
}

SettingsFile::SettingsFile(const QString& path, Owner owner)
    : m_path(path)
    , m_owner(owner)
{
}

SettingsFile::Trouble SettingsFile::troubleOf(const Failure& failure)
{
    switch (failure.error) {
    case ENOSPC:
    case EDQUOT:
        return Trouble::diskFull;
    case EACCES:
    case EPERM:
    case EROFS:
        return Trouble::notAllowed;
    case ETIMEDOUT:
        return Trouble::busy;
    default:
        return Trouble::other;
    }
}

QStringList SettingsFile::linkChain() const
{
    QStringList chain;
    const QByteArrayList paths = FilePath::linkChain(QFile::encodeName(m_path));
    for (const QByteArray& path : paths)
        chain.append(QFile::decodeName(path));
    return chain;
}

SettingsFile::Identity SettingsFile::identity() const
{
    struct stat state;
    if (::stat(QFile::encodeName(m_path).constData(), &state) != 0)
        return {};
    return identityOf(state);
}

Result<SettingsFile::Content> SettingsFile::read() const
{
    const auto reading = readAt(AT_FDCWD, QFile::encodeName(m_path), 0);
    return reading ? Result(reading->content) : reading.failure();
}

Result<SettingsFile::Reading> SettingsFile::readAt(int directory, const QByteArray& name, int flags) const
{
    constexpr int attempts = 5;
    const auto refused = [this](const QString& reason, int error = 0) {
        return Failure { QStringLiteral("read"), reason, error, m_path };
    };
    const auto failed = [this](int error = errno) { return Failure::fromErrno("read", error).about(m_path); };
    for (int attempt = 0; attempt < attempts; ++attempt) {
        Reading reading;
        Content& content = reading.content;
        // Non-blocking, because the file may be a pipe.
        FileDescriptor file(
            ::openat(directory, name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
        if (!file.isValid() && errno == ENOENT)
            return reading;
        if (!file.isValid() || ::fstat(file.get(), &reading.state) != 0)
            return failed();
        content.identity = identityOf(reading.state);
        if (S_ISDIR(reading.state.st_mode))
            return failed(EISDIR);
        if (!S_ISREG(reading.state.st_mode))
            return refused(QStringLiteral("Not a regular file"));
        if (m_owner == Owner::ourselves && reading.state.st_uid != ::geteuid())
            return refused(QStringLiteral("It belongs to another user"), EPERM);

        // Decided before the bytes are read: a reader that the kernel stops meanwhile would take a new file for an old one.
        content.isFresh = isWithin(twoTicks, reading.state.st_ctim);
        const auto bytes = FilePath::readAll(file.get(), SettingsText::maximumBytes);
        if (!bytes)
            return bytes.failure().about(m_path);
        struct stat after;
        if (::fstat(file.get(), &after) != 0)
            return failed();
        Identity then = identityOf(after);
        // A file that was replaced meanwhile is still whole: its ctime changes because it has lost its name. Without this, nobody
        // could read while others save without a pause.
        if (after.st_nlink == 0)
            then.changedNs = content.identity.changedNs;
        if (then != content.identity)
            continue;

        const SettingsText::Parsed parsed = SettingsText::parsed(*bytes);
        reading.bytes = *bytes;
        content.values = parsed.values;
        content.damage = parsed.damage;
        const bool isWhole = parsed.damage.isEmpty() && !bytes->trimmed().isEmpty();
        if (!isWhole && m_owner == Owner::ourselves)
            content.doubt = doubtAbout(file.get(), reading.state);
        if (!parsed.damage.isEmpty() && content.doubt != Doubt::open)
            Log::warnOnce(
                logArea, QStringLiteral("%1 is damaged: %2").arg(Log::escaped(m_path), parsed.damage));
        return reading;
    }
    return refused(QStringLiteral("It is being written all the time"), ETIMEDOUT);
}

Result<SettingsFile::Content> SettingsFile::readFirst() const
{
    const FilePath::Parts target
        = FilePath::split(FilePath::linkChain(QFile::encodeName(m_path)).constLast());
    const auto directory = FilePath::openDirectory(target.directory);
    if (!directory)
        return read();
    const QByteArray lock = lockOf(target.name);
    const bool wasSaved = ::faccessat(directory->get(), lock.constData(), F_OK, 0) == 0;
    const auto reading = readSettled(directory->get(), target.name, wasSaved, true);
    return reading ? Result(reading->content) : reading.failure();
}

/// Reads the file repeatedly, for at most 1 s, until no program seems to be saving it. An absent file is read again if
/// `wasSaved` is true and the directory has just changed. A blank or damaged file is read again while a program has it open for
/// writing and, if `mayBeHalf` is false, while the file is new.
Result<SettingsFile::Reading> SettingsFile::readSettled(
    int directory, const QByteArray& name, bool wasSaved, bool mayBeHalf) const
{
    const auto start = Clock::now();
    for (;;) {
        auto reading = readAt(directory, name, O_NOFOLLOW);
        if (!reading)
            return reading;
        const bool isOpen = reading->content.doubt == Doubt::open;
        const bool isPassing = (!reading->exists() && wasSaved && hasChangedJustNow(directory))
            || (reading->content.doubt == Doubt::passing && !mayBeHalf);
        const Clock::duration patience = isOpen ? longestWaitForWriter
            : isPassing                         ? Clock::duration(believedAfter)
                                                : Clock::duration(0);
        if (Clock::now() - start >= patience)
            return reading;
        std::this_thread::sleep_for(pauseBetweenReadings);
    }
}

/// Reads the file, and replaces it by one with `changes`, unless there is no difference. `wasSaved`: as for `readSettled`. The
/// caller holds the lock, and syncs the directory.
SettingsFile::Saved SettingsFile::merged(const Changes& changes, int directory, const FilePath::Parts& target,
    bool wasSaved, AtomicFile::Over over) const
{
    // Other programs do not use the lock. If this save replaced a file that another program has open, the other program would
    // continue to write to the old file.
    const auto before = readSettled(directory, target.name, wasSaved, false);
    if (!before)
        return before.failure();
    if (before->content.doubt == Doubt::open)
        return Failure { QStringLiteral("save"), QStringLiteral("another program is writing it"), ETIMEDOUT,
            m_path };

    Saved saved = before->content;
    const QJsonObject values = changes.appliedTo(before->content.values);
    if (values != before->content.values) {
        const QByteArray text = SettingsText::rewritten(before->bytes, values);
        if (text.size() > SettingsText::maximumBytes)
            return Failure::fromErrno("write", EFBIG).about(m_path);
        if (!before->content.damage.isEmpty()) {
            const auto copy = AtomicFile::copyDamaged(directory, target.name, before->bytes);
            if (!copy)
                return copy.failure().about(m_path);
            Log::warnOnce(logArea,
                QStringLiteral("%1 was damaged and is kept as %2")
                    .arg(Log::escaped(m_path), Log::escaped(QFile::decodeName(*copy))));
        }
        // Whoever made the directory may have been killed before it was on disk.
        if (!before->exists())
            FilePath::syncEntries(target.directory);
        const auto state = AtomicFile::replace(
            directory, target.name, text, before->exists() ? &before->state : nullptr, over);
        if (!state)
            return state.failure().about(m_path);
        saved = Content { values, identityOf(*state), {} };
        saved.changed = true;
    }
    return saved;
}

SettingsFile::Saved SettingsFile::save(const Changes& changes) const
{
    const auto refused = [this](const char* step, const QString& reason, int error = 0) {
        return Failure { QString::fromLatin1(step), reason, error, m_path };
    };
    for (auto change = changes.values.begin(); change != changes.values.end(); ++change) {
        if (!SettingsText::isStorable(change.value()))
            return refused("store", QStringLiteral("%1 has a value that no text can hold").arg(change.key()));
    }

    const QByteArray path = QFile::encodeName(m_path);
    QByteArray targetPath = FilePath::linkChain(path).constLast();
    if (const auto directory = isSuperuser() ? foreignDirectory(targetPath) : std::nullopt)
        return refused("save",
            QStringLiteral("%1 belongs to another user, and root leaves nothing there")
                .arg(QFile::decodeName(*directory)),
            EPERM);
    if (const auto made = FilePath::makeDirectory(FilePath::split(path).directory); !made)
        return made.failure().about(m_path);
    std::optional<SettingsLock> lock;
    for (QByteArray locked; locked != targetPath; targetPath = FilePath::linkChain(path).constLast()) {
        locked = targetPath;
        lock.reset();
        auto acquired = SettingsLock::acquire(lockOf(locked));
        if (!acquired)
            return acquired.failure().about(m_path);
        lock = std::move(*acquired);
    }
    const FilePath::Parts target = FilePath::split(targetPath);
    const auto directory = FilePath::openDirectory(target.directory);
    if (!directory)
        return directory.failure().about(m_path);

    bool wasSaved = !lock->isNew();
    Saved saved = AtomicFile::retried([&](AtomicFile::Over over) {
        return merged(changes, directory->get(), target, std::exchange(wasSaved, true), over);
    });
    if (!saved)
        return saved;
    // The directory is synced even without a change: an earlier save of the same content may have failed in this step.
    if (const auto synced = AtomicFile::syncDirectory(directory->get()); !synced) {
        Saved failed = synced.failure().about(m_path);
        failed.changed = saved.changed;
        return failed;
    }
    return saved;
}

void SettingsFile::sweepLeftovers() const
{
    for (const QString& path : { m_path, linkChain().constLast() }) {
        if (const auto directory
            = FilePath::openDirectory(FilePath::split(QFile::encodeName(path)).directory))
            AtomicFile::sweepLeftovers(directory->get());
    }
}

} // namespace kestrum
