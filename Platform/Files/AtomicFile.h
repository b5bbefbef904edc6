#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <optional>
#include <sys/stat.h>

namespace kestrum {

/// Puts a new content in the place of a file so that after any interruption, a power cut too, there is the
/// old or the new one. Directories are given by descriptor, names have no slash. Each function says in
/// `Failure` which step failed and why; `step` is null when none did.
namespace AtomicFile {

struct Failure {
    const char* step = nullptr; ///< what was being done, such as "make a temporary file"
    int error = 0;              ///< an `errno`
    explicit operator bool() const { return step != nullptr; }
};

struct Result {
    Failure failure;
    /// The new content stands under its name. Also true when only making the directory entry durable failed.
    bool isInPlace = false;
    struct stat state = {}; ///< of the new file, when it is in place
};

/// Replaces `name` by a file holding `bytes`. It gets mode and group of `existing`, 0600 without one.
Result replace(int directory, const QByteArray& name, QByteArrayView bytes, const struct stat* existing);

/// Replaces the file that `path`, its symbolic links followed, leads to, or makes it. Nothing is done, and nothing given, when
/// something else than a file stands there. One that we may not write to is refused.
std::optional<Failure> replaceFile(const QByteArray& path, QByteArrayView bytes);

/// Makes sure that the entries of `directory` are on disk.
Failure syncDirectory(int directory);

/// Writes `bytes` to "<name>.damaged-N", the first N that is free; nothing when such a copy is there already.
/// `copy` becomes its name.
Failure keepDamaged(int directory, const QByteArray& name, QByteArrayView bytes, QByteArray* copy);

/// Removes temporary files of ours in `directory` that were last written more than an hour ago.
void sweepLeftovers(int directory);

} // namespace AtomicFile
} // namespace kestrum
