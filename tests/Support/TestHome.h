#pragma once

#include "tests/Support/TestRunner.h"

#include <QString>
#include <QTemporaryDir>

namespace kestrum {

/// The home of one test program: HOME, the XDG directories and a private runtime directory in a temporary folder, which is
/// removed at the end. `KESTRUM_TEST_MAIN` constructs this object before the application object and any other code of the
/// program. The constructor unsets the session's language and region variables.
class TestHome {
public:
    TestHome();

    static QString root();             ///< the temporary folder
    static QString configDirectory();  ///< $XDG_CONFIG_HOME/kestrum, not created
    static QString runtimeDirectory(); ///< $XDG_RUNTIME_DIR, created 0700

private:
    QTemporaryDir m_directory;
};

} // namespace kestrum

/// Defines `main` for a test class, with a home of its own and an application object of the given class.
#define KESTRUM_TEST_MAIN(ApplicationClass, TestClass)                                                       \
    KESTRUM_TEST_MAIN_OF(TestClass)(int argc, char** argv)                                                   \
    {                                                                                                        \
        kestrum::TestHome home;                                                                              \
        ApplicationClass application(argc, argv);                                                            \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
