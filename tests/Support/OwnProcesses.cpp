#include "tests/Support/OwnProcesses.h"

#include <QByteArray>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr int failed = 125;

void writeFile(const char* path, const QByteArray& text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = ::write(file, text.constData(), size_t(text.size()));
    ::close(file);
}

// Makes the next child the first process of a new table. An ordinary user needs a user namespace for this.
bool leave()
{
    if (::unshare(CLONE_NEWPID | CLONE_NEWNS) == 0)
        return true;
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNS) != 0)
        return false;
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", user + ' ' + user + " 1");
    writeFile("/proc/self/gid_map", group + ' ' + group + " 1");
    return true;
}

bool showOwnTable()
{
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && ::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

// Waits for child processes until `last` has ended, and gives its exit code, or 128 + the signal's number.
int codeOf(pid_t last)
{
    for (;;) {
        int status = 0;
        const pid_t pid = ::waitpid(-1, &status, 0);
        if (pid == last)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (pid < 0)
            return failed;
    }
}

// Ends a process that only waits for `child`, without the exit handlers. One of them, the leak check, would run in a child
// process with another process table, so the check could not see this process.
[[noreturn]] void endAs(pid_t child)
{
    ::_exit(child < 0 ? failed : codeOf(child));
}

} // namespace

std::optional<int> OwnProcesses::enter()
{
    // A throw-away process tries this first, since a process that has left its table cannot return to it.
    const pid_t trial = ::fork();
    if (trial == 0) {
        if (!leave())
            ::_exit(failed);
        const pid_t first = ::fork();
        if (first == 0)
            ::_exit(showOwnTable() ? 0 : failed);
        endAs(first);
    }
    if (trial < 0 || codeOf(trial) != 0) {
        std::fputs("this test runs among everybody's processes\n", stderr);
        return std::nullopt;
    }
    if (!leave())
        return failed;
    const pid_t first = ::fork();
    if (first != 0)
        endAs(first);
    // When the first process of a table ends, the kernel kills all others in it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!showOwnTable())
        return failed;
    const pid_t test = ::fork();
    if (test != 0)
        endAs(test);
    return std::nullopt;
}

} // namespace kestrum
