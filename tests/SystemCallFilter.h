#pragma once

#include <QList>
#include <cerrno>
#include <cstddef>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace kestrum {

/// Faults of a file system or a kernel that none at hand has: system calls that fail or hang for the thread that asks for it,
/// whatever program it becomes, and for the threads and processes that it starts. There is no way back, so such a thread or
/// process is one of the test's own.
namespace SystemCallFilter {

inline int install(std::vector<sock_filter> program, unsigned flags = 0)
{
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter { static_cast<unsigned short>(program.size()), program.data() };
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter));
}

inline std::vector<sock_filter> verdictOn(const QList<int>& calls, quint32 verdict)
{
    std::vector<sock_filter> program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
    for (const int call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, quint32(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, verdict));
    }
    return program;
}

/// From now on the calls fail with `error`. False where the kernel refuses this.
inline bool fail(const QList<int>& calls, int error)
{
    return install(verdictOn(calls, SECCOMP_RET_ERRNO | quint32(error))) == 0;
}

/// From now on there are no descriptors of processes. False where the kernel refuses this.
inline bool failProcessDescriptors()
{
    return fail({ SYS_pidfd_open }, ENOSYS);
}

/// From now on threads can be started, but no processes, as where there is no room for more. False where the kernel refuses this.
inline bool failNewProcesses()
{
    // Of the two calls the newer keeps its flags where a filter cannot see them; without it, the library takes the older.
    std::vector<sock_filter> program = verdictOn({ SYS_clone3 }, SECCOMP_RET_ERRNO | ENOSYS);
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3));
    program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_THREAD, 1, 0));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN));
    return install(program) == 0;
}

/// From now on the calls do not come back before they are answered. Gives a descriptor that has to stay open; -1 where the
/// kernel refuses this.
inline int hang(const QList<int>& calls)
{
    return install(verdictOn(calls, SECCOMP_RET_USER_NOTIF), SECCOMP_FILTER_FLAG_NEW_LISTENER);
}

/// Lets the next call that hangs fail with `error`; false when none does within `milliseconds`.
inline bool answer(int hanging, int error, int milliseconds)
{
    pollfd waiting { hanging, POLLIN, 0 };
    if (::poll(&waiting, 1, milliseconds) != 1)
        return false;
    seccomp_notif call {};
    if (::ioctl(hanging, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0)
        return false;
    seccomp_notif_resp response {};
    response.id = call.id;
    response.error = -error;
    return ::ioctl(hanging, SECCOMP_IOCTL_NOTIF_SEND, &response) == 0;
}

} // namespace SystemCallFilter
} // namespace kestrum
