// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

namespace kestrum {

/// Knows whether the agent runs. In this application only this class switches the agent on and off. It never polls: it checks at
/// its creation, when programs start or end (at once and a second later), when a start fails, some seconds after a stop, and when
/// the application becomes active.
class AgentController final : public QObject {
    Q_OBJECT
public:
    explicit AgentController(QObject* parent = nullptr);

    bool isRunning() const { return m_isRunning; }

    /// Checks whether an agent runs.
    void refresh();

    /// Stores the choice and starts the agent or asks it to quit. `isRunning` returns the choice at once; the next
    /// check corrects a wrong value.
    void setEnabled(bool enabled);

Q_SIGNALS:
    /// Emitted after every check and by `setEnabled`, also when nothing changed.
    void isRunningChanged(bool isRunning);

private:
    bool look();
    void publish(bool isRunning);

    QTimer m_afterStop;
    bool m_isRunning = false;
};

} // namespace kestrum
