#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <QStringList>
#include <optional>

namespace kestrum {

/// Where a file of the user stands, and what is on the way to it. Paths are as the kernel takes them; what fails leaves its
/// reason in `errno`.
namespace FilePath {

struct Place {
    QByteArray directory;
    QByteArray name;
};

/// "$XDG_CONFIG_HOME" where that is an absolute path, else "~/.config".
QString configDirectory();

/// The directories for the whole system, the one that counts most first: those of "$XDG_CONFIG_DIRS", else "/etc/xdg".
QStringList systemConfigDirectories();

/// The directory and the name of `path`.
Place of(const QByteArray& path);

/// Every symbolic link on the way to `path`, folders' too, in the order in which the kernel follows them and as many as it does;
/// the last one is the file itself. None of these paths has a link in its directory. What is not there yet is taken as it is
/// written.
QByteArrayList wayTo(const QByteArray& path);

FileDescriptor openedDirectory(const QByteArray& path);

/// Makes `path` and what is missing above it, for us alone, and brings each new entry to disk.
bool makeDirectory(const QByteArray& path);

/// Gives an entry of `directory` another name, in one step; false and EEXIST when something has that name.
bool renameToNew(int directory, const QByteArray& from, const QByteArray& to);

/// Whether any process has `file`, which is open for reading only, open for writing as well; false where that cannot be told.
bool isOpenForWriting(int file);

/// Reads `file` up to its end; nothing when that fails or is more than `most` bytes (EFBIG).
std::optional<QByteArray> bytesOf(int file, qsizetype most);

} // namespace FilePath
} // namespace kestrum
