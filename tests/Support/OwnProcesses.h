#pragma once

#include "tests/Support/TestRunner.h"

#include <optional>

namespace kestrum {

/// A process table for one test program alone: agents of whoever runs the tests, and of tests that run at the same time,
/// are not in it, and its own disturb nobody. Where the kernel gives no such table (some containers, or the user may not
/// make name spaces), the test runs among all processes, and holds as long as no other agent runs.
namespace OwnProcesses {

/// Called first thing in `main`, before anything that makes threads or files. Returns in the process that is to run the test, and
/// gives an exit code there when that is in no state to; the processes that only wait for it end with its code.
std::optional<int> enter();

} // namespace OwnProcesses
} // namespace kestrum

/// As KESTRUM_TEST_MAIN, among processes of its own.
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
