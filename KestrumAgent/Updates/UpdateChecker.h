// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

namespace kestrum {

class AptQuery;

/// Looks for newer versions of Kestrum among those that the system's package manager knows, and leaves what it finds in the
/// shared settings. Nothing is downloaded or installed. Whoever must not have this leaves it out of the build
/// (KESTRUM_UPDATER) or sets KESTRUM_DISABLE_UPDATER=1 in the environment.
class UpdateChecker final : public QObject {
    Q_OBJECT
public:
    explicit UpdateChecker(QObject* parent = nullptr);
    ~UpdateChecker() override;

    /// The Debian package that this program comes in.
    static QString packageName();

    /// Says in the settings whether checks are possible, and checks by itself once a day while that is chosen there.
    /// Called once.
    void start();

    /// Checks now, or once more as soon as the check that runs already has ended; `finished` tells the last outcome.
    void check();

Q_SIGNALS:
    /// A check that was asked for ended so, as a sentence in the interface language: up to date, a new version, no source
    /// of updates, or why it failed. `isOnOffer` says whether it is a new version. Sent from the event loop; not for the checks
    /// that nobody asked for.
    void finished(const QString& outcome, bool isOnOffer);

private:
    void followChoice(bool checksAutomatically);
    void begin();
    void adopt(const QByteArray& answer);
    void fail(const QString& reason);
    void end(const QString& outcome, bool isOnOffer = false);

    QTimer m_daily;
    AptQuery* m_query = nullptr; ///< while a check runs
    bool m_isAskedFor = false;
    bool m_isAskedAgain = false; ///< while a check runs
};

} // namespace kestrum
