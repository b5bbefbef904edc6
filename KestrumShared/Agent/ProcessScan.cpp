// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/ProcessScan.h"

namespace kestrum {

namespace {

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
    // Compares bytes: the suffix is ASCII, so only matching paths have to be decoded.
    return processes(
        table, [](QByteArrayView path) { return path.endsWith(QByteArrayView(agentPathSuffix)); });
}

} // namespace kestrum
