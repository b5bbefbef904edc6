// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/SettingsAppDelegate.h"

#include <QApplication>
#include <memory>

namespace kestrum {

class SettingsView;

/// The application object of the settings application, with its delegate and its one window. The application ends when the
/// window is closed.
class KestrumApp final : public QApplication {
    Q_OBJECT
public:
    KestrumApp(int& argc, char** argv, SettingsAppDelegate::Run run);
    ~KestrumApp() override;

    /// Runs the start-up sequence and shows the window in the middle of the screen.
    void launch();

    SettingsView* window() const { return m_window.get(); }

Q_SIGNALS:
    /// The window's first frame has been painted.
    void windowShown();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void openWindow();

    SettingsAppDelegate m_delegate;
    std::unique_ptr<SettingsView> m_window;
    QByteArray m_activationToken; ///< given to the program at its start
    bool m_isInBackground;
};

} // namespace kestrum
