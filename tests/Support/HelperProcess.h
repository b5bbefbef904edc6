#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Another process with the test's environment: "HelperProcess" (tests/Support/HelperProgram.cpp), or another program in the
/// same folder. This process prints lines about its actions. The destructor kills it by id. No wait is longer than `patience`.
class HelperProcess {
public:
    static constexpr int patience = 20'000;

    /// Starts the program; `verb` and its arguments are described in HelperProgram.cpp.
    explicit HelperProcess(
        const QStringList& arguments, const QString& program = QStringLiteral("HelperProcess"));
    ~HelperProcess();
    Q_DISABLE_COPY_MOVE(HelperProcess)

    /// The next line without its line end; empty when none comes in time. The test's own events are not handled during the
    /// wait.
    QByteArray line(int milliseconds = patience);
    /// Whether another line comes within `milliseconds`.
    bool hasLine(int milliseconds);
    void say(const QByteArray& line);

    /// Whether the process has ended. The result changes only while events are handled.
    bool hasEnded() const { return m_process.state() == QProcess::NotRunning; }
    /// Waits for the end. Returns the exit code, or -1 after a crash or a timeout.
    int finish();
    qint64 pid() const { return m_process.processId(); }
    QByteArray errors() { return m_process.readAllStandardError(); }

private:
    QProcess m_process;
};

} // namespace kestrum
