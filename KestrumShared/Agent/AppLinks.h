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

/// The agent's place in the bundle, its start and its stop. Main thread only.
namespace AppLinks {

/// The value that every caller gives `launchAgentIfNeeded`.
inline constexpr int retries = 6;
/// The pause between two looks at an agent that may be about to quit.
inline constexpr std::chrono::milliseconds checkDelay { 500 };

/// The agent's name as a `SingleInstance`, which it takes once it has everything that it needs to run.
inline constexpr char agentInstanceName[] = "KestrumAgent";

/// The agent's name for the desktop.
QString agentIdentifier();

/// The agent's bundle inside the main bundle, and the program in it. Both are paths; "URL" belongs to the interface's name,
/// which all programs use.
QString embeddedAgentURL();
QString embeddedAgentProgram();

QList<ProcessScan::Entry> agentProcesses();
bool isAgentRunning();

/// The bundle of the agent that started first; an agent whose start time is unknown counts as the last. Nothing when there
/// are no agents or the bundle cannot be opened.
std::optional<Bundle> runningAgentBundle(const QList<ProcessScan::Entry>& agents = agentProcesses());

/// The variables of our environment that the agent gets too.
QMap<QString, QString> testEnvironment();

/// Starts the agent unless one runs. A running one may be about to quit: it is checked every half second, up to
/// `retriesLeft` times, while the agent is switched on.
void launchAgentIfNeeded(int retriesLeft);

/// Starts the agent without taking the focus; an agent that runs already is the result too. `completion` gets the outcome,
/// from the event loop.
void openAgent(const std::function<void(const Workspace::Opened&)>& completion);

/// Asks the agent to quit itself.
void stopAgent();

} // namespace AppLinks
} // namespace kestrum
