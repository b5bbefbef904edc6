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

/// A bundle of the application in a temporary folder, which is the main bundle, with a program in it that can stand for the
/// agent (tests/Support/StandInAgentProgram.cpp). Agents that still run at the end are killed, by their ids: for tests among
/// processes of their own only.
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

    /// Puts the program into the application's bundle, or into that of another copy. Gives its path.
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

    /// What a person who starts the program in a shell does.
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

    /// The agents that were ever started and began to listen, in that order.
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

    /// Until one agent runs and hears signals.
    void waitForAgent(qsizetype started = 1) const
    {
        QTRY_COMPARE(everStarted().size(), started);
        QCOMPARE(agents().size(), 1);
    }

    /// Only those of this fixture: where a test has no process table of its own, there may be others.
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
