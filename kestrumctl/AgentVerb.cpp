// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/SingleInstance.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/SignalNames.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

namespace kestrum {

namespace {

constexpr std::chrono::seconds patience { 5 };
// The request to quit is repeated at this interval, because a starting agent does not listen yet.
constexpr std::chrono::milliseconds askingInterval { 500 };
// An agent that cannot run, for example without a display, exits within this time.
constexpr std::chrono::milliseconds trialTime { 500 };
// On a busy machine, an agent may need longer to start. An agent that runs after this time counts as started.
constexpr std::chrono::milliseconds longestTrial { 5000 };
// An agent that is about to quit exits within this time.
constexpr std::chrono::milliseconds quittingTime = AppLinks::checkDelay * AppLinks::retries;

void leave(ExitCode code)
{
    QCoreApplication::exit(static_cast<int>(code));
}

QList<qint32> agentPids()
{
    QList<qint32> pids;
    for (const ProcessScan::Entry& agent : AppLinks::agentProcesses())
        pids.append(agent.pid);
    return pids;
}

// Starts an agent and waits until it certainly runs. Checks the process table after each notification of the workspace, and
// at the end of each wait, because notifications may be missing.
class AgentStart {
public:
    ExitCode run()
    {
        m_time.setSingleShot(true);
        m_time.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_time, &QTimer::timeout, [this] { look(true); });
        QObject::connect(
            &Workspace::shared(), &Workspace::runningApplicationsChanged, &m_time, [this] { look(false); });
        QTimer::singleShot(0, &m_time, [this] {
            if (AppLinks::isAgentRunning())
                wait(Awaited::itsEnd, quittingTime);
            else
                open();
        });
        return static_cast<ExitCode>(QCoreApplication::exec());
    }

private:
    /// `itsEnd`: a running agent may exit soon. `itsStay`: the started agent must keep running. `nothing`: no wait is
    /// active.
    enum class Awaited { nothing, itsEnd, itsStay };

    void wait(Awaited awaited, std::chrono::milliseconds time)
    {
        m_awaited = awaited;
        m_time.start(time);
        look(false);
    }

    void look(bool isLast)
    {
        if (m_awaited == Awaited::nothing)
            return;
        if (const QList<qint32> pids = agentPids(); !pids.isEmpty()) {
            Workspace::shared().observe(AppLinks::embeddedAgentURL(), pids);
            if (!isLast)
                return;
            if (m_awaited == Awaited::itsStay && !hasBegun() && !m_trial.hasExpired())
                m_time.start(trialTime);
            else
                finish(ExitCode::done);
        } else if (m_awaited == Awaited::itsStay) {
            finish(Console::failed(QStringLiteral("the agent ended as soon as it was started")));
        } else if (!Setting(Keys::agentEnabled).value()) {
            finish(Console::failed(QStringLiteral("the agent was switched off meanwhile")));
        } else {
            open();
        }
    }

    /// Whether an agent has taken its lock, which means that it is ready. Also true if the lock cannot be checked; the agent
    /// then counts as started if it still runs after `trialTime`.
    static bool hasBegun() { return SingleInstance::isTaken(AppLinks::agentInstanceName).value_or(true); }

    void open()
    {
        m_awaited = Awaited::nothing;
        m_time.stop();
        AppLinks::openAgent([this](const Workspace::Opened& opened) {
            if (!opened.pid)
                return finish(Console::failed(opened.error));
            m_trial.setRemainingTime(longestTrial);
            wait(Awaited::itsStay, trialTime);
        });
    }

    void finish(ExitCode code)
    {
        m_awaited = Awaited::nothing;
        leave(code);
    }

    Awaited m_awaited = Awaited::nothing;
    QTimer m_time;
    QDeadlineTimer m_trial;
};

ExitCode stop()
{
    const QList<qint32> pids = agentPids();
    if (pids.isEmpty())
        return ExitCode::done;
    QObject::connect(
        &Workspace::shared(), &Workspace::runningApplicationsChanged, QCoreApplication::instance(), [] {
            if (!AppLinks::isAgentRunning())
                leave(ExitCode::done);
        });
    Workspace::shared().observe(AppLinks::embeddedAgentURL(), pids);
    QTimer asking;
    QObject::connect(&asking, &QTimer::timeout, QCoreApplication::instance(), AppLinks::stopAgent);
    asking.start(askingInterval);
    AppLinks::stopAgent();
    QTimer::singleShot(patience, QCoreApplication::instance(), [] {
        QStringList numbers;
        for (const qint32 pid : agentPids())
            numbers.append(QString::number(pid));
        if (numbers.isEmpty())
            return leave(ExitCode::done);
        // Signals are checked only after this failure: agents usually also quit because of the stored choice.
        const QString obstacle = SignalNames::obstacle();
        leave(Console::failed(QStringLiteral("the agent was asked to quit and still runs (pid %1)%2")
                                  .arg(numbers.join(QStringLiteral(", ")),
                                      obstacle.isEmpty() ? QString() : QStringLiteral(": ") + obstacle)));
    });
    return static_cast<ExitCode>(QCoreApplication::exec());
}

ExitCode runAgent(const CommandLine& line)
{
    const QString& action = line.arguments()[0];
    const QStringList actions { QStringLiteral("start"), QStringLiteral("stop") };
    if (!actions.contains(action))
        return Console::wrongUse(NearestNames::unknown("action", action, actions));
    const bool isStart = action == actions.first();
    // Stores the choice like the switch in the settings window, so that the choice also applies to later agents.
    const UserDefaults& store = KeyCatalogue::openedStore();
    if (!Setting(Keys::agentEnabled).set(isStart))
        return Console::failed(store.lastError());
    return isStart ? AgentStart().run() : stop();
}

} // namespace

const Verb agentVerb {
    .name = "agent",
    .parameters = "start|stop",
    .summary = "switch the agent on or off",
    .details
    = R"(Does what the switch in the settings window does: stores the choice under agentEnabled, and starts the agent
of the bundle that kestrumctl is in, or asks every running agent to quit.

  start  an agent that runs already is enough when it still does three seconds later, since it may be
         about to quit: then a new one takes its place. A new one is watched for half a second, and until it
         has begun, up to five seconds
  stop   waits up to five seconds until none runs; nothing to do is done

Exit code 1 when the agent cannot be started, ends at once, is switched off meanwhile, or does not quit.
)",
    .run = runAgent,
    .fewestArguments = 1,
    .mostArguments = 1,
};

} // namespace kestrum
