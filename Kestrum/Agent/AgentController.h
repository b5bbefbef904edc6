// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

namespace kestrum {

/// Knows whether the agent runs. In this application only this class switches the agent on and off. The controller does not poll:
/// it checks at its creation, when programs start or end (at once and a second later), when a start fails, some seconds after a
/// stop, and when the application becomes active.
class AgentController final : public QObject {
    Q_OBJECT
public:
    explicit AgentController(QObject* parent = nullptr);

    bool isRunning() const { return m_isRunning; }

    /// Checks whether an agent runs.
    void refresh();

    /// Stores the choice, and starts the agent or asks the agent to quit. `isRunning` returns `enabled` until the next check
    /// finds the real state.
    void setEnabled(bool enabled);

Q_SIGNALS:
    /// Emitted after every check and by `setEnabled`, even if the state is the same as before.
    void isRunningChanged(bool isRunning);

private:
    bool look();
    void publish(bool isRunning);

    QTimer m_afterStop;
    bool m_isRunning = false;
};

} // namespace kestrum
