// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

namespace kestrum {

class AptQuery;

/// Checks whether the system's package manager offers a newer version of Kestrum, and stores that version in the shared
/// settings. Downloads and installs nothing. The build option KESTRUM_UPDATER=OFF or the environment variable
/// KESTRUM_DISABLE_UPDATER=1 disables the checks.
class UpdateChecker final : public QObject {
    Q_OBJECT
public:
    explicit UpdateChecker(QObject* parent = nullptr);

    /// The name of this program's Debian package.
    static constexpr QLatin1StringView packageName { "kestrum" };

    /// Stores whether checks are possible. If so, checks once a day while the settings ask for it. Must be called once only.
    void start();

    /// Checks now. If a check is running already, another check follows it, and `finished` reports only the last outcome.
    void check();

Q_SIGNALS:
    /// A check that was requested with `check` has ended; not emitted for daily checks. `outcome` is a sentence in the
    /// interface language. `isOnOffer` is true if a new version is available. Emitted from the event loop.
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
