#pragma once

#include "tests/Support/AccessWindow.h"
#include "tests/Support/DesktopTest.h"

namespace kestrum {

/// A test of the built settings application for people who use a keyboard and assistive programs such as a screen reader.
/// When a window is opened, no choice is stored and the agent is off.
class AccessTest : public DesktopTest {
protected:
    void furnish() override { m_tree = std::make_unique<AccessTree>(); }
    void clear() override
    {
        m_window.reset();
        m_tree.reset();
    }

    /// Opens a new window on the page with that stored name, in a language.
    void open(const char* pane, const char* language = "en")
    {
        m_window.reset();
        DesktopFixture::forgetChoices();
        fixture().write("agentEnabled", "false");
        writeText("settingsPane", pane);
        writeText("language", language);
        fixture().turnToOther();
        m_window = std::make_unique<AccessWindow>(fixture(), *m_tree);
        QVERIFY(m_tree->isUp() && m_window->isUp());
    }
    /// Stores a value. Another process does this, as all reads and writes of this class.
    void writeText(const char* key, const QByteArray& value) const
    {
        fixture().write(key, ('"' + value + '"').constData());
    }
    void waitForStored(const char* key, const QByteArray& json) const
    {
        QTRY_COMPARE_WITH_TIMEOUT(fixture().read(key), json, Programs::patience);
    }
    /// Opens the page of the button "Check Now" and calls `press` with the button. Fails when the signal does not reach another
    /// process.
    template <class Press> void pressCheckNow(const Press& press)
    {
        open("general");
        fixture().write("updaterCanCheck", "true");
        const QString name = text("Updates/push button Check Now");
        QTRY_VERIFY_WITH_TIMEOUT(window().control(name).isFound(), Programs::patience);
        const auto listener = fixture().listener("checkForUpdates --count 1");
        press(name);
        QVERIFY(Programs::ended(*listener).output.contains("checkForUpdates"));
    }
    AccessWindow& window() const { return *m_window; }

private:
    std::unique_ptr<AccessTree> m_tree;
    std::unique_ptr<AccessWindow> m_window;
};

} // namespace kestrum
