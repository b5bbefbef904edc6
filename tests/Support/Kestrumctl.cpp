#include "tests/Support/Kestrumctl.h"

#include <QDeadlineTimer>
#include <csignal>

namespace kestrum {

namespace {

// Far longer than any call takes. A test that reaches this limit has failed.
constexpr int longestWait = 20'000;

Kestrumctl::Result resultOf(const QProcess& process)
{
    Kestrumctl::Result result;
    if (process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit
        && process.error() != QProcess::FailedToStart)
        result.code = process.exitCode();
    return result;
}

} // namespace

QString Kestrumctl::path()
{
    return qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app/Contents/MacOS/kestrumctl");
}

QStringList Kestrumctl::words(const char* line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

Kestrumctl::Result Kestrumctl::run(
    const QStringList& arguments, const QByteArray& input, const Variables& variables, const QString& program)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables)
        environment.insert(name, value);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (process.waitForStarted(longestWait)) {
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(longestWait))
            process.kill();
        process.waitForFinished(longestWait);
    }
    Result result = resultOf(process);
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}

Kestrumctl::Running::Running(const QStringList& arguments, const QByteArray& readiness)
{
    m_process.start(path(), arguments);
    QDeadlineTimer deadline(longestWait);
    while (!m_isReady && !deadline.hasExpired() && m_process.state() != QProcess::NotRunning) {
        m_process.setReadChannel(QProcess::StandardError);
        m_process.waitForReadyRead(int(deadline.remainingTime()));
        m_errors += m_process.readAllStandardError();
        m_isReady = m_errors.split('\n').contains(readiness);
    }
}

Kestrumctl::Running::~Running()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(longestWait);
}

QByteArrayList Kestrumctl::Running::lines(qsizetype count)
{
    m_process.setReadChannel(QProcess::StandardOutput);
    QDeadlineTimer deadline(longestWait);
    m_output += m_process.readAllStandardOutput();
    while (
        m_output.count('\n') < count && !deadline.hasExpired() && m_process.state() != QProcess::NotRunning) {
        m_process.waitForReadyRead(int(deadline.remainingTime()));
        m_output += m_process.readAllStandardOutput();
    }
    QByteArrayList result = m_output.split('\n');
    result.removeLast(); // the empty text after the last line end
    return result;
}

void Kestrumctl::Running::signal(int number)
{
    if (m_process.processId() > 0)
        ::kill(pid_t(m_process.processId()), number);
}

Kestrumctl::Result Kestrumctl::Running::ended()
{
    m_process.waitForFinished(longestWait);
    Result result = resultOf(m_process);
    m_output += m_process.readAllStandardOutput();
    m_errors += m_process.readAllStandardError();
    result.output = m_output;
    result.errors = m_errors;
    return result;
}

} // namespace kestrum
