// SPDX-License-Identifier: MIT
// QSaveFile is not used, because it ignores a failed flush and reports success on a full disk.

#include "Platform/Files/AtomicFile.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FilePath.h"

#include <QRandomGenerator>
#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace kestrum {

namespace {

// A temporary name does not contain the file's name, which may already have the maximum length.
constexpr char temporaryPrefix[] = ".kestrum-";
constexpr qsizetype temporaryDigits = 16;
constexpr time_t leftoverAge = 3600;

QByteArray temporaryName(quint64 number = QRandomGenerator::global()->generate64())
{
    return temporaryPrefix + QByteArray::number(number, 16).rightJustified(temporaryDigits, '0') + ".tmp";
}

bool isTemporaryName(const QByteArray& name)
{
    const QByteArray digits = name.mid(sizeof temporaryPrefix - 1, temporaryDigits);
    return name == temporaryName(digits.toULongLong(nullptr, 16));
}

bool writeAll(int file, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(file, bytes.data(), size_t(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO;
        if (written <= 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

/// Gives `file` the mode and group of `existing`. If this process may not set the group, the group gets no access rights.
bool copyPermissions(int file, const struct stat& existing)
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

Result<struct stat> fill(FileDescriptor& file, QByteArrayView bytes, const struct stat* existing)
{
    if (existing && !copyPermissions(file.get(), *existing))
        return Failure::fromErrno("keep the permissions");
    if (!writeAll(file.get(), bytes))
        return Failure::fromErrno("write");
    // Two saves within one tick of the kernel's clock would get equal time stamps. If the second file also had the inode number
    // of the first, no reader could see the change. If the exact time cannot be set, the kernel's time stamp is good enough.
    (void)FilePath::setExactTime(file.get(), nullptr);
    if (::fsync(file.get()) != 0)
        return Failure::fromErrno("bring to disk");
    struct stat state;
    if (::fstat(file.get(), &state) != 0 || !file.close())
        return Failure::fromErrno("close");
    return state;
}

FileDescriptor makeFile(int directory, const QByteArray& name)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    return FileDescriptor(::openat(directory, name.constData(), flags, 0600));
}

/// Whether `name` is still the file `existing` with its content; for null, whether there is still no such file.
bool isUnchanged(int directory, const QByteArray& name, const struct stat* existing)
{
    struct stat now;
    if (::fstatat(directory, name.constData(), &now, AT_SYMLINK_NOFOLLOW) != 0)
        return !existing && errno == ENOENT;
    return existing && now.st_dev == existing->st_dev && now.st_ino == existing->st_ino
        && now.st_size == existing->st_size
        && FilePath::nanoseconds(now.st_mtim) == FilePath::nanoseconds(existing->st_mtim)
        && FilePath::nanoseconds(now.st_ctim) == FilePath::nanoseconds(existing->st_ctim);
}

bool hasContent(int directory, const QByteArray& name, QByteArrayView bytes)
{
    FileDescriptor file(
        ::openat(directory, name.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat state;
    if (!file.isValid() || ::fstat(file.get(), &state) != 0 || !S_ISREG(state.st_mode)
        || state.st_size != bytes.size())
        return false;
    const auto content = FilePath::readAll(file.get(), bytes.size());
    return content && *content == bytes;
}

} // namespace

Result<> AtomicFile::syncDirectory(int directory)
{
    // On some file systems, a directory cannot be synced: `fsync` fails with EINVAL. There, the rename is enough.
    if (::fsync(directory) != 0 && errno != EINVAL)
        return Failure::fromErrno("bring the directory to disk");
    return {};
}

Result<struct stat> AtomicFile::replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing, Over over)
{
    const QByteArray temporary = temporaryName();
    FileDescriptor file = makeFile(directory, temporary);
    if (!file.isValid())
        return Failure::fromErrno("make a temporary file");
    auto state = fill(file, bytes, existing);
    // Bringing the new file to disk takes long enough for an editor to save. No system call replaces a file on a condition: what
    // another program saves in the next microsecond is lost.
    if (state && over == Over::readFile && !isUnchanged(directory, name, existing))
        state = Failure::fromErrno("replace", changedMeanwhile);
    if (state && ::renameat(directory, temporary.constData(), directory, name.constData()) != 0)
        state = Failure::fromErrno("replace");
    if (!state) {
        ::unlinkat(directory, temporary.constData(), 0);
        return state;
    }
    // The rename has changed the inode's ctime, so the file's state is read again. If another program has replaced the file
    // since the rename, the older state is returned. The older state matches no file on disk.
    struct stat now;
    const bool isOurs = ::fstatat(directory, name.constData(), &now, AT_SYMLINK_NOFOLLOW) == 0
        && now.st_dev == state->st_dev && now.st_ino == state->st_ino && now.st_size == state->st_size
        && FilePath::nanoseconds(now.st_mtim) == FilePath::nanoseconds(state->st_mtim);
    return isOurs ? now : state;
}

Result<bool> AtomicFile::replaceFile(const QByteArray& path, QByteArrayView bytes)
{
    struct stat state;
    const bool exists = ::stat(path.constData(), &state) == 0;
    // Only ENOENT proves that there is no file to preserve.
    if (!exists && errno != ENOENT)
        return Failure::fromErrno("look at it");
    if (exists && !S_ISREG(state.st_mode))
        return false;
    // A rename would replace even a file that this process may not write to.
    if (exists && ::faccessat(AT_FDCWD, path.constData(), W_OK, AT_EACCESS) != 0)
        return Failure::fromErrno("write");
    const FilePath::Parts target = FilePath::split(FilePath::linkChain(path).constLast());
    const auto directory = FilePath::openDirectory(target.directory);
    if (!directory)
        return directory.failure();
    if (const auto made
        = replace(directory->get(), target.name, bytes, exists ? &state : nullptr, Over::anything);
        !made)
        return made.failure();
    if (const auto synced = syncDirectory(directory->get()); !synced)
        return synced.failure();
    return true;
}

Result<QByteArray> AtomicFile::copyDamaged(int directory, const QByteArray& name, QByteArrayView bytes)
{
    static constexpr char step[] = "keep a copy of the damaged file";
    constexpr int lastNumber = 999;
    const auto numbered
        = [&name](int number) { return QByteArray(name + ".damaged-" + QByteArray::number(number)); };
    int number = 1;
    struct stat state;
    for (; ::fstatat(directory, numbered(number).constData(), &state, AT_SYMLINK_NOFOLLOW) == 0; ++number) {
        if (hasContent(directory, numbered(number), bytes))
            return numbered(number);
        if (number == lastNumber)
            return Failure::fromErrno(step, EEXIST);
    }
    if (errno != ENOENT)
        return Failure::fromErrno(step);

    // The copy gets its final name only when it is complete. A partial copy would look like the complete old content.
    const QByteArray temporary = temporaryName();
    FileDescriptor file = makeFile(directory, temporary);
    if (!file.isValid())
        return Failure::fromErrno(step);
    if (const auto filled = fill(file, bytes, nullptr); !filled) {
        ::unlinkat(directory, temporary.constData(), 0);
        return filled.failure();
    }
    if (const auto renamed = FilePath::renameToNew(directory, temporary, numbered(number)); !renamed) {
        ::unlinkat(directory, temporary.constData(), 0);
        return Failure::fromErrno(step, renamed.failure().error);
    }
    if (const auto synced = syncDirectory(directory); !synced)
        return synced.failure();
    return numbered(number);
}

void AtomicFile::sweepLeftovers(int directory)
{
    // `closedir` closes this descriptor.
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
