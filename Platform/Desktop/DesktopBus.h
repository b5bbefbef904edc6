// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <functional>

class QDBusMessage;
class QDBusPendingCall;

namespace kestrum {

/// Functions for the session bus, which connects programs to the desktop's services.
namespace DesktopBus {

/// Returns the address of the running bus, from the environment or else from the bus's socket in the private runtime
/// directory. The address is empty if no bus is known, or if every known address would start a new bus. A directory that
/// other users may enter is not used.
QString address();

/// Returns the path of the socket at which the bus is or would be, whether or not it is there. Empty if the bus has no such path.
QString socketFile();

/// Sets the environment variable for the bus to `address`, or to a value that means "no bus". Otherwise the toolkit or a
/// started program would start a bus and leave it running. A bus that does not answer for some seconds is taken for none: the
/// toolkit would wait for it forever. Call this before the application object is created.
void nameToToolkit();

/// Joins the bus at `address` on a worker thread, because the bus may not answer at once. `name` is the name of the new
/// `QDBusConnection`. Then `joined` is called on the main thread: with true on success, else with false. `joined` is not
/// called if `context` has been destroyed by then.
void join(const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined);

/// Has the bus library call a slot of `receiver` when the bus of the joined connection is gone. `slot` is the result of SLOT().
/// The receiver then calls `QDBusConnection::disconnectFromBus`: else the lost connection would be taken for the next one, by its
/// name.
void followLoss(const QString& connection, QObject* receiver, const char* slot);

/// Leaves the bus when `user` is gone. Call this in the destructor of the object that follows signals by the connection: the
/// toolkit waits for the connection's thread when such an object goes, and would wait for a connection that is gone.
void leave(const QString& connection, const QObject& user);

/// Sends `message` over the joined connection named `connection`. The event loop calls `answered` with the answer or the
/// error, unless `context` has been destroyed by then. The parameter of `answered` may be a `QDBusPendingReply` of the
/// answer's types. `timeLimit` is in ms; -1 means the bus library's own limit.
void call(const QString& connection, const QDBusMessage& message, QObject* context,
    std::function<void(const QDBusPendingCall&)> answered, int timeLimit = -1);

/// The origin of signals on the bus. An empty `service` stands for any service.
struct Source {
    QString service;
    QString path;
    QString interface;
};

/// Connects the bus signal `name` from `source` to a slot of `receiver`. `slot` is the result of SLOT(). `connection`
/// names the joined connection. Returns false and logs a warning if the bus library refuses.
bool follow(const QString& connection, const Source& source, const QString& name, QObject* receiver,
    const char* slot);

} // namespace DesktopBus
} // namespace kestrum
