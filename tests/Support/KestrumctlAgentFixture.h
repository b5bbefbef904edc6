#pragma once

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/StandIns.h"

#include <QProcess>
#include <QTest>
#include <functional>
#include <memory>

namespace kestrum {

/// A test's bundle with the tool and a stand-in for the agent. The end of a test kills agents that still run: only for tests
/// with a process table of their own.
class KestrumctlAgentFixture {
protected:
    static inline const QString agentPlace = StandIns::agentOf(QStringLiteral("Kestrum.app"));

    static void prepareStage()
    {
        if (!ProcessScan::agents().isEmpty())
            QSKIP("an agent of somebody else runs, and this kernel lets us have no process table of our own");
        registerFactoryDefaults();
    }

    void setStage()
    {
        forgetSettings();
        m_place = std::make_unique<SingleInstance>(AppLinks::agentInstanceName);
        m_standIns = std::make_unique<StandIns>();
        m_standIns->install(agentPlace);
        QVERIFY(QDir().mkpath(QFileInfo(tool()).path()));
        QVERIFY(QFile::copy(Kestrumctl::path(), tool()));
    }

    void clearStage()
    {
        for (const qint32 pid : runningPids())
            StandIns::kill(pid);
        QTRY_VERIFY(runningPids().isEmpty());
        m_standIns.reset();
        m_place.reset();
    }

    static QList<qint32> runningPids()
    {
        QList<qint32> pids;
        for (const auto& agent : ProcessScan::agents())
            pids.append(agent.pid);
        return pids;
    }

    QString tool() const { return m_standIns->path(QStringLiteral("Kestrum.app/Contents/MacOS/kestrumctl")); }

    /// Runs the tool of the test's bundle while the test handles events. `before` runs in the new process, before the tool.
    Kestrumctl::Result ctl(const char* line, const Kestrumctl::Variables& variables = {},
        const std::function<void()>& before = {}) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const auto& [name, value] : variables)
            environment.insert(name, value);
        process.setProcessEnvironment(environment);
        process.setChildProcessModifier(before);
        process.start(tool(), Kestrumctl::words(line));
        Kestrumctl::Result result;
        const auto hasEnded = [&process] { return process.state() == QProcess::NotRunning; };
        if (!QTest::qWaitFor(hasEnded, 20'000)) {
            process.kill();
            process.waitForFinished();
        } else if (process.exitStatus() == QProcess::NormalExit) {
            result.code = process.exitCode();
        }
        result.output = process.readAllStandardOutput();
        result.errors = process.readAllStandardError();
        return result;
    }

    static bool storedChoice()
    {
        const auto stored
            = SharedSettings::store().storedDictionary().value(QLatin1StringView(Keys::agentEnabled.name));
        return stored.toBool(!Keys::agentEnabled.factoryDefault);
    }

    std::unique_ptr<SingleInstance>
        m_place; ///< a running agent holds this instance name, but its stand-in does not
    std::unique_ptr<StandIns> m_standIns;
};

} // namespace kestrum
