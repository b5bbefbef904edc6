#pragma once

#include "tests/Support/DesktopTest.h"

#include <QScreen>

namespace kestrum {

/// A test of the built agent on a desktop with a panel at its top edge. Each test starts with an agent whose items are below
/// that panel, with all settings at their defaults except the refresh interval.
class PanelTest : public DesktopTest {
    Q_OBJECT
public:
    static constexpr int panelHeight = 30; ///< the panel's width when it is at the side of the screen
    /// Starts a panel. The lines in `configuration` are added to its usual ones.
    static std::unique_ptr<QProcess> startedPanel(const QByteArray& configuration)
    {
        const QString file = TestHome::root() + text("/tint2rc");
        write(file, "panel_items = E\npanel_size = 100% 30\nstrut_policy = follow_size\n" + configuration);
        return Programs::started(text("tint2"), words("-c") << file);
    }

protected:
    QProcess& panel() const { return *m_panel; }
    QProcess& agent() const { return *m_agent; }
    void startPanel()
    {
        m_panel = startedPanel("panel_position = top center horizontal\n");
        // A strip that is there already reserves its room below the panel.
        QTRY_VERIFY_WITH_TIMEOUT(
            QGuiApplication::primaryScreen()->availableGeometry().top() >= panelHeight, Programs::patience);
    }
    enum class Wait { no, forStrip };
    void startAgent(const QStringList& arguments = {}, Wait wait = Wait::forStrip)
    {
        m_agent = Programs::started(fixture().agentProgram(), arguments);
        if (wait == Wait::forStrip)
            waitForStrip();
    }

    void waitForStrip(int top = panelHeight) const
    {
        QTRY_COMPARE_WITH_TIMEOUT(
            DesktopFixture::stripWidth(top), fixture().expectedStripWidth(), Programs::patience);
    }
    static void waitForNoStrip()
    {
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::stripWidth(panelHeight), 0, Programs::patience);
    }

    /// The middle of a section's item on the screen.
    QPoint place(const char* section) const
    {
        const double left
            = VirtualDisplay::width - fixture().expectedStripWidth() + DesktopFixture::stripSideRoom;
        return { int(left + fixture().items().middles.value(text(section))),
            panelHeight + DesktopFixture::stripHeight / 2 };
    }

    void furnish() override { startPanel(); }
    void clear() override { Programs::end(*m_panel); }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        // The interval is so long that only a change of the settings repaints during a test.
        fixture().write("refreshInterval", "60");
        DesktopFixture::moveTo({ 100, 500 });
        startAgent();
    }
    void cleanup()
    {
        Programs::end(*m_agent);
        m_agent.reset();
    }

private:
    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;
};

} // namespace kestrum
