#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Another process: the program "Peer" (tests/PeerProgram.cpp) with the environment of the test, which tells by lines what
/// it does. Killed, by its own id, when it is destroyed. No wait is longer than `patience`.
class Peer {
public:
    static constexpr int patience = 20'000;

    /// Starts the program; `verb` and its arguments are described in PeerProgram.cpp.
    explicit Peer(const QStringList& arguments);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// The next line without its end; empty when none came in time. The test's own events go on meanwhile only when `wait`
    /// is called from a loop that handles them.
    QByteArray line(int milliseconds = patience);
    /// Whether another line comes within `milliseconds`.
    bool hasLine(int milliseconds);
    void say(const QByteArray& line);

    /// Whether it has ended by now, which is noticed while events are handled.
    bool hasEnded() const { return m_process.state() == QProcess::NotRunning; }
    /// Waits for the end; its exit code, or -1 when it crashed or did not end.
    int finish();
    qint64 pid() const { return m_process.processId(); }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    QProcess m_process;
};

} // namespace kestrum
