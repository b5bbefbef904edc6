// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>
#include <string_view>

namespace kestrum {

/// The test classes of one program. `main` runs the class that the first argument names; each class has a process of its own.
class TestRunner {
public:
    using Main = int (*)(int argc, char** argv);

    /// Adds a class to the list. `main` gets the program's arguments without the class's name.
    TestRunner(const char* testClass, Main main);

    /// Runs the class that the first argument names. Without a valid name, prints the names of all classes and returns 2.
    static int run(int argc, char** argv);

    /// The arguments for running this program's current class again: the class's name, then `arguments`.
    static QStringList again(const QStringList& arguments);

private:
    const char* m_testClass;
    Main m_main;
    const TestRunner* m_next;

    static inline const TestRunner* s_first = nullptr;
    static inline const TestRunner* s_running = nullptr;
};

} // namespace kestrum

/// Defines the `main` of a test class; its parameters and body follow. ctest uses the names of the files as class names.
#define KESTRUM_TEST_MAIN_OF(TestClass)                                                                      \
    static_assert(std::string_view(__FILE__).ends_with("/" #TestClass ".cpp"), "not the file's name");       \
    static int mainOf##TestClass(int argc, char** argv);                                                     \
    static const kestrum::TestRunner entryOf##TestClass(#TestClass, mainOf##TestClass);                      \
    static int mainOf##TestClass
