#pragma once

#include "tests/Support/OpenedWindow.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace kestrum {

/// The switch at the sidebar's foot in an open window of the settings application, worked by a mouse and watched by its
/// pixels. Ends the application, and agents that run, when it goes.
class AgentSwitch : public OpenedWindow {
public:
    static constexpr int second = 1000; // ms

    /// Opens the application of the fixture, whose window then has the focus.
    explicit AgentSwitch(DesktopFixture& fixture)
        : OpenedWindow(fixture)
        , m_fixture(fixture)
    {
    }
    ~AgentSwitch()
    {
        Programs::end(application());
        m_fixture.endAgents();
    }
    Q_DISABLE_COPY_MOVE(AgentSwitch)

    void click() const { OpenedWindow::click(middle); }

    /// So many clicks with so many milliseconds between them, quicker than a process a click could.
    void click(int times, int pause) const
    {
        VirtualDisplay::xdotool({ QStringLiteral("click"), QStringLiteral("--repeat"), QString::number(times),
            QStringLiteral("--delay"), QString::number(pause), QStringLiteral("1") });
    }

    bool isOn() const
    {
        const QColor track = colour(leadingHalf);
        return track.blue() > track.red() + 60;
    }

    QList<qint32> agents() const { return DesktopFixture::processes(m_fixture.agentProgram()); }

    /// Switches on, and waits until one agent runs and hears signals. Gives its id, 0 when none came.
    qint32 switchOn() const
    {
        click();
        const bool isThere
            = QTest::qWaitFor([this] { return isOn() && agents().size() == 1; }, Programs::patience);
        QTest::qWait(second + 200);
        return isThere ? agents().value(0) : 0;
    }

    /// An occasion for the row to look.
    void leaveAndComeBack()
    {
        m_fixture.turnToOther();
        // The toolkit takes a window that gets the focus back sooner for one that never lost it.
        QTest::qWait(600);
        DesktopFixture::turnTo(id());
    }

private:
    // In the window, 640 by 520, whose sidebar is 204 wide: the switch is 30 by 18 and 10 from the sidebar's edge, in the
    // middle of the row of 52 at the foot.
    static constexpr QPoint middle { 204 - 10 - 15, 520 - 26 };
    // Where the track is seen when it is on, and the knob when it is off.
    static constexpr QPoint leadingHalf { 204 - 10 - 30 + 8, 520 - 26 };

    DesktopFixture& m_fixture;
};

/// The most processes of a program that there ever were at once, for as long as this lives.
class ProcessCounter {
public:
    explicit ProcessCounter(const QString& program)
        : m_counter([this, program] {
            while (!m_isOver) {
                m_most = std::max(m_most.load(), int(DesktopFixture::processes(program).size()));
                ++m_counts;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        })
    {
    }
    ~ProcessCounter() { end(); }
    Q_DISABLE_COPY_MOVE(ProcessCounter)

    void end()
    {
        m_isOver = true;
        if (m_counter.joinable())
            m_counter.join();
    }
    int most() const { return m_most; }
    int counts() const { return m_counts; }

private:
    std::atomic<bool> m_isOver = false;
    std::atomic<int> m_most = 0;
    std::atomic<int> m_counts = 0;
    std::thread m_counter;
};

} // namespace kestrum
