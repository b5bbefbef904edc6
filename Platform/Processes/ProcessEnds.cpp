// SPDX-License-Identifier: MIT
#include "Platform/Processes/ProcessEnds.h"

#include "Platform/Log/Log.h"

#include <QList>
#include <QMetaObject>
#include <cerrno>
#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr std::chrono::seconds endsPollInterval { 2 };

// Returns a descriptor that is readable once the process has ended. The C library of Debian 12 has no function for this call.
FileDescriptor openProcess(qint32 pid)
{
    return FileDescriptor(int(::syscall(SYS_pidfd_open, pid, 0)));
}

bool isRunning(qint32 pid, ProcessEnds::Kind kind)
{
    if (kind == ProcessEnds::Kind::child) {
        siginfo_t information {};
        return ::waitid(P_PID, id_t(pid), &information, WEXITED | WNOHANG | WNOWAIT) == 0
            && information.si_pid == 0;
    }
    return ::kill(pid, 0) == 0 || errno != ESRCH;
}

} // namespace

ProcessEnds::ProcessEnds()
{
    m_pollTimer.setInterval(endsPollInterval);
    connect(&m_pollTimer, &QTimer::timeout, this, &ProcessEnds::poll);
}

void ProcessEnds::follow(qint32 pid, Kind kind)
{
    const auto [found, isNew] = m_processes.try_emplace(pid, Process { kind, {}, nullptr });
    if (isNew)
        tryToNotify(pid, found->second);
    else if (kind == Kind::child)
        found->second.kind = kind;
}

void ProcessEnds::tryToNotify(qint32 pid, Process& process)
{
    process.descriptor = openProcess(pid);
    if (process.descriptor.isValid()) {
        process.notifier = std::make_unique<QSocketNotifier>(process.descriptor.get(), QSocketNotifier::Read);
        connect(process.notifier.get(), &QSocketNotifier::activated, this, [this, pid] { end(pid); });
    } else if (errno == ESRCH) {
        QMetaObject::invokeMethod(
            this, [this, pid] { end(pid); }, Qt::QueuedConnection);
    } else {
        Log::warnOnce("workspace",
            QStringLiteral(
                "Processes are looked at every 2 s, because the kernel does not tell us of their end: %1")
                .arg(qt_error_string(errno)));
        m_pollTimer.start();
    }
}

void ProcessEnds::poll()
{
    QList<qint32> gone;
    bool anyPolled = false;
    for (auto& [pid, process] : m_processes) {
        if (process.notifier)
            continue;
        if (!isRunning(pid, process.kind))
            gone.append(pid);
        else
            tryToNotify(pid, process);
        anyPolled |= !process.notifier;
    }
    if (!anyPolled)
        m_pollTimer.stop();
    for (const qint32 pid : gone)
        end(pid);
}

void ProcessEnds::end(qint32 pid)
{
    const auto found = m_processes.find(pid);
    if (found == m_processes.end())
        return;
    if (found->second.kind == Kind::child)
        ::waitpid(pid, nullptr, WNOHANG);
    // The notifier may be the caller of this function, so it is deleted later.
    if (QSocketNotifier* notifier = found->second.notifier.release()) {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
    m_processes.erase(found);
    Q_EMIT ended(pid);
}

} // namespace kestrum
