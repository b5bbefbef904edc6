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

/// Finds, starts and stops the agent. Main thread only.
namespace AppLinks {

/// The number of retries that every caller passes to `launchAgentIfNeeded`.
inline constexpr int retries = 6;
/// The pause between two checks of a running agent, which may be about to quit.
inline constexpr std::chrono::milliseconds checkDelay { 500 };

/// The agent's name for `SingleInstance`. The agent takes this name as soon as it has everything that it needs to run.
inline constexpr char agentInstanceName[] = "KestrumAgent";

/// The application identifier by which the desktop knows the agent.
QString agentIdentifier();

/// The paths of the agent's bundle in the main bundle, and of the program in the agent's bundle. "URL" is only part of the
/// interface's fixed name.
QString embeddedAgentURL();
QString embeddedAgentProgram();

QList<ProcessScan::Entry> agentProcesses();
bool isAgentRunning();

/// The bundle of the agent that started first; an agent with an unknown start time counts as the last. Nothing if no agent
/// runs or the bundle does not exist.
std::optional<Bundle> runningAgentBundle(const QList<ProcessScan::Entry>& agents = agentProcesses());

/// The variables of this process's environment that are passed to the agent.
QMap<QString, QString> testEnvironment();

/// Starts the agent unless one runs. A running agent may be about to quit: while the agent is switched on, the check is
/// repeated every half second, up to `retriesLeft` times.
void launchAgentIfNeeded(int retriesLeft);

/// Starts the agent without giving it the focus. An agent that runs already counts as started. `completion` is called with
/// the result, from the event loop.
void openAgent(const std::function<void(const Workspace::Opened&)>& completion);

/// Asks the agent to quit; returns at once.
void stopAgent();

} // namespace AppLinks
} // namespace kestrum
