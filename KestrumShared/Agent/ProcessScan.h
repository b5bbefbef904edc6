// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessTable.h"

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// Whether the agent runs, from the kernel's own table: every agent process counts, wherever its bundle lies and even
/// while it is quitting. Keeps nothing between calls. Main thread only.
namespace ProcessScan {

struct Entry {
    qint32 pid = 0;
    std::optional<double> started; ///< seconds since 1970; nothing when the kernel does not say
    QString path;                  ///< of the executable

    bool operator==(const Entry&) const = default;
};

/// What the path of an agent's executable ends with.
inline constexpr char agentPathSuffix[] = "/KestrumAgent.app/Contents/MacOS/KestrumAgent";

/// All agents, in the order in which the kernel lists processes.
QList<Entry> agents(const ProcessTable& table = ProcessTable());

} // namespace ProcessScan
} // namespace kestrum
