// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Where a user's file is, and the symbolic links and directories on the way to it. Paths are in the kernel's encoding.
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

/// Every symbolic link on the way to `path`, those of directories included, in the order in which the kernel follows them and
/// up to its limit. The last entry is the file itself. No entry has a link in its directory. Parts that do not exist are taken
/// as they are written.
QByteArrayList linkChain(const QByteArray& path);

Result<FileDescriptor> openDirectory(const QByteArray& path);

/// Makes `path` and its missing parents with mode 0700, and flushes each new entry to disk. An existing entry is a success,
/// even if it is not a directory: opening it will tell.
Result<> makeDirectory(const QByteArray& path);

/// Renames an entry of `directory` in one step. Fails with EEXIST if `to` exists.
Result<> renameToNew(int directory, const QByteArray& from, const QByteArray& to);

/// Whether any process has `file` open for writing. `file` must be open for reading only. False if the file system cannot tell.
bool isOpenForWriting(int file);

/// Reads `file` to its end. Fails with EFBIG if it holds more than `most` bytes.
Result<QByteArray> readAll(int file, qsizetype most);

} // namespace FilePath
} // namespace kestrum
