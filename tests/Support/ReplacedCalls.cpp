// SPDX-License-Identifier: MIT
// These replace the C library's functions in the program that they are linked into. An environment variable switches each on.
//   KESTRUM_TEST_SLOW_FLUSH    the delay of each flush in µs: tests save to memory, where a flush takes no time and writers never
//                              wait long for the lock
//   KESTRUM_TEST_NO_LOCK       every lock is given to everybody, and renames are late, so that writers meet: a writer without a
//                              lock, for checks of the checks
//   KESTRUM_TEST_CLOCK         a file that holds a number (`qint64`) of seconds: the clock is so far ahead. The number may change
//                              at any time

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const volatile int64_t* mappedSeconds()
{
    const char* const path = std::getenv("KESTRUM_TEST_CLOCK");
    const int file = path ? ::open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0)
        return nullptr;
    void* const page = ::mmap(nullptr, sizeof(int64_t), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    return page == MAP_FAILED ? nullptr : static_cast<const volatile int64_t*>(page);
}

int64_t secondsAhead()
{
    static const volatile int64_t* const seconds = mappedSeconds();
    return seconds ? *seconds : 0;
}

bool isWithoutLocks()
{
    static const bool isLying = std::getenv("KESTRUM_TEST_NO_LOCK") != nullptr;
    return isLying;
}

} // namespace

extern "C" {

int fsync(int file)
{
    static const char* const delay = std::getenv("KESTRUM_TEST_SLOW_FLUSH");
    if (delay)
        ::usleep(useconds_t(std::atoi(delay)));
    return int(::syscall(SYS_fsync, file));
}

int flock(int file, int operation) noexcept
{
    return isWithoutLocks() ? 0 : int(::syscall(SYS_flock, file, operation));
}

int renameat(int directory, const char* path, int newDirectory, const char* newPath) noexcept
{
    constexpr useconds_t delay = 200; // µs
    if (isWithoutLocks())
        ::usleep(delay);
    return int(::syscall(SYS_renameat2, directory, path, newDirectory, newPath, 0));
}

int clock_gettime(clockid_t clock, struct timespec* now) noexcept
{
    const int result = int(::syscall(SYS_clock_gettime, clock, now));
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += secondsAhead();
    return result;
}

time_t time(time_t* result) noexcept
{
    struct timespec now = {};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (result)
        *result = now.tv_sec;
    return now.tv_sec;
}

} // extern "C"
