// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Agent/ProcessScan.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Processes/Workspace.h"

#include <QList>
#include <QMap>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

namespace kestrum {

/// Where the agent lives, and how it is started and stopped. Main thread only.
namespace AppLinks {

/// What every caller gives `launchAgentIfNeeded`.
inline constexpr int retries = 6;
/// Between two looks at an agent that may be about to quit.
inline constexpr std::chrono::milliseconds checkDelay { 500 };

/// The place that the agent holds as the only one (`SingleInstance`) from when it has all that it needs to run.
inline constexpr char agentInstanceName[] = "KestrumAgent";

/// By which the desktop knows the agent.
QString agentIdentifier();

/// The agent's bundle inside the main bundle, and the program in it.
QString embeddedAgentURL();
QString embeddedAgentProgram();

QList<ProcessScan::Entry> agentProcesses();
bool isAgentRunning();

/// The bundle of that of the `agents` that started first, one whose start is not known being the last; nothing when there
/// are none or its bundle cannot be opened.
std::optional<Bundle> runningAgentBundle(const QList<ProcessScan::Entry>& agents = agentProcesses());

/// Those variables of our environment that the agent is to have too.
QMap<QString, QString> testEnvironment();

/// Starts the agent unless one runs. One that runs may be about to quit: it is looked at again every half second, up to
/// `retriesLeft` times, as long as the agent is switched on.
void launchAgentIfNeeded(int retriesLeft);

/// Starts the agent without taking the focus; one that runs already is the result too. `completion` is told what became of
/// it, from the event loop.
void openAgent(const std::function<void(const Workspace::Opened&)>& completion);

/// Asks the agent to quit itself.
void stopAgent();

} // namespace AppLinks
} // namespace kestrum
