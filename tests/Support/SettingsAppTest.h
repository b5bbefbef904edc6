#pragma once

#include "tests/Support/DesktopTest.h"
#include "tests/Support/OpenedWindow.h"

namespace kestrum {

/// A test of the built settings application. Each test starts in English, with the agent switched off and no application
/// running. At the end of a test, the application is ended.
class SettingsAppTest : public DesktopTest {
    Q_OBJECT
protected:
    /// Opens the settings, and waits until their window has the focus.
    void open() { m_window = std::make_unique<OpenedWindow>(fixture()); }

    std::unique_ptr<OpenedWindow> m_window;

private Q_SLOTS:
    void init()
    {
        fixture().write("agentEnabled", "false");
        fixture().write("language", "\"en\"");
        fixture().turnToOther();
    }
    void cleanup()
    {
        m_window.reset();
        fixture().endSettingsApplications();
        fixture().endAgents();
    }
};

} // namespace kestrum
