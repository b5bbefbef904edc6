// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace kestrum {

/// Starts programs by their bundles, and notifies when observed programs start or end. One per process, main thread only.
class Workspace : public QObject {
    Q_OBJECT
public:
    static Workspace& shared();
    ~Workspace() override;

    struct OpenConfiguration {
        bool activates = true;         ///< false: the program must not take the focus
        bool addsToRecentItems = true; ///< without effect: desktops list only documents as recent items
        /// If false and the bundle's program is running, the result is the running process.
        bool createsNewApplicationInstance = false;
        /// Whether the result may be a process of another copy of the program. Without effect: no copies are searched for.
        bool allowsRunningApplicationSubstitution = true;
        QMap<QString, QString> environment; ///< added to this process's own variables
    };

    /// The process, or the reason why there is none. Neither is set if the outcome is unknown.
    struct Opened {
        std::optional<qint32> pid;
        QString error; ///< one line that names the bundle or program
    };

    /// Starts the program "Contents/MacOS/<bundle's name>" of the bundle at `bundlePath`, detached (see `ProgramStart`).
    /// `completion` is called on the main thread from the event loop.
    void openApplication(const QString& bundlePath, const OpenConfiguration& configuration,
        std::function<void(const Opened&)> completion);

    /// After this call, `runningApplicationsChanged` is emitted when the program of the bundle at `bundlePath` starts, and when
    /// one of its processes or one of `pids` ends. The bundle may be absent at first, or be replaced. A second call for the
    /// same bundle only adds `pids`.
    void observe(const QString& bundlePath, const QList<qint32>& pids = {});

Q_SIGNALS:
    void runningApplicationsChanged();
    /// A program could not be started. Emitted after the completion.
    void openFailed();

private:
    Workspace();
    struct Observations;
    std::unique_ptr<Observations> m_observations;
};

} // namespace kestrum
