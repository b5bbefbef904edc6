// Works like a build: processes that start others, which work for a short time and end. "LoadProgram LIFE JOBS TOTAL [GROUP]"
// moves itself into the control group whose process file is GROUP, and prints "ready". After a line on its input it keeps JOBS
// children that each start one process, which works for LIFE ms of processor time. When all have used TOTAL ms, it prints the
// processor time of the children in µs. It lives until its input ends.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

long microseconds(const timeval& time)
{
    return long(time.tv_sec) * 1'000'000 + long(time.tv_usec);
}

long childrenTime()
{
    rusage usage {};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

void workFor(long milliseconds)
{
    timespec time {};
    do
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    while (long(time.tv_sec) * 1000 + time.tv_nsec / 1'000'000 < milliseconds);
}

[[noreturn]] void runJob(long life)
{
    const pid_t pid = ::fork();
    if (pid == 0)
        workFor(life);
    else
        ::waitpid(pid, nullptr, 0);
    ::_exit(0);
}

// Waits for a line or the end of the input.
void waitForInput()
{
    char buffer[64];
    [[maybe_unused]] const ssize_t size = ::read(STDIN_FILENO, buffer, sizeof buffer);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    const long life = std::atol(argv[1]);
    const int jobs = std::atoi(argv[2]);
    const long total = std::atol(argv[3]) * 1000;
    // A terminal of the test's own would make it a job there.
    ::setsid();
    if (argc > 4) {
        const int group = ::open(argv[4], O_WRONLY | O_CLOEXEC);
        if (group < 0 || ::write(group, "0", 1) != 1)
            return 3;
        ::close(group);
    }
    std::printf("ready\n");
    std::fflush(stdout);
    waitForInput();
    int running = 0;
    while (childrenTime() < total) {
        for (; running < jobs; ++running) {
            if (::fork() == 0)
                runJob(life);
        }
        if (::wait(nullptr) > 0)
            --running;
    }
    while (::wait(nullptr) > 0) { }
    std::printf("%ld\n", childrenTime());
    std::fflush(stdout);
    waitForInput();
    return 0;
}
