#pragma once

#include "tests/Support/DesktopTest.h"

namespace kestrum {

/// A test of the built agent on a desktop with a panel at its top edge. Each test starts with an agent whose items are below
/// that panel, with all settings at their defaults except the refresh interval.
class PanelTest : public DesktopTest {
    Q_OBJECT
protected:
    static constexpr int panelHeight = 30;

    QProcess& panel() const { return *m_panel; }
    QProcess& agent() const { return *m_agent; }
    void startPanel();
    enum class Wait { no, forStrip };
    void startAgent(const QStringList& arguments = {}, Wait wait = Wait::forStrip);

    void waitForStrip(int top = panelHeight) const;
    static void waitForNoStrip();

    /// The middle of a section's item on the screen.
    QPoint place(const char* section) const;

    void furnish() override;
    void clear() override;

private Q_SLOTS:
    void init();
    void cleanup();

private:
    std::unique_ptr<QProcess> m_panel;
    std::unique_ptr<QProcess> m_agent;
};

} // namespace kestrum
