// The built programs on a desktop that changes its scheme and accent. A portal in another process announces the changes. The
// session bus does not start the accessibility bus: the accessibility code would register D-Bus types that the programs must
// register themselves.

#include "tests/Support/DesktopTest.h"
#include "tests/Support/OpenedWindow.h"
#include "tests/Support/PortalProcess.h"
#include "tests/Support/SessionBus.h"

#include <QElapsedTimer>
#include <algorithm>

using namespace kestrum;

using Programs::patience;

class AppearanceEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<PortalProcess> m_portal;
    std::unique_ptr<OpenedWindow> m_window;
    std::unique_ptr<QProcess> m_agent;

    // The programs must show a change within half a second. This limit only ends the wait for a change that never comes.
    static constexpr int limit = 5000; // ms

    static bool isDark(const QColor& colour) { return colour.lightness() < 128; }

    /// The colour at a corner of the strip's plate, beside its items.
    static QColor plate()
    {
        return DesktopFixture::colour({ VirtualDisplay::width - DesktopFixture::stripSideRoom / 2, 3 });
    }
    QColor sidebar() const { return m_window->colour({ 2, 300 }); }
    /// The colour of the selected row in the sidebar, beside its text.
    QColor selection() const { return m_window->colour({ 160, 80 }); }
    /// The panel's background in the miniature of the selected background. It follows the window's scheme.
    QColor miniature() const { return m_window->colour({ 450, 252 }); }

private Q_SLOTS:
    void init()
    {
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        m_portal = std::make_unique<PortalProcess>();
        QVERIFY(m_portal->isUp());
        fixture().write("settingsPane", "\"popovers\"");
        fixture().write("popoverBackground", "\"opaque\"");
        fixture().write("agentEnabled", "false");
        fixture().turnToOther();
        m_agent = Programs::started(fixture().agentProgram(), {});
        m_window = std::make_unique<OpenedWindow>(fixture());
    }

    void cleanup()
    {
        m_window.reset();
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
        m_portal.reset();
        m_bus.reset();
    }

    void windowMiniaturesAndAgentFollowTenChangesWithinHalfASecond()
    {
        QTRY_VERIFY_WITH_TIMEOUT(plate().lightness() > 200, patience);
        QVERIFY(miniature().lightness() > 150);
        // Both programs join the bus shortly after their first frames.
        QVERIFY(m_portal->change("scheme 1"));
        QTRY_VERIFY_WITH_TIMEOUT(isDark(sidebar()) && isDark(plate()), limit);
        QVERIFY(m_portal->change("scheme 2"));
        QTRY_VERIFY_WITH_TIMEOUT(!isDark(sidebar()) && !isDark(miniature()) && !isDark(plate()), limit);

        qint64 longest = 0;
        for (const QByteArray& change : PortalProcess::tenChanges()) {
            const bool isScheme = change.startsWith("scheme");
            const bool becomesDark = change == "scheme 1";
            const QColor selectionBefore = selection();
            const auto isSeen = [&] {
                return isScheme ? isDark(sidebar()) == becomesDark && isDark(miniature()) == becomesDark
                        && isDark(plate()) == becomesDark
                                : selection() != selectionBefore;
            };
            QVERIFY(!isSeen());
            QElapsedTimer clock;
            clock.start();
            QVERIFY(m_portal->change(change));
            while (!isSeen() && clock.elapsed() < limit) { }
            QVERIFY2(isSeen(), change.constData());
            longest = std::max(longest, clock.elapsed());
        }
        qInfo("the slowest of ten changes was on the screen after %lld ms", longest);
        QVERIFY(Programs::areSanitized || longest < 500);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AppearanceEndToEndTest)
#include "AppearanceEndToEndTest.moc"
