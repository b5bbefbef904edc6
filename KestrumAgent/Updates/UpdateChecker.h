// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

namespace kestrum {

class AptQuery;

/// Checks whether the system's package manager has a newer version of Kestrum, and stores that version in the shared
/// settings. It downloads and installs nothing. The build option KESTRUM_UPDATER=OFF and the environment variable
/// KESTRUM_DISABLE_UPDATER=1 disable the checks.
class UpdateChecker final : public QObject {
    Q_OBJECT
public:
    explicit UpdateChecker(QObject* parent = nullptr);

    /// The name of this program's Debian package.
    static constexpr QLatin1StringView packageName { "kestrum" };

    /// Stores whether checks are possible. Checks once a day while the settings ask for that. Must be called once only.
    void start();

    /// Checks now. If a check is running, checks once more after it; `finished` then has the outcome of the last check.
    void check();

Q_SIGNALS:
    /// The outcome of a requested check, as a sentence in the interface language: up to date, a new version, no source of
    /// updates, or why the check failed. `isOnOffer` is true for a new version. Emitted from the event loop, but not for the
    /// daily checks.
    void finished(const QString& outcome, bool isOnOffer);

private:
    void begin();
    void adopt(const QByteArray& answer);
    void fail(const QString& reason);
    void end(const QString& outcome, bool isOnOffer = false);

    QTimer m_daily;
    AptQuery* m_query = nullptr; ///< null while no check runs
    bool m_isAskedFor = false;
    bool m_isAskedAgain = false; ///< a check was requested while another one was running
};

} // namespace kestrum
