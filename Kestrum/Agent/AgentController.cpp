#include "Kestrum/Agent/AgentController.h"

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Processes/Workspace.h"

#include <QGuiApplication>
#include <chrono>

namespace kestrum {

namespace {

// A program that was just started or ended may not yet be in the process table, or still be.
constexpr std::chrono::seconds secondLook { 1 };
// As long as a start waits for an agent that was asked to quit: one that is still there then has not heard.
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
    // We hear of our own agent's coming and going alone: neither a start that fails nor an agent that stays changes anything.
    connect(&Workspace::shared(), &Workspace::openFailed, this, &AgentController::refresh);
    m_afterStop.setSingleShot(true);
    m_afterStop.setInterval(lookAfterStop);
    connect(&m_afterStop, &QTimer::timeout, this, &AgentController::refresh);
    // Qt on X11 does not notice when the application is left for less than 0.4 s.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            refresh();
    });
}

bool AgentController::look()
{
    // Our own agent's starts and ends are told of; of copies in other places the end, once they were seen.
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
