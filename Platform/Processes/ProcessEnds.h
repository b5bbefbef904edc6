// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <unordered_map>

namespace kestrum {

/// Notifies when processes end. Usually the kernel reports an end at once. If the kernel cannot report it, or no descriptor is
/// left, the process is polled every 2 s; this is logged once. Main thread only.
class ProcessEnds : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        child,   ///< a child of this process; `ProcessEnds` waits for it, so that no zombie remains
        foreign, ///< not a child of this process, or a child that other code waits for
    };

    ProcessEnds();

    /// Emits `ended` once, from the event loop, when `pid` ends or if it has ended already.
    void follow(qint32 pid, Kind kind);

Q_SIGNALS:
    void ended(qint32 pid);

private:
    struct Process {
        Kind kind;
        FileDescriptor descriptor;
        std::unique_ptr<QSocketNotifier> notifier; ///< null if the process is polled
    };

    void tryToNotify(qint32 pid, Process& process);
    void poll();
    void end(qint32 pid);

    std::unordered_map<qint32, Process> m_processes;
    QTimer m_pollTimer;
};

} // namespace kestrum
