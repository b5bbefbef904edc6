#pragma once

#include <QList>
#include <cerrno>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace kestrum {

/// Faults of a file system that none at hand has: system calls that fail or hang for the thread that asks for it and for the
/// threads that it starts. There is no way back, so such a thread or process is one of the test's own.
namespace SystemCallFilter {

inline int install(const QList<int>& calls, quint32 verdict, unsigned flags)
{
    std::vector<sock_filter> program { BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)) };
    for (const int call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, quint32(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, verdict));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter { static_cast<unsigned short>(program.size()), program.data() };
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return int(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &filter));
}

/// From now on the calls fail with `error`. False where the kernel refuses this.
inline bool fail(const QList<int>& calls, int error)
{
    return install(calls, SECCOMP_RET_ERRNO | quint32(error), 0) == 0;
}

/// From now on the calls do not come back before they are answered. Gives a descriptor that has to stay open; -1 where the
/// kernel refuses this.
inline int hang(const QList<int>& calls)
{
    return install(calls, SECCOMP_RET_USER_NOTIF, SECCOMP_FILTER_FLAG_NEW_LISTENER);
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
