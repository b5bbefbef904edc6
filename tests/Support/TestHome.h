#pragma once

#include "tests/Support/TestRunner.h"

#include <QString>
#include <QTemporaryDir>

namespace kestrum {

/// A home of its own for one test program: HOME, the XDG directories and a private runtime directory below a temporary
/// folder that is removed at the end. Made before the application object and before anything of the program runs, by
/// `KESTRUM_TEST_MAIN`. Language and region variables of the session are taken out.
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

/// The `main` of a test class, with a home of its own and an application object of the given class.
#define KESTRUM_TEST_MAIN(ApplicationClass, TestClass)                                                       \
    KESTRUM_TEST_MAIN_OF(TestClass)(int argc, char** argv)                                                   \
    {                                                                                                        \
        kestrum::TestHome home;                                                                              \
        ApplicationClass application(argc, argv);                                                            \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
