// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <unordered_map>

namespace kestrum {

/// Notifies when processes end. The kernel reports each end at once. If the kernel cannot, or no descriptor is left, the
/// processes are polled every 2 s, which is logged once. Main thread only.
class ProcessEnds : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        child,   ///< our child; we wait for it, so that no zombie remains
        foreign, ///< not our child, or other code waits for it
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
        std::unique_ptr<QSocketNotifier> notifier; ///< null: the process is polled
    };

    void tryToNotify(qint32 pid, Process& process);
    void poll();
    void end(qint32 pid);

    std::unordered_map<qint32, Process> m_processes;
    QTimer m_pollTimer;
};

} // namespace kestrum
