// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/ProcessScan.h"

#include <algorithm>
#include <utility>

namespace kestrum {

QList<ProcessScan::Entry> ProcessScan::agents(const ProcessTable& table)
{
    QList<Entry> found;
    table.forEach([&](qint32 pid, QByteArrayView path) {
        // Compares bytes: the suffix is ASCII, so only matching paths have to be decoded.
        if (path.endsWith(QByteArrayView(agentPathSuffix)))
            found.append({ pid, table.startTime(pid), QString::fromUtf8(path) });
    });
    if (found.size() < 2)
        return found;
    QList<Entry> agents;
    for (const Entry& entry : std::as_const(found)) {
        const auto parent = table.parent(entry.pid);
        if (std::none_of(found.begin(), found.end(), [&](const Entry& other) { return other.pid == parent; }))
            agents.append(entry);
    }
    return agents;
}

} // namespace kestrum
