// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/ProcessScan.h"

namespace kestrum {

namespace {

// Compares bytes: the suffix is ASCII, so only matching paths have to be decoded.
bool isAgent(QByteArrayView path)
{
    return path.endsWith(QByteArrayView(ProcessScan::agentPathSuffix));
}

QList<ProcessScan::Entry> processes(const ProcessTable& table, bool (*accepts)(QByteArrayView path))
{
    QList<ProcessScan::Entry> result;
    table.forEach([&](qint32 pid, QByteArrayView path) {
        if (accepts(path))
            result.append({ pid, table.startTime(pid), QString::fromUtf8(path) });
    });
    return result;
}

} // namespace

QList<ProcessScan::Entry> ProcessScan::agents(const ProcessTable& table)
{
    return processes(table, isAgent);
}

} // namespace kestrum
