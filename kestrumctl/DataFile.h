// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QString>

namespace kestrum {

/// Files that the user names on the command line; "-" is standard input or output.
namespace DataFile {

/// Reads the file. Fails if the file cannot be read or has more than `maximumBytes`.
Result<QByteArray> read(const QString& path, qint64 maximumBytes);

/// Replaces the file's content. A regular file is replaced in one step by a file with the same mode, so that an interruption
/// leaves either the old or the new file. A new file gets mode 0600. Other files, such as pipes, are opened and written to.
Result<> write(const QString& path, const QByteArray& content);

} // namespace DataFile
} // namespace kestrum
