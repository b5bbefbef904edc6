// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/BridgeClient.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/VirtualDisplay.h"

#include <memory>

namespace kestrum {

/// A desktop on which everything can end and begin again at any time: display, window manager, session bus, the built settings
/// window, the built agent, and a bridge, which this process is. Needs a process table of its own. The programs' logs are the
/// files `agentLog` and `windowLog`.
class DayDesk {
public:
    DayDesk();
    ~DayDesk();
    Q_DISABLE_COPY_MOVE(DayDesk)

    QString program(const char* name) const;
    QString agentProgram() const;
    QString agentLog() const { return m_tree.path(QStringLiteral("agent.log")); }
    QString windowLog() const { return m_tree.path(QStringLiteral("window.log")); }
    /// Runs the bundle's kestrumctl and returns its output; empty if it fails.
    QByteArray kestrumctl(const QStringList& words) const;

    void startDisplay();
    /// The programs that show something end too.
    void endDisplay();
    qint64 displayServer() const { return m_display ? m_display->processId() : 0; }

    void startBus();
    void endBus();
    qint64 bus() const { return m_bus ? m_bus->processId() : 0; }
    /// While the bus is paused, the bridge leaves it alone.
    void setBusPaused(bool isPaused) { m_isBusPaused = isPaused; }

    void startAgent();
    void startWindow();
    /// Whether the clock of agent and window can be changed here.
    bool hasClock() const { return m_hasClock; }
    /// Puts their clock forward, or back.
    void shiftClock(qint64 seconds) const;
    /// The folder that the agent takes for "/sys", on a machine with sensors. Empty where that is not possible.
    QString machine() const { return m_machineFolder; }
    qint32 agent() const;
    /// Whether the agent was started by the window, so that its lines are in the window's log.
    bool isWindowsAgent() const { return agent() > 0 && (!m_agent || m_agent->processId() != agent()); }
    qint32 window() const;
    void kill(qint32 pid);
    void endPrograms();

    /// Does what a panel's part does: attaches the bridge whenever there is an agent on the bus.
    void tendBridge();
    /// The bridge; null while it is not attached.
    BridgeClient* bridge() const { return m_bridge && m_bridge->number > 0 ? m_bridge.get() : nullptr; }
    void detachBridge();
    /// How often the bridge has asked to be attached.
    int attachments() const { return m_attachments; }

    /// Saves what the display shows. False if that is not possible.
    bool save(const QString& picture) const;

private:
    qint32 only(const QString& program) const;
    QString clockLibrary() const;
    QString clockFile() const { return m_tree.path(QStringLiteral("clock")); }
    void startMachine();
    Programs::Variables variables() const;
    void start(std::unique_ptr<QProcess>& process, const QString& program, const QString& log,
        const Programs::Variables& variables) const;

    FileTree m_tree;
    std::unique_ptr<QProcess> m_machine;
    QString m_machineFolder;
    std::unique_ptr<VirtualDisplay> m_display;
    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<SessionBus> m_bus;
    bool m_isBusPaused = false;
    bool m_hasClock = false;
    std::unique_ptr<QProcess> m_agent;
    std::unique_ptr<QProcess> m_window;
    std::unique_ptr<BridgeClient> m_bridge;
    int m_attachments = 0;
    QString m_agentName; ///< on the bus, of the agent that the bridge is attached to
};

} // namespace kestrum
