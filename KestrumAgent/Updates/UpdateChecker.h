// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

namespace kestrum {

class AptQuery;

/// Looks for newer versions of Kestrum in the system's package manager, and stores an offer in the shared settings. It
/// downloads and installs nothing. A build without it is configured by KESTRUM_UPDATER; KESTRUM_DISABLE_UPDATER=1 in the
/// environment disables it.
class UpdateChecker final : public QObject {
    Q_OBJECT
public:
    explicit UpdateChecker(QObject* parent = nullptr);
    ~UpdateChecker() override;

    /// The Debian package of this program.
    static QString packageName();

    /// Stores whether checks are possible, and checks once a day while the settings say so. Called once.
    void start();

    /// Checks now, or once more as soon as the running check has ended; `finished` carries the last outcome.
    void check();

Q_SIGNALS:
    /// The outcome of a requested check, as a sentence in the interface language: up to date, a new version, no source of
    /// updates, or why it failed. `isOnOffer` says whether it is a new version. Emitted from the event loop, and not for
    /// the daily checks.
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
