#pragma once

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/StandIns.h"

#include <functional>

namespace kestrum {

/// A bundle for each test, with the tool and a stand-in for the agent. The end of a test kills all agents that still run, so
/// use this class only in a separate process table.
class KestrumctlAgentFixture : public QObject {
    Q_OBJECT
protected:
    /// The path of the agent's program in the tool's bundle. `installCopy` installs another one in the folder `name`.
    QString agentPath() const { return m_standIns->path(StandIns::agentOf(QStringLiteral("Kestrum.app"))); }
    QString installCopy(const char* name) const
    {
        return m_standIns->install(StandIns::agentIn(QString::fromLatin1(name)));
    }
    /// Starts the stand-in of the tool's bundle. The stand-in ends after `life` milliseconds, if given.
    qint32 startAgent(const QByteArray& life = {}) const { return m_standIns->start(agentPath(), life).pid; }

    QString tool() const { return m_standIns->path(QStringLiteral("Kestrum.app/Contents/MacOS/kestrumctl")); }

    /// Runs the tool of the test's bundle while the test handles events. `before` runs in the new process, before the tool.
    Programs::Ended ctl(const char* line, const Programs::Variables& variables = {},
        const std::function<void()>& before = {}) const
    {
        QProcess process;
        process.setProcessEnvironment(Programs::environment(variables));
        process.setChildProcessModifier(before);
        process.start(tool(), words(line));
        (void)QTest::qWaitFor(
            [&process] { return process.state() == QProcess::NotRunning; }, Programs::patience);
        return Programs::ended(process);
    }

    static bool storedChoice()
    {
        const auto stored
            = SharedSettings::store().storedDictionary().value(QLatin1StringView(Keys::agentEnabled.name));
        return stored.toBool(!Keys::agentEnabled.factoryDefault);
    }

    std::unique_ptr<SingleInstance>
        m_place; ///< holds the agent's instance name, because the stand-in agent does not take it
    std::unique_ptr<StandIns> m_standIns;

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        registerFactoryDefaults();
    }

    void init()
    {
        forgetSettings();
        m_place = std::make_unique<SingleInstance>(AppLinks::agentInstanceName);
        m_standIns = std::make_unique<StandIns>();
        m_standIns->install(StandIns::agentOf(QStringLiteral("Kestrum.app")));
        QVERIFY(QDir().mkpath(QFileInfo(tool()).path()));
        QVERIFY(QFile::copy(Kestrumctl::path(), tool()));
    }

    void cleanup()
    {
        for (const qint32 pid : agentPids())
            StandIns::kill(pid);
        QTRY_VERIFY(agentPids().isEmpty());
        m_standIns.reset();
        m_place.reset();
    }
};

} // namespace kestrum
