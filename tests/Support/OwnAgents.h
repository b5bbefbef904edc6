#pragma once

#include "KestrumShared/Agent/ProcessScan.h"

#include <QTest>

namespace kestrum {

/// Called first thing in `initTestCase` of tests that look for agents.
inline void skipAmongAgentsOfOthers()
{
    if (!ProcessScan::agents().isEmpty())
        QSKIP("an agent of somebody else runs, and this kernel lets us have no process table of our own");
}

} // namespace kestrum
