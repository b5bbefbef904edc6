#include "Platform/Files/AtomicFile.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FilePath.h"

#include <QRandomGenerator>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace kestrum {

namespace {

using AtomicFile::Failure;

// The name does not depend on the file's, which may be as long as a name can be.
constexpr char temporaryPrefix[] = ".kestrum-";
constexpr char temporarySuffix[] = ".tmp";
constexpr qsizetype temporaryDigits = 16;
constexpr time_t leftoverAge = 3600;

QByteArray temporaryName()
{
    const QByteArray number = QByteArray::number(QRandomGenerator::global()->generate64(), 16);
    return temporaryPrefix + number.rightJustified(temporaryDigits, '0') + temporarySuffix;
}

bool isTemporaryName(const QByteArray& name)
{
    constexpr qsizetype length = sizeof temporaryPrefix + temporaryDigits + sizeof temporarySuffix - 2;
    if (name.size() != length || !name.startsWith(temporaryPrefix) || !name.endsWith(temporarySuffix))
        return false;
    const QByteArray digits = name.mid(sizeof temporaryPrefix - 1, temporaryDigits);
    return std::all_of(digits.begin(), digits.end(),
        [](char digit) { return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f'); });
}

Failure failed(const char* step)
{
    return { step, errno };
}

bool writeAll(int file, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file, bytes.data(), size_t(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            if (written == 0)
                errno = EIO;
            return false;
        }
        bytes = bytes.sliced(written);
    }
    return true;
}

/// The same mode and group as before. Where the group cannot be given, nobody of another one gets in instead.
bool takeOver(int file, const struct stat& existing)
{
    struct stat made;
    if (::fstat(file, &made) != 0)
        return false;
    mode_t mode = existing.st_mode & 0777;
    if (made.st_gid != existing.st_gid && ::fchown(file, uid_t(-1), existing.st_gid) != 0) {
        if (errno != EPERM)
            return false;
        mode &= ~mode_t(S_IRWXG);
    }
    return mode == (made.st_mode & 0777) || ::fchmod(file, mode) == 0;
}

/// The kernel stamps files with the time of its last tick, some milliseconds old. Two saves in one tick, with
/// the inode of the one before used again, would look the same; so each save gets the exact time. Where that
/// is not possible the kernel's stamp has to do.
void stampExactly(int file)
{
    struct timespec times[2];
    ::clock_gettime(CLOCK_REALTIME, &times[0]);
    times[1] = times[0];
    (void)::futimens(file, times);
}

Failure fill(FileDescriptor& file, QByteArrayView bytes, const struct stat* existing, struct stat* state)
{
    if (existing && !takeOver(file.get(), *existing))
        return failed("keep the permissions");
    if (!writeAll(file.get(), bytes))
        return failed("write");
    stampExactly(file.get());
    if (::fsync(file.get()) != 0)
        return failed("bring to disk");
    if (::fstat(file.get(), state) != 0 || !file.close())
        return failed("close");
    return {};
}

FileDescriptor openedNew(int directory, const QByteArray& name)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return FileDescriptor(::openat(directory, name.constData(), flags, 0600));
}

bool holds(int directory, const QByteArray& name, QByteArrayView bytes)
{
    FileDescriptor file(
        ::openat(directory, name.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat state;
    if (!file.isValid() || ::fstat(file.get(), &state) != 0 || !S_ISREG(state.st_mode)
        || state.st_size != bytes.size())
        return false;
    QByteArray content(bytes.size(), Qt::Uninitialized);
    qsizetype size = 0;
    while (size < content.size()) {
        const ssize_t count = ::read(file.get(), content.data() + size, size_t(content.size() - size));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        size += count;
    }
    return content == bytes;
}

} // namespace

Failure AtomicFile::syncDirectory(int directory)
{
    // Some file systems cannot, and say so; they need no more than the rename.
    if (::fsync(directory) != 0 && errno != EINVAL)
        return failed("bring the directory to disk");
    return {};
}

AtomicFile::Result AtomicFile::replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing)
{
    Result result;
    const QByteArray temporary = temporaryName();
    FileDescriptor file = openedNew(directory, temporary);
    if (!file.isValid()) {
        result.failure = failed("make a temporary file");
        return result;
    }
    result.failure = fill(file, bytes, existing, &result.state);
    if (!result.failure && ::renameat(directory, temporary.constData(), directory, name.constData()) != 0)
        result.failure = failed("replace");
    if (result.failure) {
        ::unlinkat(directory, temporary.constData(), 0);
        return result;
    }

    result.isInPlace = true;
    // The rename has changed the inode's ctime. If somebody has replaced the file since, what was known
    // before the rename stays, which equals nothing that is on disk.
    struct stat now;
    if (::fstatat(directory, name.constData(), &now, AT_SYMLINK_NOFOLLOW) == 0
        && now.st_dev == result.state.st_dev && now.st_ino == result.state.st_ino
        && now.st_size == result.state.st_size && now.st_mtim.tv_sec == result.state.st_mtim.tv_sec
        && now.st_mtim.tv_nsec == result.state.st_mtim.tv_nsec)
        result.state = now;
    result.failure = syncDirectory(directory);
    return result;
}

std::optional<Failure> AtomicFile::replaceFile(const QByteArray& path, QByteArrayView bytes)
{
    struct stat state;
    const bool exists = ::stat(path.constData(), &state) == 0;
    // Only what is certain not to be there has nothing that must be kept.
    if (!exists && errno != ENOENT)
        return failed("look at it");
    if (exists && !S_ISREG(state.st_mode))
        return std::nullopt;
    // Replacing it takes no right to write to it.
    if (exists && ::faccessat(AT_FDCWD, path.constData(), W_OK, AT_EACCESS) != 0)
        return failed("write");
    const FilePath::Place target = FilePath::of(FilePath::wayTo(path).constLast());
    const FileDescriptor directory = FilePath::openedDirectory(target.directory);
    if (!directory.isValid())
        return failed("open the directory");
    return replace(directory.get(), target.name, bytes, exists ? &state : nullptr).failure;
}

Failure AtomicFile::keepDamaged(int directory, const QByteArray& name, QByteArrayView bytes, QByteArray* copy)
{
    static constexpr char step[] = "keep a copy of the damaged file";
    constexpr int lastNumber = 999;
    const auto numbered
        = [&name](int number) { return QByteArray(name + ".damaged-" + QByteArray::number(number)); };
    int number = 1;
    struct stat state;
    for (; ::fstatat(directory, numbered(number).constData(), &state, AT_SYMLINK_NOFOLLOW) == 0; ++number) {
        *copy = numbered(number);
        if (holds(directory, *copy, bytes))
            return {};
        if (number == lastNumber)
            return { step, EEXIST };
    }
    if (errno != ENOENT)
        return failed(step);

    // It gets its name when it is whole: an interrupted copy would pass for what the file once held.
    const QByteArray temporary = temporaryName();
    FileDescriptor file = openedNew(directory, temporary);
    if (!file.isValid())
        return failed(step);
    Failure failure = fill(file, bytes, nullptr, &state);
    if (!failure) {
        *copy = numbered(number);
        if (FilePath::renameToNew(directory, temporary, *copy))
            return syncDirectory(directory);
        failure = failed(step);
    }
    ::unlinkat(directory, temporary.constData(), 0);
    return failure;
}

void AtomicFile::sweepLeftovers(int directory)
{
    // The listing needs a descriptor that it may close.
    const int listed = ::openat(directory, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listed < 0)
        return;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(listed), ::closedir);
    if (!listing) {
        ::close(listed);
        return;
    }
    const time_t now = ::time(nullptr);
    while (const struct dirent* entry = ::readdir(listing.get())) {
        struct stat state;
        const QByteArray name(entry->d_name);
        if (isTemporaryName(name) && ::fstatat(directory, entry->d_name, &state, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISREG(state.st_mode) && state.st_uid == ::geteuid() && now - state.st_mtime > leftoverAge)
            ::unlinkat(directory, entry->d_name, 0);
    }
}

} // namespace kestrum
