// SPDX-License-Identifier: MIT
// This code waits in the kernel, because polling is unfair: a polling process finds the lock free only by chance. If a flush
// takes milliseconds, ten polling processes starve each other. The kernel has a queue and wakes the next writer at once.
//
// `flock` has no time limit. So if the lock is not free at once, a second thread calls `flock`. After the time limit, the
// caller abandons this thread, which releases the lock as soon as it gets the lock. While there is such a thread, whoever holds
// the lock hangs. So no second one is started, and others poll: else each save that is tried would leave a thread and a
// descriptor behind. Other methods are worse: a lock that belongs to the process ends with any `close` of the file; a time limit
// by a signal needs a process-wide signal handler.

#include "Platform/Store/SettingsLock.h"

#include "Platform/Files/FilePath.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace kestrum {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr Clock::duration longestStandstill = 2s;
constexpr Clock::duration longestWait = 10s;
constexpr Clock::duration pauseBetweenTries = 20ms;

/// Returns 0 if `path` still names the open file, ESTALE if not, or another `errno` if the check fails. During the wait, the
/// directory may have been deleted and created again. Then other processes cannot find the locked file.
int checkName(const QByteArray& path, int descriptor)
{
    struct stat held;
    struct stat there;
    if (::fstat(descriptor, &held) != 0)
        return errno;
    if (::stat(path.constData(), &there) != 0)
        return errno == ENOENT ? ESTALE : errno;
    return held.st_dev == there.st_dev && held.st_ino == there.st_ino ? 0 : ESTALE;
}

FileDescriptor openLock(const QByteArray& path, bool* isNew)
{
    // Non-blocking, because the path may name a pipe.
    constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    FileDescriptor file(::open(path.constData(), flags));
    *isNew = !file.isValid() && errno == ENOENT;
    return *isNew ? FileDescriptor(::open(path.constData(), flags | O_CREAT, 0600)) : std::move(file);
}

/// Returns 0 or an `errno`.
int lock(int file, int operation)
{
    while (::flock(file, operation) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

/// The directory's modification time. Every save adds a file to the directory and so changes this time.
qint64 lastChange(const QByteArray& directory)
{
    struct stat state;
    return ::stat(directory.constData(), &state) == 0 ? FilePath::nanoseconds(state.st_mtim) : 0;
}

/// Whether a thread waits for a lock. One is enough for a process whose saves come one after the other.
std::atomic<bool> hasWaiter = false;

/// Waits until `isDone`, which may wait itself until the time that it is given. Returns false after the deadline, and earlier
/// if nobody has saved anything for a while.
template <class IsDone> bool awaitTurn(const QByteArray& directory, Clock::time_point deadline, IsDone isDone)
{
    for (auto last = lastChange(directory);;) {
        const auto limit = std::min(Clock::now() + longestStandstill, deadline);
        if (isDone(limit))
            return true;
        const qint64 now = lastChange(directory);
        if (Clock::now() >= deadline || now == std::exchange(last, now))
            return false;
    }
}

/// Returns 0 or an `errno`.
int lockByPolling(int file, const QByteArray& directory, Clock::time_point deadline)
{
    int error = EWOULDBLOCK;
    const bool isDone = awaitTurn(directory, deadline, [&](Clock::time_point limit) {
        while ((error = lock(file, LOCK_EX | LOCK_NB)) == EWOULDBLOCK && Clock::now() < limit)
            std::this_thread::sleep_for(pauseBetweenTries);
        return error != EWOULDBLOCK;
    });
    return isDone ? error : ETIMEDOUT;
}

/// Returns 0 or an `errno`. After success, `file` holds the lock; otherwise `file` is invalid.
int lockByThread(FileDescriptor& file, const QByteArray& directory, Clock::time_point deadline)
{
    if (hasWaiter.exchange(true))
        return lockByPolling(file.get(), directory, deadline);
    // Both threads share the descriptor. It is closed when neither thread uses it any more.
    const auto shared = std::make_shared<FileDescriptor>(std::move(file));
    std::packaged_task<int()> task([shared] {
        const int error = lock(shared->get(), LOCK_EX);
        hasWaiter = false;
        return error;
    });
    std::future<int> outcome = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error& error) {
        hasWaiter = false;
        return error.code().value();
    }
    if (!awaitTurn(directory, deadline, [&outcome](Clock::time_point limit) {
            return outcome.wait_until(limit) == std::future_status::ready;
        }))
        return ETIMEDOUT;
    const int error = outcome.get();
    if (error == 0)
        file = std::move(*shared);
    return error;
}

Failure failed(int error)
{
    return Failure::fromErrno(error == ENOENT ? "open the directory" : "lock", error);
}

} // namespace

Result<SettingsLock> SettingsLock::acquire(const QByteArray& path)
{
    const auto deadline = Clock::now() + longestWait;
    int error = 0;
    do {
        SettingsLock held;
        held.m_file = openLock(path, &held.m_isNew);
        if (!held.m_file.isValid())
            return failed(errno);
        error = lock(held.m_file.get(), LOCK_EX | LOCK_NB);
        if (error == EWOULDBLOCK)
            error = lockByThread(held.m_file, FilePath::split(path).directory, deadline);
        if (error == 0)
            error = checkName(path, held.m_file.get());
        if (error == 0)
            return held;
    } while (error == ESTALE && Clock::now() < deadline);
    return failed(error);
}

} // namespace kestrum
