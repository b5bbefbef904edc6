#pragma once

#include "KestrumShared/Agent/ProcessScan.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/StandIns.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <csignal>

namespace kestrum {

/// A main bundle of the application in a temporary folder, with a program that can stand for the agent
/// (tests/Support/StandInAgentProgram.cpp). The destructor kills agents that still run, by their ids. Use this class only in a
/// separate process table.
class AgentFixture {
public:
    AgentFixture()
    {
        qunsetenv("KESTRUM_TEST_AGENT");
        qputenv("KESTRUM_TEST_REPORT", QFile::encodeName(reportPath()));
        forgetSettings();
        m_tree.write(QStringLiteral("Kestrum.app/Contents/Info.plist"), "{ CFBundleName = Kestrum; }");
        Bundle::setMain(Bundle(m_tree.path(QStringLiteral("Kestrum.app"))));
    }
    ~AgentFixture() { endAgents(); }
    Q_DISABLE_COPY_MOVE(AgentFixture)

    /// Installs the program in the application's bundle, or in another copy of this bundle. Returns the program's path.
    QString installAgent(const QString& application = QStringLiteral("Kestrum.app")) const
    {
        const QString program = m_tree.path(StandIns::agentOf(application));
        QDir().mkpath(QFileInfo(program).path());
        QFile::copy(QCoreApplication::applicationDirPath() + QStringLiteral("/StandInAgent"), program);
        return program;
    }

    void writeResource(const QString& name, const QByteArray& content) const
    {
        m_tree.write(QStringLiteral("Kestrum.app/Contents/Resources/") + name, content);
    }

    /// Starts the program as a person in a shell would.
    static qint64 startByHand(const QString& program)
    {
        qint64 pid = 0;
        QProcess::startDetached(program, {}, QString(), &pid);
        return pid;
    }

    static QList<qint32> agents()
    {
        QList<qint32> pids;
        for (const ProcessScan::Entry& agent : ProcessScan::agents())
            pids.append(agent.pid);
        return pids;
    }

    /// The process ids of all agents that have ever begun to listen, in that order.
    QList<qint32> everStarted() const
    {
        QFile file(reportPath());
        QList<qint32> pids;
        if (file.open(QIODevice::ReadOnly)) {
            while (!file.atEnd())
                pids.append(file.readLine().trimmed().toInt());
        }
        return pids;
    }

    /// Waits until one agent runs and receives signals.
    void waitForAgent(qsizetype started = 1) const
    {
        QTRY_COMPARE(everStarted().size(), started);
        QCOMPARE(agents().size(), 1);
    }

    /// Ends only this fixture's agents, because a test without a separate process table also sees other agents.
    void endAgents() const
    {
        const auto own = [this] {
            QList<qint32> pids;
            for (const ProcessScan::Entry& agent : ProcessScan::agents()) {
                if (agent.path.startsWith(m_tree.root()))
                    pids.append(agent.pid);
            }
            return pids;
        };
        for (const qint32 pid : own())
            ::kill(pid, SIGKILL);
        QTRY_VERIFY(own().isEmpty());
    }

private:
    QString reportPath() const { return m_tree.path(QStringLiteral("started")); }

    FileTree m_tree;
};

} // namespace kestrum
