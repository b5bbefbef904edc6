// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <string_view>

namespace kestrum {

/// The test classes of one program. Its `main` runs the class that the first argument names, in a process of that class alone.
class TestRunner {
public:
    using Main = int (*)(int argc, char** argv);

    /// An entry of the list of classes; `main` gets the program's arguments without the class's name.
    TestRunner(const char* testClass, Main main);

    /// Names the classes and fails when the first argument is none of them.
    static int run(int argc, char** argv);

    /// The arguments with which this program runs its present class again, with these behind its name.
    static QStringList again(const QStringList& arguments);

private:
    const char* m_testClass;
    Main m_main;
    const TestRunner* m_next;

    static inline const TestRunner* s_first = nullptr;
    static inline const TestRunner* s_running = nullptr;
};

} // namespace kestrum

/// The `main` of a test class, to be followed by its parameters and body. ctest knows classes by the names of their files.
#define KESTRUM_TEST_MAIN_OF(TestClass)                                                                      \
    static_assert(std::string_view(__FILE__).ends_with("/" #TestClass ".cpp"), "not the file's name");       \
    static int mainOf##TestClass(int argc, char** argv);                                                     \
    static const kestrum::TestRunner entryOf##TestClass(#TestClass, mainOf##TestClass);                      \
    static int mainOf##TestClass
