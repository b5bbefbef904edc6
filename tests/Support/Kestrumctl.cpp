#include "tests/Support/Kestrumctl.h"

#include <QDeadlineTimer>
#include <csignal>

namespace kestrum {

using Programs::patience;

QString Kestrumctl::path()
{
    return qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app/Contents/MacOS/kestrumctl");
}

Programs::Ended Kestrumctl::inShell(const char* script, const QString& argument)
{
    return Programs::run(
        QStringLiteral("/bin/sh"), { QStringLiteral("-c"), QString::fromUtf8(script), path(), argument });
}

Kestrumctl::Running::Running(const char* line, const QByteArray& readiness)
{
    m_process.start(path(), words(line));
    m_process.setReadChannel(QProcess::StandardError);
    const QDeadlineTimer deadline(patience);
    while (!m_isReady && m_process.waitForReadyRead(int(deadline.remainingTime()))) {
        m_errors += m_process.readAllStandardError();
        m_isReady = m_errors.split('\n').contains(readiness);
    }
    m_process.setReadChannel(QProcess::StandardOutput);
}

Kestrumctl::Running::~Running()
{
    m_process.kill();
    m_process.waitForFinished(patience);
}

QByteArrayList Kestrumctl::Running::lines(qsizetype count)
{
    const QDeadlineTimer deadline(patience);
    do
        m_output += m_process.readAllStandardOutput();
    while (m_output.count('\n') < count && m_process.waitForReadyRead(int(deadline.remainingTime())));
    QByteArrayList result = m_output.split('\n');
    result.removeLast(); // the empty text after the last line end
    return result;
}

void Kestrumctl::Running::signal(int number)
{
    if (m_process.processId() > 0)
        ::kill(pid_t(m_process.processId()), number);
}

Programs::Ended Kestrumctl::Running::ended()
{
    Programs::Ended ended = Programs::ended(m_process);
    ended.output.prepend(m_output);
    ended.errors.prepend(m_errors);
    return ended;
}

} // namespace kestrum
