#include "Platform/SettingsLock.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace kestrum {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto longestWait = 2s;
constexpr auto firstPause = std::chrono::microseconds(100);
constexpr auto longestPause = std::chrono::microseconds(2000);

/// The directory may have been deleted and made again while we waited: then we hold the lock of a file that
/// nobody else will ever see.
bool isStillAt(const QByteArray& path, int descriptor)
{
    struct stat held;
    struct stat there;
    return ::fstat(descriptor, &held) == 0 && ::stat(path.constData(), &there) == 0
        && held.st_dev == there.st_dev && held.st_ino == there.st_ino;
}

FileDescriptor opened(const QByteArray& path)
{
    // Not blocking, in case that somebody put a pipe there.
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    return FileDescriptor(::open(path.constData(), flags, 0600));
}

} // namespace

SettingsLock::SettingsLock(const QByteArray& path)
{
    const auto deadline = Clock::now() + longestWait;
    auto pause = firstPause;
    FileDescriptor file = opened(path);
    while (file.isValid()) {
        if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            if (isStillAt(path, file.get())) {
                m_descriptor = std::move(file);
                return;
            }
            file = opened(path);
            if (!file.isValid())
                return;
            errno = EWOULDBLOCK;
        } else if (errno != EWOULDBLOCK && errno != EINTR) {
            return;
        }
        if (Clock::now() >= deadline)
            return;
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, longestPause);
    }
}

} // namespace kestrum
