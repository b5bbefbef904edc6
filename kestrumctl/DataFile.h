// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Files that the user names on the command line; "-" is standard input or output.
namespace DataFile {

/// The file's content. Nothing, with the reason in `error`, when it cannot be read or has more than
/// `maximumBytes`.
std::optional<QByteArray> read(const QString& path, qint64 maximumBytes, QString* error);

/// Replaces the file's content. A regular file is replaced whole and keeps its mode, or stays as it was; a new one is for
/// its user alone; anything else, such as a pipe, is written to. False, with the reason in `error`, on failure.
bool write(const QString& path, const QByteArray& content, QString* error);

} // namespace DataFile
} // namespace kestrum
