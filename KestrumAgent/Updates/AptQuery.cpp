// SPDX-License-Identifier: MIT
#include "KestrumAgent/Updates/AptQuery.h"

#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Processes/ProgramStart.h"

#include <QProcessEnvironment>

namespace kestrum {

namespace {

// Limits of APT's output, in bytes. A usual answer has a few hundred bytes.
constexpr qsizetype longestAnswer = 256 * 1024;
constexpr qsizetype longestComplaint = 4 * 1024;
constexpr int longestReason = 200;

/// The first error message in APT's output, without the mark "E: "; empty if there is none. Skips warnings and notices.
QString firstError(const QByteArray& text)
{
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith("E: "))
            return QString::fromUtf8(line.mid(3)).simplified().left(longestReason);
    }
    return {};
}

} // namespace

AptQuery::AptQuery(const QString& package, std::chrono::milliseconds timeLimit, QObject* parent)
    : QObject(parent)
    , m_package(package)
{
    m_limit.setSingleShot(true);
    m_limit.setInterval(timeLimit);
    connect(&m_limit, &QTimer::timeout, this, [this] { abandon(AppLanguage::string("APT took too long.")); });
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &AptQuery::collect);
    connect(&m_process, &QProcess::readyReadStandardError, this, &AptQuery::collect);
    connect(&m_process, &QProcess::finished, this, &AptQuery::conclude);
    // Handles failed starts only, because `QProcess::finished` follows every other error. Queued, because a failed start is
    // reported while `start` still runs.
    connect(
        &m_process, &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error != QProcess::FailedToStart)
                return;
            m_limit.stop();
            Q_EMIT failed(m_process.errorString());
        },
        Qt::QueuedConnection);
}

AptQuery::~AptQuery()
{
    m_process.disconnect(this);
    m_process.kill();
    m_process.waitForFinished(1000);
}

QString AptQuery::program()
{
    return ProgramStart::find(QStringLiteral("apt-cache"));
}

void AptQuery::start()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    m_process.setProcessEnvironment(environment);
    m_process.setStandardInputFile(QProcess::nullDevice());
    ProgramStart::isolate(m_process);
    m_limit.start();
    // If `program` finds no path, the start by name fails, and `failed` is emitted with the reason.
    const QString found = program();
    m_process.start(found.isEmpty() ? QStringLiteral("apt-cache") : found,
        { QStringLiteral("policy"), m_package }, QIODevice::ReadOnly);
}

void AptQuery::collect()
{
    m_answer += m_process.readAllStandardOutput();
    m_complaints += m_process.readAllStandardError();
    m_complaints.truncate(longestComplaint);
    if (m_answer.size() > longestAnswer)
        abandon(AppLanguage::string("APT's answer is not understood."));
}

void AptQuery::abandon(const QString& reason)
{
    if (m_whyAbandoned.isEmpty())
        m_whyAbandoned = reason;
    m_answer.clear();
    m_process.kill();
}

void AptQuery::conclude()
{
    m_limit.stop();
    collect();
    if (!m_whyAbandoned.isEmpty()) {
        Q_EMIT failed(m_whyAbandoned);
        return;
    }
    if (m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0) {
        Q_EMIT answered(m_answer);
        return;
    }
    const QString error = firstError(m_complaints);
    Q_EMIT failed(error.isEmpty() ? AppLanguage::string("APT gave no answer.") : error);
}

} // namespace kestrum
