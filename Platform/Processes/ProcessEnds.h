#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>
#include <unordered_map>

namespace kestrum {

/// Tells when processes end, which the kernel lets us know at once. Where it does not, or has no descriptor left, they are
/// looked at every 2 s, with one log line. Main thread only.
class ProcessEnds : public QObject {
    Q_OBJECT
public:
    enum class Kind {
        child,   ///< of ours, to be waited for, so that nothing of it stays behind
        foreign, ///< somebody else's, or a child that somebody else waits for
    };

    ProcessEnds();

    /// From now on the end of `pid` is told, once, from the event loop; also when it has ended already.
    void follow(qint32 pid, Kind kind);

Q_SIGNALS:
    void ended(qint32 pid);

private:
    struct Process {
        Kind kind;
        FileDescriptor descriptor;
        std::unique_ptr<QSocketNotifier> notifier; ///< none: the process is looked at
    };

    void tryToNotify(qint32 pid, Process& process);
    void look();
    void end(qint32 pid);

    std::unordered_map<qint32, Process> m_processes;
    QTimer m_lookTimer;
};

} // namespace kestrum
