// How a save goes, and why nothing is lost whatever happens in between:
//   1. follow the symbolic links, for people keep their settings files elsewhere and link them;
//   2. take the lock beside the file itself, which every link to it leads to, so that nobody else's save falls between
//      our reading and our writing; and look whether the links still lead there;
//   3. read what is there now, and wait a moment where somebody else is in the midst of saving it; what cannot be read is
//      never written over;
//   4. merge, and stop when that changes nothing;
//   5. to 7. replace the file (see AtomicFile), with the copy of a damaged one made before.
// The lock ends with the descriptor, on every way out.

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

namespace kestrum {

namespace {

qint64 nanoseconds(const struct timespec& time)
{
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

SettingsFile::Identity identityOf(const struct stat& state)
{
    return { state.st_dev, state.st_ino, state.st_size, nanoseconds(state.st_mtim),
        nanoseconds(state.st_ctim) };
}

SettingsFile::Trouble troubleOf(int error)
{
    using Trouble = SettingsFile::Trouble;
    switch (error) {
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

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// A file may be written once more within the tick of its last time stamp. Ticks are 10 ms at most.
constexpr std::chrono::nanoseconds twoTicks = 20ms;
// File systems of the network may say of any file that it is open, so that counts only for so long after a write.
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

/// The folder because of which root has no business there: what root leaves in a user's home, its user can neither read nor
/// remove. Nothing when there is none.
std::optional<QByteArray> folderOfAnother(const QByteArray& path)
{
    struct stat state;
    const QByteArray home = QFile::encodeName(QDir::homePath());
    if (path.startsWith(home + '/') && ::stat(home.constData(), &state) == 0 && state.st_uid != ::geteuid())
        return home;
    QByteArray folder = FilePath::of(path).directory;
    while (::stat(folder.constData(), &state) != 0) {
        if (folder == "/")
            return std::nullopt; // whatever is wrong there shows in the next step
        folder = FilePath::of(folder).directory;
    }
    return state.st_uid != ::geteuid() ? std::optional(folder) : std::nullopt;
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

QString SettingsFile::targetPath() const
{
    return trail().constLast();
}

QStringList SettingsFile::trail() const
{
    QStringList paths;
    const QByteArrayList places = FilePath::wayTo(QFile::encodeName(m_path));
    for (const QByteArray& place : places)
        paths.append(QFile::decodeName(place));
    return paths;
}

SettingsFile::Identity SettingsFile::identity() const
{
    struct stat state;
    if (::stat(QFile::encodeName(m_path).constData(), &state) != 0)
        return {};
    return identityOf(state);
}

SettingsFile::Content SettingsFile::read() const
{
    return readAt(AT_FDCWD, QFile::encodeName(m_path), 0).content;
}

QString SettingsFile::told(const char* step, const QString& reason) const
{
    return QStringLiteral("%1: cannot %2: %3").arg(m_path, QString::fromLatin1(step), reason);
}

SettingsFile::Reading SettingsFile::readAt(int directory, const QByteArray& name, int flags) const
{
    constexpr int attempts = 5;
    Reading reading;
    const auto refused = [&](const QString& reason, Trouble trouble = Trouble::other) {
        reading.content.error = told("read", reason);
        reading.content.trouble = trouble;
        return reading;
    };
    const auto failed = [&refused](int error) { return refused(qt_error_string(error), troubleOf(error)); };
    for (int attempt = 0; attempt < attempts; ++attempt) {
        reading = {};
        // Not blocking: there may be a pipe.
        FileDescriptor file(
            ::openat(directory, name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | flags));
        if (!file.isValid())
            return errno == ENOENT ? reading : failed(errno);
        if (::fstat(file.get(), &reading.state) != 0)
            return failed(errno);
        reading.content.identity = identityOf(reading.state);
        if (!S_ISREG(reading.state.st_mode))
            return refused(S_ISDIR(reading.state.st_mode) ? qt_error_string(EISDIR)
                                                          : QStringLiteral("Not a regular file"));
        if (m_owner == Owner::ourselves && reading.state.st_uid != ::geteuid())
            return refused(QStringLiteral("It belongs to another user"), Trouble::notAllowed);

        const auto bytes = FilePath::bytesOf(file.get(), SettingsText::maximumBytes);
        if (!bytes)
            return failed(errno);
        struct stat after;
        if (::fstat(file.get(), &after) != 0)
            return failed(errno);
        if (identityOf(after) != reading.content.identity)
            continue;

        SettingsText::Parsed parsed = SettingsText::parsed(*bytes);
        reading.bytes = *bytes;
        reading.content.values = parsed.values;
        reading.content.damage = parsed.damage;
        reading.content.isFresh = isWithin(twoTicks, reading.state.st_ctim);
        const bool isWhole = parsed.damage.isEmpty() && !bytes->trimmed().isEmpty();
        if (!isWhole && m_owner == Owner::ourselves)
            reading.content.doubt = doubtAbout(file.get(), reading.state);
        if (!parsed.damage.isEmpty() && reading.content.doubt != Doubt::open)
            Log::warnOnce(
                logArea, QStringLiteral("%1 is damaged: %2").arg(Log::escaped(m_path), parsed.damage));
        return reading;
    }
    return refused(QStringLiteral("It is being written all the time"), Trouble::busy);
}

SettingsFile::Content SettingsFile::readFirst() const
{
    const FilePath::Place target = FilePath::of(FilePath::wayTo(QFile::encodeName(m_path)).constLast());
    const FileDescriptor directory = FilePath::openedDirectory(target.directory);
    const QByteArray lock = lockOf(target.name);
    const bool wasSaved = directory.isValid() && ::faccessat(directory.get(), lock.constData(), F_OK, 0) == 0;
    return directory.isValid() ? readSettled(directory.get(), target.name, wasSaved, true).content : read();
}

/// Reads until there is no doubt, or waiting has not removed it. A file that `wasSaved` at some time is waited for when its
/// directory has changed just now; one that is not whole unless it `mayBeHalf`, except where it is open.
SettingsFile::Reading SettingsFile::readSettled(
    int directory, const QByteArray& name, bool wasSaved, bool mayBeHalf) const
{
    const auto start = Clock::now();
    for (;;) {
        Reading reading = readAt(directory, name, O_NOFOLLOW);
        const bool isAway = reading.content.error.isEmpty() && !reading.exists();
        const bool isOpen = reading.content.doubt == Doubt::open;
        const bool isPassing = (isAway && wasSaved && hasChangedJustNow(directory))
            || (reading.content.doubt == Doubt::passing && !mayBeHalf);
        const Clock::duration patience = isOpen ? longestWaitForWriter
            : isPassing                         ? Clock::duration(believedAfter)
                                                : Clock::duration(0);
        if (Clock::now() - start >= patience)
            return reading;
        std::this_thread::sleep_for(pauseBetweenReadings);
    }
}

SettingsFile::Saved SettingsFile::save(const Changes& changes) const
{
    Saved saved;
    const auto failed = [&](const char* step, int error) {
        saved.error = told(step, qt_error_string(error));
        saved.trouble = troubleOf(error);
        return saved;
    };

    for (auto change = changes.values.begin(); change != changes.values.end(); ++change) {
        if (!SettingsText::isStorable(change.value())) {
            saved.error
                = told(logArea, QStringLiteral("%1 has a value that no text can hold").arg(change.key()));
            saved.trouble = Trouble::other;
            return saved;
        }
    }

    const QByteArray path = QFile::encodeName(m_path);
    QByteArray targetPath = FilePath::wayTo(path).constLast();
    if (const auto folder = isSuperuser() ? folderOfAnother(targetPath) : std::nullopt) {
        saved.error = told("save",
            QStringLiteral("%1 belongs to another user, and root leaves nothing there")
                .arg(QFile::decodeName(*folder)));
        saved.trouble = Trouble::notAllowed;
        return saved;
    }
    if (!FilePath::makeDirectory(FilePath::of(path).directory))
        return failed("make the directory", errno);
    std::optional<SettingsLock> lock;
    for (QByteArray locked; locked != targetPath; targetPath = FilePath::wayTo(path).constLast()) {
        locked = targetPath;
        lock.emplace(lockOf(locked));
        if (!lock->isHeld())
            return failed(errno == ENOENT ? "open the directory" : "lock", errno);
    }
    const FilePath::Place target = FilePath::of(targetPath);
    const FileDescriptor directory = FilePath::openedDirectory(target.directory);
    if (!directory.isValid())
        return failed("open the directory", errno);

    // Who is saving the file takes no lock, and would go on in a file that has no name any more.
    const Reading before = readSettled(directory.get(), target.name, !lock->isNew(), false);
    saved.content = before.content;
    saved.error = before.content.error;
    saved.trouble = before.content.trouble;
    if (before.content.doubt == Doubt::open) {
        saved.error = told("save", QStringLiteral("another program is writing it"));
        saved.trouble = Trouble::busy;
    }
    if (!saved.error.isEmpty())
        return saved;

    const QJsonObject values = changes.appliedTo(before.content.values);
    if (values == before.content.values) {
        // A save before may have failed only in bringing this very content's directory entry to disk.
        if (const auto failure = AtomicFile::syncDirectory(directory.get()))
            return failed(failure.step, failure.error);
        saved.succeeded = true;
        return saved;
    }
    const QByteArray text = SettingsText::rewritten(before.bytes, values);
    if (text.size() > SettingsText::maximumBytes)
        return failed("write", EFBIG);

    if (!before.content.damage.isEmpty()) {
        QByteArray copy;
        if (const auto failure = AtomicFile::keepDamaged(directory.get(), target.name, before.bytes, &copy))
            return failed(failure.step, failure.error);
        Log::warnOnce(logArea,
            QStringLiteral("%1 was damaged and is kept as %2")
                .arg(Log::escaped(m_path), Log::escaped(QFile::decodeName(copy))));
    }

    const auto result
        = AtomicFile::replace(directory.get(), target.name, text, before.exists() ? &before.state : nullptr);
    saved.changed = result.isInPlace;
    if (result.isInPlace) {
        saved.content = {};
        saved.content.values = values;
        saved.content.identity = identityOf(result.state);
    }
    if (result.failure)
        return failed(result.failure.step, result.failure.error);
    saved.succeeded = true;
    return saved;
}

void SettingsFile::sweepLeftovers() const
{
    const QStringList paths { m_path, targetPath() };
    for (const QString& path : paths) {
        const FileDescriptor directory
            = FilePath::openedDirectory(FilePath::of(QFile::encodeName(path)).directory);
        if (directory.isValid())
            AtomicFile::sweepLeftovers(directory.get());
    }
}

} // namespace kestrum
