// SPDX-License-Identifier: MIT
#include "Platform/Files/RuntimeDirectory.h"

#include "Platform/Log/Log.h"

#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <sys/stat.h>

namespace kestrum {

namespace {

constexpr char ownName[] = "kestrum";

// Opens `name` below `parent`. Checks owner and mode of the open directory: a path could be replaced between check and use.
Result<FileDescriptor> openPrivate(int parent, const QByteArray& name)
{
    FileDescriptor directory(
        ::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    struct stat state;
    if (!directory.isValid() && (errno == ENOTDIR || errno == ELOOP))
        return Failure::withReason(QStringLiteral("it is not a directory"));
    if (!directory.isValid() || ::fstat(directory.get(), &state) != 0)
        return Failure::withReason(qt_error_string(errno));
    if (state.st_uid != ::geteuid())
        return Failure::withReason(QStringLiteral("it belongs to another user"));
    if ((state.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return Failure::withReason(QStringLiteral("others may enter it (mode %1)")
                                       .arg(state.st_mode & 07777, 4, 8, QLatin1Char('0')));
    return directory;
}

Result<FileDescriptor> makePrivate(int parent, const QByteArray& name)
{
    if (::mkdirat(parent, name.constData(), S_IRWXU) != 0 && errno != EEXIST)
        return Failure::withReason(qt_error_string(errno));
    return openPrivate(parent, name);
}

// $XDG_RUNTIME_DIR as the process found it. Never destroyed, as `shared`.
const QString& sessionRoot()
{
    static const auto* const root = new QString(QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")));
    return *root;
}

QString pathIn(const QString& root)
{
    return root + QLatin1Char('/') + QLatin1StringView(ownName);
}

} // namespace

const Result<RuntimeDirectory>& RuntimeDirectory::shared()
{
    // Never destroyed, because signals may be posted while other static objects of the process are destroyed.
    static const auto* const directory = new Result<RuntimeDirectory>(open(sessionRoot()));
    return *directory;
}

Result<RuntimeDirectory> RuntimeDirectory::reopen()
{
    return open(sessionRoot());
}

QString RuntimeDirectory::expectedPath()
{
    return QDir::isAbsolutePath(sessionRoot()) ? pathIn(QDir::cleanPath(sessionRoot())) : QString();
}

Result<RuntimeDirectory> RuntimeDirectory::open(const QString& root)
{
    if (root.isEmpty())
        return Failure::withReason(QStringLiteral("XDG_RUNTIME_DIR is not set"));
    if (!QDir::isAbsolutePath(root))
        return Failure::withReason(
            QStringLiteral("XDG_RUNTIME_DIR is not an absolute path: %1").arg(Log::escaped(root)));
    RuntimeDirectory opened;
    // A final "/" or "/." would make the kernel follow a symbolic link in spite of O_NOFOLLOW.
    opened.m_rootPath = QDir::cleanPath(root);
    auto parent = openPrivate(AT_FDCWD, QFile::encodeName(opened.m_rootPath));
    if (!parent)
        return parent.failure().about(Log::escaped(opened.m_rootPath));
    auto directory = makePrivate(parent->get(), ownName);
    if (!directory)
        return directory.failure().about(Log::escaped(opened.path()));
    opened.m_root = std::move(*parent);
    opened.m_directory = std::move(*directory);
    return opened;
}

QString RuntimeDirectory::path() const
{
    return pathIn(m_rootPath);
}

Result<FileDescriptor> RuntimeDirectory::openSubdirectory(const char* name) const
{
    return makePrivate(m_directory.get(), name);
}

} // namespace kestrum
