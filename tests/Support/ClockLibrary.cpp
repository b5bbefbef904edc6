// SPDX-License-Identifier: MIT
// Loaded before all other libraries of a program, it puts the program's clock of the day forward or back, by as many seconds as the
// number in the file KESTRUM_TEST_CLOCK. That number may change at any time. Files have the kernel's times all the same.

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const volatile std::int64_t* mapped()
{
    const char* name = std::getenv("KESTRUM_TEST_CLOCK");
    const int file = name ? ::open(name, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0)
        return nullptr;
    void* page = ::mmap(nullptr, sizeof(std::int64_t), PROT_READ, MAP_SHARED, file, 0);
    ::close(file);
    return page == MAP_FAILED ? nullptr : static_cast<const volatile std::int64_t*>(page);
}

time_t shift()
{
    static const volatile std::int64_t* const seconds = mapped();
    return seconds ? time_t(*seconds) : 0;
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const int result = int(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec += shift();
    return result;
}

extern "C" int gettimeofday(timeval* time, void*) noexcept
{
    timespec now {};
    const int result = clock_gettime(CLOCK_REALTIME, &now);
    *time = { now.tv_sec, now.tv_nsec / 1000 };
    return result;
}

extern "C" time_t time(time_t* place) noexcept
{
    timespec now {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (place)
        *place = now.tv_sec;
    return now.tv_sec;
}
