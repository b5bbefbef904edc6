#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// Ends the application and has it started anew, once nobody works in it: a window that is built cannot change the toolkit's
/// language. Never more than once a process.
class Relaunch final : public QObject {
    Q_OBJECT
public:
    /// What a relaunch does to the world outside.
    struct Actions {
        /// Gives the shell a command that outlives us.
        std::function<void(const QString& command)> startShell;
        std::function<void()> quit;

        static Actions real();
    };

    explicit Relaunch(Actions actions = Actions::real(), QObject* parent = nullptr);

    /// Relaunches at once where the application is not active, else as soon as people turn to another. Once asked for it
    /// is not given up. From a place that the command cannot carry there is no relaunch, and the log says so once.
    void whenInactive();

    /// What the shell is to do: wait for the end of process `pid`, then open the bundle without giving it the focus. The
    /// path stands between double quotes as it is.
    static QString command(qint64 pid, const QString& bundlePath);
    /// Whether that text leads to the bundle at `bundlePath`, and the shell reads nothing else out of it.
    static bool canCarry(const QString& bundlePath);

private:
    void stateChanged(Qt::ApplicationState state);
    void relaunch();

    Actions m_actions;
    bool m_isPending = false;
    bool m_isDone = false;
};

} // namespace kestrum
