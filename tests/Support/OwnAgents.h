#pragma once

#include "KestrumShared/Agent/ProcessScan.h"

#include <QTest>

namespace kestrum {

/// The process ids of the agents that run.
inline QList<qint32> agentPids()
{
    QList<qint32> pids;
    for (const ProcessScan::Entry& agent : ProcessScan::agents())
        pids.append(agent.pid);
    return pids;
}

/// Skips a test class while other agents run. Call this first in `initTestCase` of tests that search for agents.
inline void skipAmongAgentsOfOthers()
{
    if (!agentPids().isEmpty())
        QSKIP("an agent of somebody else runs, and this kernel lets us have no process table of our own");
}

} // namespace kestrum
