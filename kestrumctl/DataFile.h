// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QString>

namespace kestrum {

/// Files that the user names on the command line; "-" is standard input or output.
namespace DataFile {

/// The file's content. Fails if it cannot be read or has more than `maximumBytes`.
Result<QByteArray> read(const QString& path, qint64 maximumBytes);

/// Replaces the file's content. A regular file is replaced in one step by a file of the same mode; an interruption leaves the
/// old or the new one. A new file gets mode 0600. Anything else, such as a pipe, is opened and written to.
Result<> write(const QString& path, const QByteArray& content);

} // namespace DataFile
} // namespace kestrum
