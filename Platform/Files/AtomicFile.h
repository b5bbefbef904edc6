// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <sys/stat.h>

namespace kestrum {

/// Replaces files in one step: after any interruption, even a power cut, the old or the new content is there. Directories are
/// given by descriptor, names have no slash.
namespace AtomicFile {

/// Replaces `name` by a file that holds `bytes`, and gives the new file's state. The file gets mode and group of `existing`,
/// 0600 without one. The new content survives a power cut only after `syncDirectory`.
Result<struct stat> replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing);

/// Replaces or makes the file that `path` leads to, and syncs its directory. Symbolic links are followed. A file without write
/// permission is refused. False, and nothing is done, if something other than a file is there.
Result<bool> replaceFile(const QByteArray& path, QByteArrayView bytes);

/// Flushes the entries of `directory` to disk.
Result<> syncDirectory(int directory);

/// Writes `bytes` to "<name>.damaged-N" with the first free N, unless such a copy exists. Gives the copy's name.
Result<QByteArray> copyDamaged(int directory, const QByteArray& name, QByteArrayView bytes);

/// Removes our temporary files in `directory` that are more than an hour old.
void sweepLeftovers(int directory);

} // namespace AtomicFile
} // namespace kestrum
