// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Relaunch.h"
#include "KestrumShared/Settings/SignalListener.h"

#include <QObject>
#include <QTimer>

class QWindow;

namespace kestrum {

/// The tasks of the application besides its window: prepares the shared settings, starts the agent, notifies it of every change,
/// brings the window forward on request, and relaunches the application in another language.
class SettingsAppDelegate final : public QObject {
    Q_OBJECT
public:
    /// `visitor`: a run that only shows the window, such as one that saves pictures. It starts no agent, changes no login items and
    /// is not relaunched.
    enum class Run { ordinary, visitor };

    explicit SettingsAppDelegate(
        Run run = Run::ordinary, Relaunch::Actions actions = Relaunch::Actions::real());

    /// The first part of the start-up sequence: the process is launched, but there is no window yet. Called once. If
    /// `windowWasShown` is not called within a second, the second part runs then.
    void applicationDidFinishLaunching();

    /// The second part of the start-up sequence, which can wait for the window: called after the window's first frame.
    void windowWasShown();

    /// Brings the first visible main window forward; does nothing if there is none. `activationToken` is the token that the
    /// desktop gave the requester, and may be empty.
    static void bringForward(const QByteArray& activationToken);

Q_SIGNALS:
    /// The main window is missing and has to be opened.
    void reopenRequested();

private:
    static QWindow* firstMainWindow();

    void storeChanged();
    void presentWindowIfMissing();

    Run m_run;
    SignalListener m_signals;
    Relaunch m_relaunch;
    QTimer m_rest;
    bool m_isComplete = false;
};

} // namespace kestrum
