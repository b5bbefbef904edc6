// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <sys/stat.h>

namespace kestrum {

/// Replaces files atomically: after any interruption, even a power cut, a file has either the old or the new content. Each
/// `directory` is an open descriptor; names contain no slash.
namespace AtomicFile {

/// Replaces `name` by a new file that contains `bytes`. Returns the `stat` data of the new file, which gets mode and group of
/// `existing`, or mode 0600 if `existing` is null. Only `syncDirectory` makes the new file survive a power cut.
Result<struct stat> replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing);

/// Replaces or creates the file at `path`, and syncs its directory. Follows symbolic links. Fails if this process may not write
/// to an existing file. Does nothing and returns false if `path` is something other than a regular file, such as a pipe.
Result<bool> replaceFile(const QByteArray& path, QByteArrayView bytes);

/// Flushes the entries of `directory` to disk.
Result<> syncDirectory(int directory);

/// Writes `bytes` to "<name>.damaged-N" with the first free number N, unless a copy with this content exists. Returns the name
/// of the copy. Fails if 999 other copies exist.
Result<QByteArray> copyDamaged(int directory, const QByteArray& name, QByteArrayView bytes);

/// Removes this user's leftover temporary files from `directory` if they are more than an hour old.
void sweepLeftovers(int directory);

} // namespace AtomicFile
} // namespace kestrum
