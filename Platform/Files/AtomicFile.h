// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayView>
#include <cerrno>
#include <sys/stat.h>

namespace kestrum {

/// Replaces files atomically: after any interruption, even a power cut, a file has either the old or the new content. Each
/// `directory` is an open descriptor; names contain no slash.
namespace AtomicFile {

/// What `replace` may replace: only the file that the caller has read, or whatever is there by then.
enum class Over { readFile, anything };
/// The error of `replace` if the file is no longer the one that the caller has read.
constexpr int changedMeanwhile = ESTALE;

/// Replaces `name` by a new file that contains `bytes`. `existing` is the file as the caller has read it, and null if there was
/// none. Returns the `stat` data of the new file, which gets mode and group of `existing`, or mode 0600 if `existing` is null.
/// Only `syncDirectory` makes the new file survive a power cut.
Result<struct stat> replace(
    int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing, Over over);

/// Calls `attempt`, which reads a file and replaces it. Calls it again if the file was changed in the meantime. A third call may
/// replace whatever is there: on some network file systems, a file looks changed each time.
template <typename Attempt> auto retried(const Attempt& attempt)
{
    auto outcome = attempt(Over::readFile);
    for (const Over over : { Over::readFile, Over::anything }) {
        if (outcome || outcome.failure().error != changedMeanwhile)
            break;
        outcome = attempt(over);
    }
    return outcome;
}

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
