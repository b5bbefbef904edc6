#pragma once

#include <QObject>
#include <QTimer>

namespace kestrum {

/// The window's knowledge of whether the agent runs, and the one place where people switch it. It never polls: it looks
/// when it is made, when programs come and go (at once and a second later), when a start fails, some seconds after a stop, and
/// when the application becomes active.
class AgentController final : public QObject {
    Q_OBJECT
public:
    explicit AgentController(QObject* parent = nullptr);

    bool isRunning() const { return m_isRunning; }

    /// Looks whether an agent runs.
    void refresh();

    /// Stores the choice and starts the agent or asks it to quit. `isRunning` says so at once; the next look corrects it.
    void setEnabled(bool enabled);

Q_SIGNALS:
    /// Told after every look, also when nothing changed.
    void isRunningChanged(bool isRunning);

private:
    bool look();
    void publish(bool isRunning);

    QTimer m_afterStop;
    bool m_isRunning = false;
};

} // namespace kestrum
