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

FilePath::Place FilePath::of(const QByteArray& path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return { QByteArrayLiteral("."), path };
    return { slash == 0 ? QByteArrayLiteral("/") : path.left(slash), path.mid(slash + 1) };
}

QByteArrayList FilePath::wayTo(const QByteArray& path)
{
    constexpr qsizetype mostLinks = 40;
    QByteArrayList places;
    QByteArrayList ahead = path.split('/');
    QByteArray reached; // "" is the root
    if (!path.startsWith('/'))
        ahead = QFile::encodeName(QDir::currentPath()).split('/') + ahead;
    char link[PATH_MAX];
    while (!ahead.isEmpty()) {
        const QByteArray name = ahead.takeFirst();
        if (name.isEmpty() || name == ".")
            continue;
        if (name == "..") {
            reached.truncate(qMax<qsizetype>(reached.lastIndexOf('/'), 0));
            continue;
        }
        const QByteArray place = reached + '/' + name;
        const ssize_t length
            = places.size() < mostLinks ? ::readlink(place.constData(), link, sizeof link) : 0;
        if (length <= 0) {
            reached = place;
            continue;
        }
        places.append(place);
        const QByteArray target(link, length);
        if (target.startsWith('/'))
            reached.clear();
        ahead = target.split('/') + ahead;
    }
    places.append(reached);
    return places;
}

FileDescriptor FilePath::openedDirectory(const QByteArray& path)
{
    return FileDescriptor(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool FilePath::makeDirectory(const QByteArray& path)
{
    if (::mkdir(path.constData(), 0700) != 0) {
        if (errno == EEXIST)
            return true; // what is no directory is told by whoever uses it
        if (errno != ENOENT || of(path).directory == path)
            return false;
        if (!makeDirectory(of(path).directory) || (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST))
            return false;
    }
    const FileDescriptor parent = openedDirectory(of(path).directory);
    return parent.isValid() && !AtomicFile::syncDirectory(parent.get());
}

bool FilePath::renameToNew(int directory, const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(directory, from.constData(), directory, to.constData(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // Network file systems cannot. With a second name there is a moment in which the entry has both, but never one in which it
    // is lost.
    return ::linkat(directory, from.constData(), directory, to.constData(), 0) == 0
        && ::unlinkat(directory, from.constData(), 0) == 0;
}

bool FilePath::isOpenForWriting(int file)
{
    // A lease for reading is given on files only that nobody has open for writing. Who is about to do so waits for the moment in
    // which we have it, and we are sent a signal: one that is ignored, instead of the usual, which ends a process.
    ::fcntl(file, F_SETSIG, SIGURG);
    if (::fcntl(file, F_SETLEASE, F_RDLCK) != 0)
        return errno == EAGAIN;
    ::fcntl(file, F_SETLEASE, F_UNLCK);
    return false;
}

std::optional<QByteArray> FilePath::bytesOf(int file, qsizetype most)
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
            return std::nullopt;
    }
    errno = EFBIG;
    return std::nullopt;
}

} // namespace kestrum
