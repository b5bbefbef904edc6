#pragma once

#include "tests/Support/FileTree.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <sys/types.h>

namespace kestrum {

/// Copies of the program "StandIn" (tests/Support/StandInProgram.cpp) at chosen places in a temporary folder, and their
/// processes. The destructor ends the processes that were started here, by their ids.
class StandIns {
public:
    StandIns() = default;
    ~StandIns();
    Q_DISABLE_COPY_MOVE(StandIns)

    /// The path of the agent's program in the bundle in `folder`.
    static QString agentIn(const QString& folder)
    {
        return folder + QStringLiteral("/KestrumAgent.app/Contents/MacOS/KestrumAgent");
    }
    /// The path of the agent's program in an application's bundle, and the path of the agent's own bundle.
    static QString agentOf(const QString& application) { return agentIn(agentFolderOf(application)); }
    static QString agentBundleOf(const QString& application)
    {
        return agentFolderOf(application) + QStringLiteral("/KestrumAgent.app");
    }

    QString path(const QString& relative) const { return m_tree.path(relative); }
    const FileTree& tree() const { return m_tree; }

    /// Installs the program at `relative`, in place of any existing file. Returns its full path.
    QString install(const QString& relative) const;

    struct Process {
        qint32 pid = 0;
        double notBefore = 0; ///< in seconds since 1970, taken right before and right after the start
        double notAfter = 0;
    };
    /// Starts the program at the full path `program`; the pid is 0 when that fails.
    Process start(const QByteArray& program, const QByteArray& argument = {});
    Process start(const QString& program, const QByteArray& argument = {})
    {
        return start(QFile::encodeName(program), argument);
    }

    /// Ends a process that `start` returned, and waits for its end.
    void end(qint32 pid);
    /// Kills a process without waiting: it stays a zombie until `end`.
    static void kill(qint32 pid);

    /// The environment of a running program, sorted. Waits until the program has it.
    static QByteArrayList environmentOf(qint32 pid);

private:
    static QString agentFolderOf(const QString& application)
    {
        return application + QStringLiteral("/Contents/Library/LoginItems");
    }

    FileTree m_tree;
    QList<qint32> m_pids;
};

} // namespace kestrum
