#pragma once

#include "KestrumShared/Agent/ProcessScan.h"

#include <QTest>

namespace kestrum {

/// Call this first in `initTestCase` of tests that search for agents.
inline void skipAmongAgentsOfOthers()
{
    if (!ProcessScan::agents().isEmpty())
        QSKIP("an agent of somebody else runs, and this kernel lets us have no process table of our own");
}

} // namespace kestrum
