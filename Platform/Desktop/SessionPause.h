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

    /// The object path of the login session with that id.
    static QString pathOf(const QByteArray& session);

Q_SIGNALS:
    void begun();

private Q_SLOTS:
    void adoptLock(const QDBusMessage& message);
    void adoptSleep(bool isBeginning);

private:
    void follow();
};

} // namespace kestrum
