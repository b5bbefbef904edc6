// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessTable.h"

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// The running agents, from the kernel's process table: every agent process counts, in any bundle and also while it is
/// quitting. Caches nothing between calls: a known process can become another program, and ids are reused. Main thread only.
namespace ProcessScan {

struct Entry {
    qint32 pid = 0;
    std::optional<double> started; ///< seconds since 1970; nothing when the kernel does not say
    QString path;                  ///< of the executable

    bool operator==(const Entry&) const = default;
};

/// The end of the path of an agent's executable.
inline constexpr char agentPathSuffix[] = "/KestrumAgent.app/Contents/MacOS/KestrumAgent";

/// All agents, in the order in which the kernel lists processes.
QList<Entry> agents(const ProcessTable& table = ProcessTable());

} // namespace ProcessScan
} // namespace kestrum
