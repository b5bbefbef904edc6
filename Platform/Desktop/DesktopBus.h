// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <functional>

class QDBusMessage;
class QDBusPendingCall;

namespace kestrum {

/// The session bus, which connects us to the desktop's services.
namespace DesktopBus {

/// The address of the running bus; empty when there is no bus, or when the known addresses would start one. If the
/// environment names no bus, the result is the bus's socket in the private runtime directory. A directory that other users
/// may enter is not used.
QString address();

/// Sets the bus's environment variable to `address`, or to a value that means "no bus". Otherwise the toolkit and the
/// programs that we start would start a bus and leave it running. Call this before the application object is created.
void nameToToolkit();

/// Joins the bus at `address` on a worker, because a bus may not answer at once. `name` is the name of the new
/// `QDBusConnection`. Then `joined` is called on the main thread: with true on success, else with false. It is not called
/// if `context` has been destroyed by then.
void join(const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined);

/// Sends `message` on the joined bus `connection`. `answered` gets the answer or the error from the event loop, unless
/// `context` has been destroyed by then. It may take a `QDBusPendingReply` of the answer's types. `timeLimit` is in ms; -1
/// stands for the bus library's own limit.
void call(const QString& connection, const QDBusMessage& message, QObject* context,
    std::function<void(const QDBusPendingCall&)> answered, int timeLimit = -1);

/// The origin of signals on the bus. An empty `service` stands for any service.
struct Source {
    QString service;
    QString path;
    QString interface;
};

/// Connects the signal `name` on the joined bus `connection` to the slot of `receiver` that SLOT() gave as `slot`. Returns
/// false, with a line in the log, when the bus library refuses the connection.
bool follow(const QString& connection, const Source& source, const QString& name, QObject* receiver,
    const char* slot);

} // namespace DesktopBus
} // namespace kestrum
