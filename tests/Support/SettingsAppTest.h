#pragma once

#include "tests/Support/DesktopTest.h"
#include "tests/Support/OpenedWindow.h"

namespace kestrum {

/// A test of the built settings application from its start to its end. Each test begins in English with the agent switched off and
/// no application, and none is left after it.
class SettingsAppTest : public DesktopTest {
    Q_OBJECT
protected:
    /// Opens the settings, whose window then has the focus.
    void open() { m_window = std::make_unique<OpenedWindow>(fixture()); }

    std::unique_ptr<OpenedWindow> m_window;

private Q_SLOTS:
    void init();
    void cleanup();
};

} // namespace kestrum
