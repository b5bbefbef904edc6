// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <unordered_map>

namespace kestrum {

/// Notifies when processes end, at once by the kernel. If the kernel cannot, or has no descriptor left, processes are polled
/// every 2 s, with one log line. Main thread only.
class ProcessEnds : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        child,   ///< ours; waited for, so that no zombie stays
        foreign, ///< not ours, or somebody else waits for it
    };

    ProcessEnds();

    /// `ended` is emitted once from the event loop when `pid` ends, also if it has ended already.
    void follow(qint32 pid, Kind kind);

Q_SIGNALS:
    void ended(qint32 pid);

private:
    struct Process {
        Kind kind;
        FileDescriptor descriptor;
        std::unique_ptr<QSocketNotifier> notifier; ///< null: the process is polled
    };

    void tryToNotify(qint32 pid, Process& process);
    void poll();
    void end(qint32 pid);

    std::unordered_map<qint32, Process> m_processes;
    QTimer m_pollTimer;
};

} // namespace kestrum
