#pragma once

#include "tests/Support/AccessTree.h"
#include "tests/Support/DesktopTest.h"

#include <QSet>

namespace kestrum {

/// A test of the built agent's popovers, opened by real clicks and looked at on the screen and as assistive programs see them.
/// The strip is found where it stands, at any scale and on any screen. Each test starts its agents itself.
class PopoverDesktopTest : public DesktopTest {
public:
    static inline const QStringList sections
        = words("storage sensors memory cpu"); ///< in the order of the items from the left

protected:
    /// A popover that is open.
    struct Popover {
        QByteArray window;
        QRect place; ///< on the screen, in pixels
        /// It is asked again at each look. Only places within it are compared: the toolkit may miss that a window manager has
        /// moved the window.
        Accessible dialog;

        bool isOpen() const { return !window.isEmpty() && dialog.isFound(); }
        /// An element's place in the popover, in points.
        QRect within(const Accessible& element) const
        {
            return element.place().translated(-dialog.place().topLeft());
        }
        QImage picture() const { return DesktopFixture::picture(QRect(QPoint(), place.size()), window); }
    };

    void furnish() override { m_tree = std::make_unique<AccessTree>(); }
    void clear() override { m_tree.reset(); }

    /// Starts an agent with these environment variables, and waits for its strip.
    void startAgent(const Programs::Variables& variables = {}, double scale = 1)
    {
        for (const auto& [name, value] : variables)
            qputenv(name, value);
        m_agent = Programs::started(fixture().agentProgram(), {});
        m_middles = fixture().items().middles; // the agent's, so with its variables
        for (const auto& [name, value] : variables)
            qunsetenv(name);
        m_scale = scale;
        (void)QTest::qWaitFor(
            [this] {
                m_stripWindow = windows().values().value(0);
                return !m_stripWindow.isEmpty();
            },
            Programs::patience);
        const int expected = int(fixture().expectedStripWidth() * scale);
        QTRY_VERIFY_WITH_TIMEOUT(strip().width() >= expected, Programs::patience);
        m_application = m_tree->application(m_agent->processId());
    }
    void endAgent()
    {
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
    }
    QProcess& agent() const { return *m_agent; }

    /// The strip on the screen, and the middle of a section's item, in pixels.
    QRect strip() const { return DesktopFixture::geometry(m_stripWindow); }
    QPoint item(const QString& section) const
    {
        const QRect strip = this->strip();
        return strip.topLeft()
            + QPoint(int((DesktopFixture::stripSideRoom + m_middles.value(section)) * m_scale),
                strip.height() / 2);
    }

    /// Clicks on a section's item, and waits for its popover.
    Popover open(const QString& section)
    {
        DesktopFixture::click(item(section));
        Popover popover;
        (void)QTest::qWaitFor(
            [&] {
                popover.window = (windows() - QSet { m_stripWindow }).values().value(0);
                return !popover.window.isEmpty() && DesktopFixture::activeWindow() == popover.window;
            },
            Programs::patience);
        // A window manager may show a window shortly before it moves it to the place that it asked for.
        const int top = strip().bottom();
        (void)QTest::qWaitFor(
            [&] {
                popover.dialog = m_application.find(text("dialog"));
                popover.place = DesktopFixture::geometry(popover.window);
                return popover.dialog.isFound() && popover.place.top() > top;
            },
            Programs::patience);
        return popover;
    }
    void closePopover() const
    {
        VirtualDisplay::xdotool("key Escape");
        QTRY_COMPARE_WITH_TIMEOUT(windows().size(), 1, Programs::patience);
    }

private:
    QSet<QByteArray> windows() const
    {
        const QByteArray found = Programs::run(text("xdotool"),
            words("search --onlyvisible --all --pid " + QByteArray::number(m_agent->processId())
                + " --name .+"))
                                     .output.trimmed();
        const QByteArrayList list = found.split('\n');
        return found.isEmpty() ? QSet<QByteArray>() : QSet<QByteArray>(list.begin(), list.end());
    }

    std::unique_ptr<AccessTree> m_tree;
    std::unique_ptr<QProcess> m_agent;
    Accessible m_application;
    QByteArray m_stripWindow;
    QMap<QString, double> m_middles;
    double m_scale = 1;
};

} // namespace kestrum
