// SPDX-License-Identifier: MIT
#include "Platform/Files/FilePath.h"

#include "Platform/Files/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <climits>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace kestrum {

QString FilePath::configDirectory()
{
    const QString directory = qEnvironmentVariable("XDG_CONFIG_HOME");
    return QDir::isAbsolutePath(directory) ? directory : QDir::homePath() + QStringLiteral("/.config");
}

QStringList FilePath::systemConfigDirectories()
{
    QString directories = qEnvironmentVariable("XDG_CONFIG_DIRS");
    if (directories.isEmpty())
        directories = QStringLiteral("/etc/xdg");
    QStringList list = directories.split(u':', Qt::SkipEmptyParts);
    list.removeIf([](const QString& directory) { return !QDir::isAbsolutePath(directory); });
    return list;
}

FilePath::Parts FilePath::split(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return { QByteArrayLiteral("."), path };
    return { slash == 0 ? QByteArrayLiteral("/") : path.left(slash), path.mid(slash + 1) };
}

QByteArrayList FilePath::linkChain(const QByteArray& path)
{
    constexpr qsizetype mostLinks = 40;
    QByteArrayList chain;
    QByteArrayList remaining = path.split('/');
    QByteArray resolved; // "" is the root
    if (!path.startsWith('/'))
        remaining = QFile::encodeName(QDir::currentPath()).split('/') + remaining;
    char target[PATH_MAX];
    while (!remaining.isEmpty()) {
        const QByteArray name = remaining.takeFirst();
        if (name.isEmpty() || name == ".")
            continue;
        if (name == "..") {
            resolved.truncate(qMax<qsizetype>(resolved.lastIndexOf('/'), 0));
            continue;
        }
        const QByteArray next = resolved + '/' + name;
        const ssize_t length
            = chain.size() < mostLinks ? ::readlink(next.constData(), target, sizeof target) : 0;
        if (length <= 0) {
            resolved = next;
            continue;
        }
        chain.append(next);
        if (target[0] == '/')
            resolved.clear();
        remaining = QByteArray(target, length).split('/') + remaining;
    }
    chain.append(resolved);
    return chain;
}

Result<FileDescriptor> FilePath::openDirectory(const QByteArray& path)
{
    FileDescriptor directory(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory.isValid())
        return Failure::fromErrno("open the directory");
    return directory;
}

Result<> FilePath::makeDirectory(const QByteArray& path)
{
    static constexpr char step[] = "make the directory";
    const QByteArray parent = split(path).directory;
    int made = ::mkdir(path.constData(), 0700);
    if (made != 0 && errno == EEXIST)
        return {};
    if (made != 0 && errno == ENOENT && parent != path) {
        if (auto parents = makeDirectory(parent); !parents)
            return parents;
        made = ::mkdir(path.constData(), 0700);
    }
    if (made != 0 && errno != EEXIST)
        return Failure::fromErrno(step);
    const auto opened = openDirectory(parent);
    const auto synced = opened ? AtomicFile::syncDirectory(opened->get()) : opened.failure();
    return synced ? synced : Failure::fromErrno(step, synced.failure().error);
}

void FilePath::syncEntries(const QByteArray& path)
{
    const QByteArray parent = split(path).directory;
    for (const QByteArray& holder : { parent, split(parent).directory }) {
        if (const auto directory = openDirectory(holder))
            (void)AtomicFile::syncDirectory(directory->get());
    }
}

Result<> FilePath::renameToNew(int directory, const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(directory, from.constData(), directory, to.constData(), RENAME_NOREPLACE) == 0)
        return {};
    // Network file systems lack RENAME_NOREPLACE. With a hard link, the entry has both names for a moment, but is never lost.
    const bool hasNoCall = errno == EINVAL || errno == ENOSYS;
    if (hasNoCall && ::linkat(directory, from.constData(), directory, to.constData(), 0) == 0
        && ::unlinkat(directory, from.constData(), 0) == 0)
        return {};
    return Failure::fromErrno("rename");
}

bool FilePath::isOpenForWriting(int file)
{
    // The kernel grants a read lease only if no process has the file open for writing. If a process opens the file for writing
    // during the lease, the kernel signals this process. The default signal would end this process; SIGURG is ignored.
    ::fcntl(file, F_SETSIG, SIGURG);
    if (::fcntl(file, F_SETLEASE, F_RDLCK) != 0)
        return errno == EAGAIN;
    ::fcntl(file, F_SETLEASE, F_UNLCK);
    return false;
}

bool FilePath::setExactTime(int directory, const char* path)
{
    struct timespec times[2];
    ::clock_gettime(CLOCK_REALTIME, &times[0]);
    times[1] = times[0];
    const int result
        = path ? ::utimensat(directory, path, times, AT_SYMLINK_NOFOLLOW) : ::futimens(directory, times);
    return result == 0;
}

Result<QByteArray> FilePath::readAll(int file, qsizetype most)
{
    constexpr qsizetype step = 16 * 1024;
    QByteArray bytes;
    while (bytes.size() <= most) {
        const qsizetype size = bytes.size();
        bytes.resize(size + step);
        const ssize_t count = ::read(file, bytes.data() + size, size_t(step));
        bytes.resize(size + qMax<ssize_t>(count, 0));
        if (count == 0)
            return bytes;
        if (count < 0 && errno != EINTR)
            return Failure::fromErrno("read");
    }
    return Failure::fromErrno("read", EFBIG);
}

} // namespace kestrum
