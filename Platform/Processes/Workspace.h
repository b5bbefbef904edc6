#pragma once

#include <QMap>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

namespace kestrum {

/// Starts programs by their bundles, and tells when programs of ours come and go, without polling. One per process,
/// main thread only.
class Workspace : public QObject {
    Q_OBJECT
public:
    static Workspace& shared();
    ~Workspace() override;

    struct OpenConfiguration {
        bool activates = true; ///< false: the program is not to take the focus
        bool addsToRecentItems
            = true; ///< the desktop's list of recent items holds documents only: without effect
        /// False: where the bundle's program runs already, that process is the result and none is started.
        bool createsNewApplicationInstance = false;
        /// Whether a copy of the program in another place may be the result. None is looked for: without effect.
        bool allowsRunningApplicationSubstitution = true;
        QMap<QString, QString> environment; ///< added to the session's
    };

    /// What became of it: the process, or the reason why there is none. Both absent when nothing is known.
    struct Opened {
        std::optional<qint32> pid;
        QString error; ///< one line, names the bundle or program
    };

    /// Starts the program "Contents/MacOS/<bundle's name>" of the bundle at `bundlePath`, in a session of its own, with
    /// no descriptor of ours above 2. Its output and errors go where ours go, unless that is a pipe. `completion` is
    /// called on the main thread from the event loop.
    void openApplication(const QString& bundlePath, const OpenConfiguration& configuration,
        std::function<void(const Opened&)> completion);

    /// From now on `runningApplicationsChanged` tells of starts of the program of the bundle at `bundlePath`, and of
    /// ends of every process of it that runs now or is started later. `pids`: further processes whose end is told.
    /// A bundle that is not there yet, or is replaced, is followed. Observing it again only adds the `pids`.
    void observe(const QString& bundlePath, const QList<qint32>& pids = {});

Q_SIGNALS:
    void runningApplicationsChanged();
    /// A program could not be started; told after the completion.
    void openFailed();

private:
    Workspace();
    struct Observations;
    std::unique_ptr<Observations> m_observations;
};

} // namespace kestrum
