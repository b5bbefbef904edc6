#pragma once

#include "Kestrum/Relaunch.h"
#include "KestrumShared/Settings/SignalListener.h"

#include <QObject>
#include <QTimer>

class QWindow;

namespace kestrum {

/// What the application does beside its window: it prepares the shared settings, starts the agent, tells it of every change,
/// brings the window forward when asked to, and starts the application anew in another language.
class SettingsAppDelegate final : public QObject {
    Q_OBJECT
public:
    /// `visitor`: a run that only looks, such as one that makes pictures. It starts no agent and leaves the user's login
    /// items alone.
    enum class Run { ordinary, visitor };

    explicit SettingsAppDelegate(
        Run run = Run::ordinary, Relaunch::Actions actions = Relaunch::Actions::real());

    /// The first part of the start-up sequence, before there is a window. Named for its moment: the process is launched, nothing
    /// is shown. Called once. The second part follows by itself where `windowWasShown` does not come.
    void applicationDidFinishLaunching();

    /// The rest, which can wait until the window has been seen: called after its first frame.
    void windowWasShown();

    /// Brings the first window that can be the main one forward; does nothing where there is none. `activationToken` is
    /// what the desktop gave whoever asks, and may be empty.
    static void bringForward(const QByteArray& activationToken);

Q_SIGNALS:
    /// There is no main window although there should be one: it is to be opened.
    void reopenRequested();

private:
    static QWindow* firstMainWindow();

    void storeChanged();
    void presentWindowIfMissing();
    void keepOutOfSession();

    Run m_run;
    SignalListener m_signals;
    Relaunch m_relaunch;
    QTimer m_rest;
    bool m_isComplete = false;
};

} // namespace kestrum
