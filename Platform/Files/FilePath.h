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

/// The value of $XDG_CONFIG_HOME if it is an absolute path, else "~/.config".
QString configDirectory();

/// The system's configuration directories, most important first: the absolute paths in $XDG_CONFIG_DIRS, else "/etc/xdg".
QStringList systemConfigDirectories();

/// Splits `path` at its last slash. The directory is "." if `path` has no slash.
Parts split(const QByteArray& path);

/// Returns every symbolic link on the way to `path`, including links to directories, in the order in which the kernel follows
/// them; at most 40 links, like the kernel. The last entry is the file itself. The directory part of each entry has no link.
/// Components that do not exist are copied unchanged.
QByteArrayList linkChain(const QByteArray& path);

Result<FileDescriptor> openDirectory(const QByteArray& path);

/// Creates `path` and its missing parents with mode 0700, and flushes each new entry to disk. Succeeds if `path` exists, even
/// if it is not a directory; then a later `openDirectory` fails.
Result<> makeDirectory(const QByteArray& path);

/// Flushes to disk that the directory `path` and the one above it exist: another process may have been killed in
/// `makeDirectory` before that. Does what it can.
void syncEntries(const QByteArray& path);

/// Renames the entry `from` of `directory` to `to`. Fails with EEXIST if `to` exists.
Result<> renameToNew(int directory, const QByteArray& from, const QByteArray& to);

/// Whether any process has `file` open for writing. The descriptor `file` must be open for reading only. Also false if the file
/// system does not support this check.
bool isOpenForWriting(int file);

/// `time` in nanoseconds. Times after the year 2262 are too large for the type; then the result is another number, but equal
/// times still give equal results.
inline qint64 nanoseconds(const struct timespec& time)
{
    return qint64(quint64(time.tv_sec) * 1'000'000'000 + quint64(time.tv_nsec));
}

/// Sets both times of a file to the exact current time; the kernel's own time stamps are some milliseconds old. The file is
/// `path`, relative to `directory`, or the file open as `directory` if `path` is null. Links are not followed.
[[nodiscard]] bool setExactTime(int directory, const char* path);

/// Reads `file` to its end. Fails with EFBIG if the file holds more than `most` bytes.
Result<QByteArray> readAll(int file, qsizetype most);

} // namespace FilePath
} // namespace kestrum
