#pragma once

#include <QList>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kestrum {

/// Faults of a file system or a kernel that none at hand has: system calls that fail or hang for the thread that asks for it,
/// whatever program it becomes, and for the threads and processes that it starts. There is no way back, so such a thread or
/// process is one of the test's own.
///
/// A new process that is not yet its program has the memory of its parent and a stack of one page: it is given a filter that is
/// made already.
class SystemCallFilter {
public:
    /// The calls fail with `error`.
    static SystemCallFilter failing(const QList<int>& calls, int error)
    {
        return SystemCallFilter(verdictOn(calls, SECCOMP_RET_ERRNO | quint32(error)));
    }

    /// Nobody can be asked what a name stands for, without following links. What a link leads to can be.
    static SystemCallFilter failingLooksAtNames(int error)
    {
        Program program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_newfstatat, 0, 3));
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[3])));
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, AT_SYMLINK_NOFOLLOW, 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | quint32(error)));
        return SystemCallFilter(std::move(program));
    }

    /// There are no descriptors of processes.
    static SystemCallFilter withoutProcessDescriptors() { return failing({ SYS_pidfd_open }, ENOSYS); }

    /// Threads can be started, but no processes, as where there is no room for more.
    static SystemCallFilter withoutNewProcesses()
    {
        // Of the two calls the newer keeps its flags where a filter cannot see them; without it, the library takes the older.
        Program program = verdictOn({ SYS_clone3 }, SECCOMP_RET_ERRNO | ENOSYS);
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3));
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)));
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_THREAD, 1, 0));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN));
        return SystemCallFilter(std::move(program));
    }

    /// The calls do not come back before they are answered.
    static SystemCallFilter hanging(const QList<int>& calls)
    {
        return SystemCallFilter(verdictOn(calls, SECCOMP_RET_USER_NOTIF), SECCOMP_FILTER_FLAG_NEW_LISTENER);
    }

    /// From now on it holds for the thread that calls this. Gives -1 where the kernel refuses this; for calls that hang, a
    /// descriptor that has to stay open, for others 0.
    int enter() const
    {
        if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
            return -1;
        const sock_fprog filter { static_cast<unsigned short>(m_program.size()),
            const_cast<sock_filter*>(m_program.data()) };
        return int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, m_flags, &filter));
    }

    /// Lets the next call that hangs fail with `error`; false when none does within `milliseconds`.
    static bool answer(int hanging, int error, int milliseconds)
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

private:
    using Program = std::vector<sock_filter>;

    explicit SystemCallFilter(Program program, unsigned flags = 0)
        : m_program(std::move(program))
        , m_flags(flags)
    {
        m_program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }

    static Program verdictOn(const QList<int>& calls, quint32 verdict)
    {
        Program program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
        for (const int call : calls) {
            program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, quint32(call), 0, 1));
            program.push_back(BPF_STMT(BPF_RET | BPF_K, verdict));
        }
        return program;
    }

    Program m_program;
    unsigned m_flags;
};

} // namespace kestrum
