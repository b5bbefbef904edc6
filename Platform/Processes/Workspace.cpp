// SPDX-License-Identifier: MIT
// How the start of a program is noticed.
//
// The kernel notifies this process when the program's file is opened, which is the first step of executing it. The process
// table shows the program a little later. So the table is polled at once, and several times soon after (see `LaunchPoller`). A
// poll opens no program file, so it causes no further poll. The file's directory is watched, not the file, so the watch still
// works after the file is replaced.

#include "Platform/Processes/Workspace.h"

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/LaunchPoller.h"
#include "Platform/Processes/ProcessEnds.h"
#include "Platform/Processes/ProcessTable.h"
#include "Platform/Processes/ProgramStart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMetaObject>
#include <QSet>
#include <utility>
#include <vector>

namespace kestrum {

namespace {

QString programOf(const QString& bundlePath)
{
    static const QString suffix = QStringLiteral(".app");
    const QString path = QDir::cleanPath(bundlePath);
    QString name = QFileInfo(path).fileName();
    if (name.endsWith(suffix))
        name.chop(suffix.size());
    return path + QStringLiteral("/Contents/MacOS/") + name;
}

// The processes of the program at `path`. Links in `path` are resolved, because the process table shows resolved paths.
QList<qint32> processesOf(const QString& path)
{
    const QFileInfo program(path);
    const QString directory = QFileInfo(program.path()).canonicalFilePath();
    const QString canonical
        = program.exists() ? program.canonicalFilePath() : directory + u'/' + program.fileName();
    QList<qint32> pids;
    ProcessTable().forEach(
        [&pids, name = QFile::encodeName(canonical)](qint32 pid, QByteArrayView executable) {
            if (executable == name)
                pids.append(pid);
        });
    return pids;
}

} // namespace

struct Workspace::Observations {
    struct Program {
        Program(Observations& observations, const QString& programPath)
            : path(programPath)
            , poller([this, &observations] {
                if (observations.poll(path))
                    Q_EMIT observations.workspace.runningApplicationsChanged();
            })
            , watch(QFileInfo(path).path(), DirectoryWatch::Interest::opened,
                  [this, name = QFile::encodeName(QFileInfo(path).fileName())](const QByteArray& entry) {
                      if (entry.isEmpty() || entry == name)
                          poller.restart();
                  })
        {
        }
        QString path;
        LaunchPoller poller;
        DirectoryWatch watch;
    };

    explicit Observations(Workspace& ownWorkspace)
        : workspace(ownWorkspace)
    {
        QObject::connect(&ends, &ProcessEnds::ended, &workspace, [this](qint32 pid) {
            const bool wasStartedHere = children.remove(pid);
            if (observed.remove(pid) || wasStartedHere)
                Q_EMIT workspace.runningApplicationsChanged();
        });
    }

    void follow(qint32 pid)
    {
        observed.insert(pid);
        ends.follow(pid, ProcessEnds::Kind::foreign);
    }

    // Follows all processes of the program. Returns true if any of them is new.
    bool poll(const QString& program)
    {
        bool anyNew = false;
        const QList<qint32> pids = processesOf(program);
        for (const qint32 pid : pids) {
            anyNew |= !observed.contains(pid);
            follow(pid);
        }
        return anyNew;
    }

    void observe(const QString& program)
    {
        for (const auto& known : programs) {
            if (known->path == program)
                return;
        }
        // The watch is created before the poll, so that no start between the two is missed.
        programs.push_back(std::make_unique<Program>(*this, program));
        poll(program);
    }

    Opened open(const QString& bundlePath, const OpenConfiguration& configuration)
    {
        const QString program = programOf(bundlePath);
        if (!QFileInfo(QDir::cleanPath(bundlePath) + QStringLiteral("/Contents")).isDir())
            return { std::nullopt,
                QStringLiteral("there is no application at %1").arg(Log::escaped(bundlePath)) };
        if (!configuration.createsNewApplicationInstance) {
            if (const QList<qint32> pids = processesOf(program); !pids.isEmpty())
                return { pids.first(), {} };
        }
        // Without activation, the program must not get the tokens that would allow it to take the focus.
        const QByteArrayList tokens { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID" };
        const auto pid = ProgramStart::start(QFile::encodeName(program), {}, configuration.environment,
            configuration.activates ? QByteArrayList() : tokens);
        if (!pid)
            return { std::nullopt,
                QStringLiteral("%1 cannot be started: %2").arg(Log::escaped(program), pid.failure().reason) };
        children.insert(*pid);
        ends.follow(*pid, ProcessEnds::Kind::child);
        return { *pid, {} };
    }

    Workspace& workspace;
    ProcessEnds ends;
    QSet<qint32> observed;
    QSet<qint32> children; ///< started by this process, even if they end before a poll finds them
    std::vector<std::unique_ptr<Program>> programs;
};

Workspace& Workspace::shared()
{
    // Never destroyed, because programs that this object started may end after the application object.
    static auto* const workspace = new Workspace;
    return *workspace;
}

Workspace::Workspace()
    : m_observations(std::make_unique<Observations>(*this))
{
}

Workspace::~Workspace() = default;

void Workspace::openApplication(const QString& bundlePath, const OpenConfiguration& configuration,
    std::function<void(const Opened&)> completion)
{
    QMetaObject::invokeMethod(
        this,
        [this, opened = m_observations->open(bundlePath, configuration), completion = std::move(completion)] {
            if (completion)
                completion(opened);
            if (!opened.error.isEmpty())
                Q_EMIT openFailed();
        },
        Qt::QueuedConnection);
}

void Workspace::observe(const QString& bundlePath, const QList<qint32>& pids)
{
    m_observations->observe(programOf(bundlePath));
    for (const qint32 pid : pids)
        m_observations->follow(pid);
}

} // namespace kestrum
