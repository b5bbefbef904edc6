// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <sys/stat.h>

namespace kestrum {

/// Replaces files in one step: after any interruption, even a power cut, the file has the old or the new content. `directory`
/// is an open descriptor; names contain no slash.
namespace AtomicFile {

/// Replaces `name` by a new file with the content `bytes`, and returns the new file's state. The new file gets mode and group
/// of `existing`, or mode 0600 if `existing` is null. The new content survives a power cut only after `syncDirectory`.
Result<struct stat> replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing);

/// Replaces or creates the file at `path`, and syncs its directory. Symbolic links are followed. Fails if we may not write to
/// an existing file. Does nothing and returns false if `path` names something other than a regular file, such as a pipe.
Result<bool> replaceFile(const QByteArray& path, QByteArrayView bytes);

/// Flushes the entries of `directory` to disk.
Result<> syncDirectory(int directory);

/// Writes `bytes` to "<name>.damaged-N" with the first free N, unless an equal copy exists. Returns the copy's name. Fails if
/// 999 other copies exist.
Result<QByteArray> copyDamaged(int directory, const QByteArray& name, QByteArrayView bytes);

/// Removes our temporary files in `directory` that are more than an hour old.
void sweepLeftovers(int directory);

} // namespace AtomicFile
} // namespace kestrum
