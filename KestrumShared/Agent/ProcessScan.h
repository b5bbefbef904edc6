// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessTable.h"

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// Finds the running agents in the kernel's process table. Agents from all bundles are found, also those that are quitting.
/// Nothing is cached between calls: a process can become another program, and ids are reused. Main thread only.
namespace ProcessScan {

struct Entry {
    qint32 pid = 0;
    std::optional<double> started; ///< seconds since 1970; nothing if the kernel does not give it
    QString path;                  ///< path of the executable

    bool operator==(const Entry&) const = default;
};

/// The end of the path of every agent's executable.
inline constexpr char agentPathSuffix[] = "/KestrumAgent.app/Contents/MacOS/KestrumAgent";

/// All agents, in the order in which the kernel lists processes. An agent's child is none: it is about to run another program,
/// or only tries whether the agent's new program can be run.
QList<Entry> agents(const ProcessTable& table = ProcessTable());

} // namespace ProcessScan
} // namespace kestrum
