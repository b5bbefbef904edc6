#include "tests/Peer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

namespace kestrum {

Peer::Peer(const QStringList& arguments)
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/Peer"), arguments);
    m_process.waitForStarted(patience);
}

Peer::~Peer()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(patience);
}

bool Peer::hasLine(int milliseconds)
{
    const QDeadlineTimer deadline(milliseconds);
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(int(deadline.remainingTime())))
            return m_process.canReadLine();
    }
    return true;
}

QByteArray Peer::line(int milliseconds)
{
    return hasLine(milliseconds) ? m_process.readLine().trimmed() : QByteArray();
}

void Peer::say(const QByteArray& line)
{
    m_process.write(line + '\n');
    m_process.waitForBytesWritten(patience);
}

int Peer::finish()
{
    m_process.closeWriteChannel();
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(patience))
        return -1;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

} // namespace kestrum
