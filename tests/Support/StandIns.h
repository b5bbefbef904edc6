#pragma once

#include "tests/Support/FileTree.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <sys/types.h>

namespace kestrum {

/// Copies of the program "StandIn" (tests/Support/StandInProgram.cpp) at chosen places of a temporary folder, and processes of
/// them. What was started here is ended, by its id, when this is destroyed.
class StandIns {
public:
    StandIns() = default;
    ~StandIns();
    Q_DISABLE_COPY_MOVE(StandIns)

    /// The program of an agent whose bundle lies in `folder`.
    static QString agentIn(const QString& folder)
    {
        return folder + QStringLiteral("/KestrumAgent.app/Contents/MacOS/KestrumAgent");
    }
    /// The program of the agent in an application's bundle, and that agent's bundle.
    static QString agentOf(const QString& application) { return agentIn(agentFolderOf(application)); }
    static QString agentBundleOf(const QString& application)
    {
        return agentFolderOf(application) + QStringLiteral("/KestrumAgent.app");
    }

    QString path(const QString& relative) const { return m_tree.path(relative); }
    const FileTree& tree() const { return m_tree; }

    /// Puts the program at `relative`, in the place of what is there. Gives its full path.
    QString install(const QString& relative) const;

    struct Process {
        qint32 pid = 0;
        double notBefore = 0; ///< seconds since 1970, right before and right after its start
        double notAfter = 0;
    };
    /// Starts the program at the full path `program`; pid 0 when that fails.
    Process start(const QByteArray& program, const QByteArray& argument = {});
    Process start(const QString& program, const QByteArray& argument = {})
    {
        return start(QFile::encodeName(program), argument);
    }

    /// Ends a process of `start` and waits for it.
    void end(qint32 pid);
    /// Ends it without waiting: until `end`, it is a zombie.
    static void kill(qint32 pid);

    /// The variables of a running program, sorted, once it has been given them.
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
