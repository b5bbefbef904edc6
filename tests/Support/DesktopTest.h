#pragma once

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QGuiApplication>
#include <memory>

namespace kestrum {

/// A test of the built programs on a desktop of their own, which exists from the first test to the last.
class DesktopTest : public QObject {
    Q_OBJECT
protected:
    DesktopFixture& fixture() const { return *m_fixture; }
    QList<qint32> agents() const { return DesktopFixture::processes(m_fixture->agentProgram()); }

    /// `furnish` starts further programs on the desktop. `clear` ends them before the fixture is destroyed.
    virtual void furnish() { }
    virtual void clear() { }

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        m_fixture = std::make_unique<DesktopFixture>();
        QVERIFY(m_fixture->isUp());
        furnish();
    }
    void cleanupTestCase()
    {
        if (m_fixture)
            clear();
        m_fixture.reset();
    }

private:
    std::unique_ptr<DesktopFixture> m_fixture;
};

} // namespace kestrum

/// The `main` of a test with a private home, process table and display.
#define KESTRUM_TEST_MAIN_ON_DISPLAY(TestClass)                                                              \
    KESTRUM_TEST_MAIN_OF(TestClass)(int argc, char** argv)                                                   \
    {                                                                                                        \
        if (const auto code = kestrum::OwnProcesses::enter())                                                \
            return *code;                                                                                    \
        const kestrum::TestHome home;                                                                        \
        const kestrum::VirtualDisplay display;                                                               \
        if (!display.isUp())                                                                                 \
            return 1;                                                                                        \
        QGuiApplication application(argc, argv);                                                             \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
