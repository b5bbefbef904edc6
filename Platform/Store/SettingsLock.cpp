// Why the kernel does the waiting: who looks again and again finds the lock free only by chance, and where a flush takes
// milliseconds, ten such writers starve one another. In the kernel those who wait are a queue, and the next one goes on as soon
// as the lock is free.
//
// The kernel knows no limit for that wait, so a thread waits for us where the lock is not free at once. When it takes too long the
// thread is left behind: it gives the lock back as soon as it gets it. The other kinds of locks of the kernel are no way out: those
// of processes end with any `close` of the file, and a limit by a signal would need a handler of the whole process's.

#include "Platform/Store/SettingsLock.h"

#include "Platform/Files/FilePath.h"

#include <algorithm>
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

/// The directory may have been deleted and made again while we waited: then we hold the lock of a file that
/// nobody else will ever see. 0 when it is still there, ESTALE when it is not, else the `errno` for which that is not known.
int stateOf(const QByteArray& path, int descriptor)
{
    struct stat held;
    struct stat there;
    if (::fstat(descriptor, &held) != 0)
        return errno;
    if (::stat(path.constData(), &there) != 0)
        return errno == ENOENT ? ESTALE : errno;
    return held.st_dev == there.st_dev && held.st_ino == there.st_ino ? 0 : ESTALE;
}

FileDescriptor opened(const QByteArray& path, bool* isNew)
{
    // Not blocking, in case that somebody put a pipe there.
    constexpr int flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    FileDescriptor file(::open(path.constData(), flags));
    *isNew = !file.isValid() && errno == ENOENT;
    return *isNew ? FileDescriptor(::open(path.constData(), flags | O_CREAT, 0600)) : std::move(file);
}

/// 0 or an `errno`.
int lock(int file, int operation)
{
    while (::flock(file, operation) != 0) {
        if (errno != EINTR)
            return errno;
    }
    return 0;
}

/// Every save puts a file into the directory, which changes its time.
struct timespec lastStepIn(const QByteArray& directory)
{
    struct stat state;
    return ::stat(directory.constData(), &state) == 0 ? state.st_mtim : timespec {};
}

bool areEqual(const timespec& one, const timespec& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// 0 or an `errno`; on 0 the lock belongs to `file`, otherwise that is none any more.
int lockByThread(FileDescriptor& file, const QByteArray& directory, Clock::time_point deadline)
{
    // Shared, so that whoever of the two comes last closes it.
    const auto shared = std::make_shared<FileDescriptor>(std::move(file));
    std::packaged_task<int()> task([shared] { return lock(shared->get(), LOCK_EX); });
    std::future<int> outcome = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    for (auto lastStep = lastStepIn(directory);;) {
        const auto limit = std::min(Clock::now() + longestStandstill, deadline);
        if (outcome.wait_until(limit) == std::future_status::ready)
            break;
        const auto step = lastStepIn(directory);
        if (Clock::now() >= deadline || areEqual(step, std::exchange(lastStep, step)))
            return ETIMEDOUT;
    }
    const int error = outcome.get();
    if (error == 0)
        file = std::move(*shared);
    return error;
}

} // namespace

SettingsLock::SettingsLock(const QByteArray& path)
{
    const auto deadline = Clock::now() + longestWait;
    int error = 0;
    do {
        FileDescriptor file = opened(path, &m_isNew);
        if (!file.isValid())
            return;
        error = lock(file.get(), LOCK_EX | LOCK_NB);
        if (error == EWOULDBLOCK)
            error = lockByThread(file, FilePath::of(path).directory, deadline);
        if (error == 0)
            error = stateOf(path, file.get());
        if (error == 0)
            m_descriptor = std::move(file);
    } while (error == ESTALE && Clock::now() < deadline);
    errno = error;
}

} // namespace kestrum
