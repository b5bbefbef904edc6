#include "tests/Support/HelperProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

namespace kestrum {

HelperProcess::HelperProcess(const QStringList& arguments, const QString& program)
{
    m_process.start(QCoreApplication::applicationDirPath() + u'/' + program, arguments);
    m_process.waitForStarted(patience);
}

HelperProcess::~HelperProcess()
{
    m_process.kill();
    m_process.waitForFinished(patience);
}

bool HelperProcess::hasLine(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(int(deadline.remainingTime())))
            return m_process.canReadLine();
    }
    return true;
}

QByteArray HelperProcess::line(int milliseconds)
{
    return hasLine(milliseconds) ? m_process.readLine().trimmed() : QByteArray();
}

void HelperProcess::say(const QByteArray& line)
{
    m_process.write(line + '\n');
    m_process.waitForBytesWritten(patience);
}

int HelperProcess::finish()
{
    m_process.closeWriteChannel();
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(patience))
        return -1;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

} // namespace kestrum
