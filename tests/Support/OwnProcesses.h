#pragma once

#include "tests/Support/TestRunner.h"

#include <optional>

namespace kestrum {

/// A separate process table for one test program, without the agents of the user and of other tests. The test has no effect on
/// those agents. Where the kernel refuses such a table (some containers, or users without the right to make namespaces), the
/// test runs among all processes, and is valid only while no other agent runs.
namespace OwnProcesses {

/// Call this first in `main`, before anything makes threads or files. Returns only in the process that runs the test: nothing,
/// or an exit code when that process could not be set up. The other processes wait for it and end with its code.
std::optional<int> enter();

} // namespace OwnProcesses
} // namespace kestrum

/// Like KESTRUM_TEST_MAIN, but in a separate process table.
#define KESTRUM_TEST_MAIN_APART(ApplicationClass, TestClass)                                                 \
    KESTRUM_TEST_MAIN_OF(TestClass)(int argc, char** argv)                                                   \
    {                                                                                                        \
        if (const auto code = kestrum::OwnProcesses::enter())                                                \
            return *code;                                                                                    \
        kestrum::TestHome home;                                                                              \
        ApplicationClass application(argc, argv);                                                            \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
