// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

namespace kestrum {

/// Restarts the application when it is no longer active, because the language of Qt's own texts cannot be changed while the
/// application runs. There is at most one restart per process.
class Relaunch final : public QObject {
    Q_OBJECT
public:
    /// The effects of a relaunch outside of this object; replaced in tests.
    struct Actions {
        /// Starts a shell with a command that outlives this process.
        std::function<void(const QString& command)> startShell;
        std::function<void()> quit;

        static Actions real();
    };

    explicit Relaunch(Actions actions = Actions::real(), QObject* parent = nullptr);

    /// Relaunches at once if the application is not active, else as soon as the user switches to another application. On X11, the
    /// application also counts as active while only the keyboard is grabbed, as for a shortcut of the desktop. A pending relaunch
    /// is never cancelled. If the bundle's path cannot be part of the command, there is no relaunch, and a warning is
    /// logged once.
    void whenInactive();

    /// The command for the shell: wait for the end of process `pid`, then open the bundle in the background. The path is put between
    /// double quotes without escaping.
    static QString command(qint64 pid, const QString& bundlePath);
    /// Whether `bundlePath` can stand between double quotes in a shell command without escaping.
    static bool canCarry(const QString& bundlePath);

private:
    void judgeState();
    void relaunch();

    Actions m_actions;
    QTimer m_nextLook;
    bool m_isPending = false;
    bool m_isDone = false;
};

} // namespace kestrum
