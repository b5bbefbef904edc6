// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/AgentController.h"

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/Workspace.h"

#include <QGuiApplication>
#include <chrono>

namespace kestrum {

namespace {

// The delay of the second check after a change: at first a started program may be missing in the process table, and an ended
// program may still be listed.
constexpr std::chrono::seconds secondLook { 1 };
// The delay of the check after a stop, as long as a start of the agent waits for an agent that was asked to quit. An agent that
// still runs then has ignored the request.
constexpr auto lookAfterStop = AppLinks::checkDelay * AppLinks::retries;

} // namespace

AgentController::AgentController(QObject* parent)
    : QObject(parent)
    , m_isRunning(look())
{
    connect(&Workspace::shared(), &Workspace::runningApplicationsChanged, this, [this] {
        refresh();
        QTimer::singleShot(secondLook, Qt::PreciseTimer, this, &AgentController::refresh);
    });
    // `runningApplicationsChanged` reports neither a failed start nor an agent that ignores the request to quit.
    connect(&Workspace::shared(), &Workspace::openFailed, this, &AgentController::refresh);
    m_afterStop.setSingleShot(true);
    m_afterStop.setInterval(lookAfterStop);
    connect(&m_afterStop, &QTimer::timeout, this, &AgentController::refresh);
    // On X11 Qt reports no change when the application is inactive for less than 0.4 s.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            refresh();
    });
}

bool AgentController::look()
{
    // `Workspace` reports the start and the end of this bundle's agent, and the end of every process in `pids`. It begins
    // before the scan, so that no start between the two is missed.
    Workspace::shared().observe(AppLinks::embeddedAgentURL());
    QList<qint32> pids;
    for (const ProcessScan::Entry& agent : ProcessScan::agents())
        pids.append(agent.pid);
    Workspace::shared().observe(AppLinks::embeddedAgentURL(), pids);
    return !pids.isEmpty();
}

void AgentController::refresh()
{
    publish(look());
}

void AgentController::setEnabled(bool enabled)
{
    Setting { Keys::agentEnabled }.set(enabled);
    if (enabled) {
        m_afterStop.stop();
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
    } else {
        AppLinks::stopAgent();
        m_afterStop.start();
    }
    publish(enabled);
}

void AgentController::publish(bool isRunning)
{
    m_isRunning = isRunning;
    Q_EMIT isRunningChanged(isRunning);
}

} // namespace kestrum
