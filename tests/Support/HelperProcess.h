#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Another process: the program "HelperProcess" (tests/Support/HelperProgram.cpp) with the environment of the test, which tells by lines what
/// it does. Killed, by its own id, when it is destroyed. No wait is longer than `patience`.
class HelperProcess {
public:
    static constexpr int patience = 20'000;

    /// Starts the program; `verb` and its arguments are described in HelperProgram.cpp.
    explicit HelperProcess(const QStringList& arguments);
    ~HelperProcess();
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

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
