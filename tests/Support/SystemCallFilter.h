#pragma once

#include <QList>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <optional>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kestrum {

/// Simulates faults of a file system or kernel: system calls fail or hang. A filter affects the thread that enters it, this
/// thread's later threads and child processes, and the programs that they start. A filter cannot be removed, so tests enter it
/// in a separate thread or process.
///
/// Make the filter before a fork: until exec, a new process shares its parent's memory and has a stack of one page.
class SystemCallFilter {
public:
    /// A filter that makes the calls fail with `error`.
    static SystemCallFilter failing(const QList<int>& calls, int error)
    {
        return SystemCallFilter(verdictOn(calls, SECCOMP_RET_ERRNO | quint32(error)));
    }

    /// Makes `fstatat` fail when it looks up a name without following links. Lookups that follow links still work.
    static SystemCallFilter failingLooksAtNames(int error)
    {
        Program program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_newfstatat, 0, 3));
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[3])));
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, AT_SYMLINK_NOFOLLOW, 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | quint32(error)));
        return SystemCallFilter(std::move(program));
    }

    /// Makes `pidfd_open` fail, as on a kernel without it.
    static SystemCallFilter withoutProcessDescriptors() { return failing({ SYS_pidfd_open }, ENOSYS); }

    /// Allows new threads but no new processes, as when the system's limit is reached.
    static SystemCallFilter withoutNewProcesses()
    {
        // A filter cannot see the flags of the newer call `clone3`. If `clone3` fails, the C library uses the older `clone`.
        Program program = verdictOn({ SYS_clone3 }, SECCOMP_RET_ERRNO | ENOSYS);
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clone, 0, 3));
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)));
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, CLONE_THREAD, 1, 0));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN));
        return SystemCallFilter(std::move(program));
    }

    /// A filter that makes the calls hang until `answer` is called.
    static SystemCallFilter hanging(const QList<int>& calls)
    {
        return SystemCallFilter(verdictOn(calls, SECCOMP_RET_USER_NOTIF), SECCOMP_FILTER_FLAG_NEW_LISTENER);
    }

    /// Installs the filter for the calling thread. Returns -1 when the kernel refuses the filter. For calls that hang, returns
    /// a descriptor that must stay open; otherwise 0.
    int enter() const
    {
        if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
            return -1;
        const sock_fprog filter { static_cast<unsigned short>(m_program.size()),
            const_cast<sock_filter*>(m_program.data()) };
        return int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, m_flags, &filter));
    }

    /// A filter that makes all calls except `calls` hang.
    static SystemCallFilter hangingAllBut(const QList<int>& calls)
    {
        Program program = verdictOn(calls, SECCOMP_RET_ALLOW);
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
        return SystemCallFilter(std::move(program), SECCOMP_FILTER_FLAG_NEW_LISTENER);
    }

    /// The next hanging call; nothing when none comes within `milliseconds`, or when the filter's last thread has ended.
    static std::optional<seccomp_notif> next(int hanging, int milliseconds)
    {
        pollfd waiting { hanging, POLLIN, 0 };
        seccomp_notif call {};
        const bool isThere = ::poll(&waiting, 1, milliseconds) == 1 && (waiting.revents & POLLIN) != 0
            && ::ioctl(hanging, SECCOMP_IOCTL_NOTIF_RECV, &call) == 0;
        return isThere ? std::optional(call) : std::nullopt;
    }

    /// Makes the hanging call fail with `error`; 0 makes it go on.
    static bool reply(int hanging, const seccomp_notif& call, int error)
    {
        seccomp_notif_resp response {};
        response.id = call.id;
        response.error = -error;
        response.flags = error == 0 ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
        return ::ioctl(hanging, SECCOMP_IOCTL_NOTIF_SEND, &response) == 0;
    }

    /// Makes the next hanging call fail with `error`; false when no call hangs within `milliseconds`.
    static bool answer(int hanging, int error, int milliseconds)
    {
        const auto call = next(hanging, milliseconds);
        return call && reply(hanging, *call, error);
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
