// SPDX-License-Identifier: MIT
#include "Platform/Processes/ProgramRun.h"

#include "Platform/Processes/ProgramStart.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>
#include <utility>

namespace kestrum {

namespace {

constexpr qsizetype longestOutput = 1024 * 1024;
constexpr qsizetype longestMessage = 200;

/// One run. Destroys itself after its end.
class Run final : public QProcess {
public:
    Run(QObject* context, ProgramRun::Ended ended)
        : QProcess(context)
        , m_ended(std::move(ended))
    {
        m_limit.setSingleShot(true);
        connect(&m_limit, &QTimer::timeout, this, [this] { abandon(QStringLiteral("it takes too long")); });
        connect(this, &QProcess::readyReadStandardOutput, this, &Run::collect);
        connect(this, &QProcess::readyReadStandardError, this, &Run::collect);
        connect(this, &QProcess::finished, this, &Run::conclude);
        // Other errors are followed by `finished`. Queued, because a failed start is reported while `start` still runs.
        connect(
            this, &QProcess::errorOccurred, this,
            [this](QProcess::ProcessError error) {
                if (error == QProcess::FailedToStart)
                    tell(Failure::withReason(errorString()));
            },
            Qt::QueuedConnection);
    }

    ~Run() override
    {
        disconnect();
        kill();
        waitForFinished(1000);
    }

    void begin(const QString& program, const QStringList& arguments, std::chrono::milliseconds limit)
    {
        m_program = program;
        const QString path = ProgramStart::find(program);
        if (path.isEmpty()) {
            QMetaObject::invokeMethod(
                this, [this] { tell(Failure::withReason(QStringLiteral("it is not installed"))); },
                Qt::QueuedConnection);
            return;
        }
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        environment.remove(QStringLiteral("LANGUAGE"));
        setProcessEnvironment(environment);
        setStandardInputFile(QProcess::nullDevice());
        ProgramStart::isolate(*this);
        m_limit.start(limit);
        start(path, arguments, QIODevice::ReadOnly);
    }

private:
    void collect()
    {
        m_output += readAllStandardOutput();
        m_message += readAllStandardError();
        if (m_output.size() + m_message.size() > longestOutput)
            abandon(QStringLiteral("it prints too much"));
    }

    void abandon(const QString& reason)
    {
        if (m_whyAbandoned.isEmpty())
            m_whyAbandoned = reason;
        m_output.clear();
        m_message.clear();
        kill();
    }

    void conclude()
    {
        m_limit.stop();
        collect();
        if (!m_whyAbandoned.isEmpty()) {
            tell(Failure::withReason(m_whyAbandoned));
        } else if (exitStatus() == QProcess::NormalExit && exitCode() == 0) {
            tell(m_output);
        } else {
            const QString message = QString::fromUtf8(m_message).simplified().left(longestMessage);
            tell(Failure::withReason(
                message.isEmpty() ? QStringLiteral("it failed without a message") : message));
        }
    }

    void tell(Result<QByteArray> outcome)
    {
        deleteLater();
        if (!outcome)
            outcome = outcome.failure().about(m_program);
        std::exchange(m_ended, [](const Result<QByteArray>&) {})(outcome);
    }

    QString m_program;
    QTimer m_limit;
    QByteArray m_output;
    QByteArray m_message;
    QString m_whyAbandoned;
    ProgramRun::Ended m_ended;
};

} // namespace

void ProgramRun::start(const QString& program, const QStringList& arguments, QObject* context, Ended ended,
    std::chrono::milliseconds limit)
{
    (new Run(context, std::move(ended)))->begin(program, arguments, limit);
}

void ProgramRun::startInTurn(
    const QString& program, const QList<QStringList>& runs, QObject* context, Ended ended)
{
    if (runs.isEmpty()) {
        QMetaObject::invokeMethod(
            context, [ended = std::move(ended)] { ended(QByteArray()); }, Qt::QueuedConnection);
        return;
    }
    start(program, runs.first(), context,
        [program, rest = runs.mid(1), context, ended = std::move(ended)](const Result<QByteArray>& outcome) {
            if (outcome && !rest.isEmpty())
                startInTurn(program, rest, context, ended);
            else
                ended(outcome);
        });
}

} // namespace kestrum
