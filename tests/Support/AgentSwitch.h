#pragma once

#include "tests/Support/OpenedWindow.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace kestrum {

/// The agent's switch at the foot of the sidebar, in the open window of the settings application. Tests use the switch by
/// mouse and check the pixels. The destructor ends the application and the agents.
class AgentSwitch : public OpenedWindow {
public:
    static constexpr int second = 1000; // ms

    /// Opens the fixture's application, and waits until its window has the focus.
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

    /// Clicks `times` times with `pause` milliseconds between. One process does all clicks, which is faster than one for each.
    void click(int times, int pause) const
    {
        VirtualDisplay::xdotool(
            "click --repeat " + QByteArray::number(times) + " --delay " + QByteArray::number(pause) + " 1");
    }

    bool isOn() const
    {
        const QColor track = colour(leadingHalf);
        return track.blue() > track.red() + 60;
    }

    QList<qint32> agents() const { return DesktopFixture::processes(m_fixture.agentProgram()); }

    /// Switches the agent on, and waits until one agent runs and receives signals. Returns its process id.
    qint32 switchOn() const
    {
        click();
        qint32 agent = 0;
        const auto isUp = [&] { return isOn() && (agent = m_fixture.listeningAgent()) > 0; };
        if (!QTest::qWaitFor(isUp, Programs::patience))
            QTest::qFail("no agent was switched on", __FILE__, __LINE__);
        return agent;
    }

    /// Moves the focus to another window and back. The sidebar's row then checks the agent.
    void leaveAndComeBack()
    {
        m_fixture.turnToOther();
        // If the focus returns earlier, the toolkit behaves as if the window had never lost it.
        QTest::qWait(600);
        DesktopFixture::turnTo(id());
    }

private:
    // Places in the window, which is 640 by 520 with a sidebar of 204. The switch is 30 by 18, 10 from the sidebar's edge,
    // and vertically centred in the row of 52 at the foot.
    static constexpr QPoint middle { 204 - 10 - 15, 520 - 26 };
    // A place that shows the track when the switch is on, and the knob when it is off.
    static constexpr QPoint leadingHalf { 204 - 10 - 30 + 8, 520 - 26 };

    DesktopFixture& m_fixture;
};

/// Counts the largest number of processes of a program at one time, while this object exists.
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
