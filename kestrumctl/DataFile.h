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

/// Replaces the file's content. A regular file is replaced whole and keeps its mode, or stays as it was; a new one is for
/// its user alone; anything else, such as a pipe, is written to.
Result<> write(const QString& path, const QByteArray& content);

} // namespace DataFile
} // namespace kestrum
