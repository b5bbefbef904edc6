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

// The next child is the first process of a new table. An ordinary user may do so below a name space of users.
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

// Waits for all children until `last` has ended.
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

// The end of a process that only waited. It leaves at once: whoever looks for leaks at the end of a process does so from a child,
// and the children of the one that left are in a table where it cannot be seen.
[[noreturn]] void endAs(pid_t child)
{
    ::_exit(child < 0 ? failed : codeOf(child));
}

} // namespace

std::optional<int> OwnProcesses::enter()
{
    // Tried first in a process that can be thrown away: what was left once cannot be entered again.
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
    // When the first process of a table is killed, all of them are.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!showOwnTable())
        return failed;
    const pid_t test = ::fork();
    if (test != 0)
        endAs(test);
    return std::nullopt;
}

} // namespace kestrum
