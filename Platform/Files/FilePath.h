// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>
#include <ctime>

namespace kestrum {

/// Configuration directories, and operations on paths and files. A path in a `QByteArray` has the kernel's encoding.
namespace FilePath {

struct Parts {
    QByteArray directory;
    QByteArray name;
};

/// "$XDG_CONFIG_HOME" if that is an absolute path, else "~/.config".
QString configDirectory();

/// The system's configuration directories, most important first: "$XDG_CONFIG_DIRS", else "/etc/xdg".
QStringList systemConfigDirectories();

/// The directory and the name of `path`.
Parts split(const QByteArray& path);

/// Every symbolic link on the way to `path`, including links to directories, in the order in which the kernel follows them. 40
/// links at most, the kernel's limit. The last entry is the file itself. The directory part of each entry contains no link.
/// Components that do not exist are copied unchanged.
QByteArrayList linkChain(const QByteArray& path);

Result<FileDescriptor> openDirectory(const QByteArray& path);

/// Creates `path` and its missing parents with mode 0700, and flushes each new entry to disk. Succeeds if `path` exists, even
/// if it is not a directory: opening the directory will then fail.
Result<> makeDirectory(const QByteArray& path);

/// Renames an entry of `directory` in one step. Fails with EEXIST if `to` exists.
Result<> renameToNew(int directory, const QByteArray& from, const QByteArray& to);

/// Whether any process has `file` open for writing. `file` must be open for reading only. Also false if the file system does
/// not support the check.
bool isOpenForWriting(int file);

/// `time` in nanoseconds. Times after the year 2262 are too large for the type; then the result is another number, but equal
/// times still give equal results.
inline qint64 nanoseconds(const struct timespec& time)
{
    return qint64(quint64(time.tv_sec) * 1'000'000'000 + quint64(time.tv_nsec));
}

/// Sets the times of the file at `path`, relative to `directory`, to now; with a null `path`, those of the file that is open as
/// `directory`. The kernel's own time stamps are some milliseconds old: those of its last tick. Links are not followed.
/// False with `errno` on failure.
[[nodiscard]] bool setExactTime(int directory, const char* path);

/// Reads `file` to its end. Fails with EFBIG if it holds more than `most` bytes.
Result<QByteArray> readAll(int file, qsizetype most);

} // namespace FilePath
} // namespace kestrum
