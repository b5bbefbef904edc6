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
/// The pause between two checks whether an agent still runs.
inline constexpr std::chrono::milliseconds checkDelay { 500 };

/// The agent's name for `SingleInstance`. The agent takes this name when it is ready to run.
inline constexpr char agentInstanceName[] = "KestrumAgent";

/// The application identifier by which the desktop knows the agent.
QString agentIdentifier();

/// The path of the agent's bundle in the main bundle. It is a plain path in spite of the function's name.
QString embeddedAgentURL();
/// The path of the program in the agent's bundle.
QString embeddedAgentProgram();

QList<ProcessScan::Entry> agentProcesses();
bool isAgentRunning();

/// The bundle of the agent that started first. An agent with an unknown start time counts as the last. Nothing if no agent
/// runs or the bundle does not exist.
std::optional<Bundle> runningAgentBundle(const QList<ProcessScan::Entry>& agents = agentProcesses());

/// The variables of this process's environment that are passed to the agent.
QMap<QString, QString> testEnvironment();

/// Starts the agent unless one runs. A running agent may be about to quit. So while the setting `Keys::agentEnabled` is on,
/// the check is repeated every half second, up to `retriesLeft` times.
void launchAgentIfNeeded(int retriesLeft);

/// Starts the agent without giving it the focus. An agent that runs already counts as started. `completion` is called with
/// the result, from the event loop.
void openAgent(const std::function<void(const Workspace::Opened&)>& completion);

/// Asks the agent to quit; returns at once.
void stopAgent();

} // namespace AppLinks
} // namespace kestrum
