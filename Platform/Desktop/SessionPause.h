// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QDBusMessage;

namespace kestrum {

/// Tells when the user's session is about to be locked or the machine to sleep, as the login service reports it. Without that
/// service or without a system bus, nothing is ever told. Does not wait for the bus. Main thread only.
class SessionPause final : public QObject {
    Q_OBJECT
public:
    explicit SessionPause(QObject* parent = nullptr);
    ~SessionPause() override;

    /// Joins the bus if that failed before.
    void tryAgain();

    /// The object path of the login session with that id.
    static QString pathOf(const QByteArray& session);

Q_SIGNALS:
    void begun();

private Q_SLOTS:
    void adoptLock(const QDBusMessage& message);
    void adoptSleep(bool isBeginning);
    void adoptProperties(const QDBusMessage& message);

private:
    void join();
    void follow();
    static bool isOurs(const QDBusMessage& message);

    QString m_connection;     ///< the name of the connection to the bus
    bool m_hasFailed = false; ///< the last attempt to join the bus
};

} // namespace kestrum
