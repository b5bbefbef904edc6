// SPDX-License-Identifier: MIT
#include "Platform/Processes/ProgramWatch.h"

#include "Platform/Log/Log.h"
#include "Platform/Processes/ProgramStart.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr char beginVariable[] = "KESTRUM_PROGRAM_BEGAN";

enum class Standing { same, other, none };

Standing standingAt(const QString& path)
{
    struct stat there { };
    struct stat own { };
    if (::stat(QFile::encodeName(path).constData(), &there) != 0)
        return errno == ENOENT || errno == ENOTDIR ? Standing::none : Standing::same;
    if (::stat("/proc/self/exe", &own) != 0)
        return Standing::same;
    return there.st_dev == own.st_dev && there.st_ino == own.st_ino ? Standing::same : Standing::other;
}

} // namespace

ProgramWatch::ProgramWatch(QObject* parent)
    : ProgramWatch(QCoreApplication::applicationFilePath(), Times(), parent)
{
}

ProgramWatch::ProgramWatch(const QString& path, const Times& times, QObject* parent)
    : QObject(parent)
    , m_path(path)
    , m_times(times)
{
    m_quiet.setSingleShot(true);
    connect(&m_quiet, &QTimer::timeout, this, &ProgramWatch::look);
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, [this] { judge(false); });
    const QFileInfo file(m_path);
    m_folder = std::make_unique<DirectoryWatch>(file.path(), DirectoryWatch::Interest::content,
        [this, name = QFile::encodeName(file.fileName())](const QByteArray& entry) {
            if (entry.isEmpty() || entry == name) {
                m_failures = 0;
                m_quiet.start(m_times.quiet);
            }
        });
    // It may have been replaced between its start and now.
    m_quiet.start(m_times.quiet);
}

ProgramWatch::~ProgramWatch() = default;

void ProgramWatch::look()
{
    switch (standingAt(m_path)) {
    case Standing::same:
        break;
    case Standing::other:
        tryReplacement();
        break;
    case Standing::none:
        Q_EMIT removed();
        break;
    }
}

void ProgramWatch::tryReplacement()
{
    if (m_trial)
        return;
    m_trial = std::make_unique<QProcess>();
    m_trial->setStandardInputFile(QProcess::nullDevice());
    m_trial->setStandardOutputFile(QProcess::nullDevice());
    m_trial->setStandardErrorFile(QProcess::nullDevice());
    ProgramStart::isolate(*m_trial);
    // Queued, because a failed start may be reported while `start` still runs, and `judge` deletes the process.
    connect(
        m_trial.get(), &QProcess::finished, this,
        [this](int code, QProcess::ExitStatus status) { judge(status == QProcess::NormalExit && code == 0); },
        Qt::QueuedConnection);
    connect(
        m_trial.get(), &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                judge(false);
        },
        Qt::QueuedConnection);
    m_limit.start(m_times.trial);
    m_trial->start(m_path, { QStringLiteral("--version") });
}

void ProgramWatch::judge(bool canRun)
{
    if (!m_trial)
        return;
    m_limit.stop();
    m_trial->disconnect(this);
    m_trial->kill();
    m_trial.reset();
    if (canRun) {
        Q_EMIT replaced();
        return;
    }
    if (m_failures++ == 0)
        Log::warning("program",
            QStringLiteral("%1 was replaced by what cannot be run; the one before goes on")
                .arg(Log::escaped(m_path)));
    if (m_failures < mostTrials)
        m_quiet.start(m_times.pauseAfterFailure);
}

Failure ProgramWatch::runInstead(const QString& path, const QByteArrayList& arguments, double since)
{
    qputenv(beginVariable, QByteArray::number(since, 'f', 3));
    QByteArrayList words = arguments;
    QList<char*> pointers;
    for (QByteArray& word : words)
        pointers.append(word.data());
    pointers.append(nullptr);
    ::execv(QFile::encodeName(path).constData(), pointers.data());
    return Failure::fromErrno("run the program in place of this one").about(path);
}

std::optional<double> ProgramWatch::takeBegin()
{
    bool isNumber = false;
    const double began = qgetenv(beginVariable).toDouble(&isNumber);
    qunsetenv(beginVariable);
    return isNumber ? std::optional(began) : std::nullopt;
}

} // namespace kestrum
