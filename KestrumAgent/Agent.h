#pragma once

#include <QObject>

namespace kestrum {

/// The window-less agent: it puts the items at the panel, draws them with live readings, follows the shared settings, and
/// answers the signals of the settings application.
class Agent final : public QObject {
    Q_OBJECT
public:
    explicit Agent(QObject* parent = nullptr);

    /// Registers the defaults, begins to listen and to show. Called once.
    void start();

    /// Brings the settings application forward, and starts it when it does not run.
    static void openSettings();
};

} // namespace kestrum
