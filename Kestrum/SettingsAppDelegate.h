#pragma once

#include <QObject>

namespace kestrum {

/// What the application does beside its window: it prepares the shared settings and tells the agent of every
/// change.
class SettingsAppDelegate final : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    /// The start-up sequence, before there is a window. Called once.
    void applicationDidFinishLaunching();

    /// What can wait until the window has been seen: called after its first frame.
    void windowWasShown();

private:
    void storeChanged();
};

} // namespace kestrum
