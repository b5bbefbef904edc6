#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The session bus, on which a desktop's services are.
namespace DesktopBus {

/// The address of the running bus; empty when there is none, or when asking for it would start one. Where the environment names
/// none, it is the socket in the private runtime directory, and none in a directory that others may enter.
QString address();

/// Names `address` in our environment, or that there is no bus: the toolkit, and what we start, would otherwise start one
/// where there is none, and leave it behind. Before the application object is made.
void nameToToolkit();

/// Joins the bus at `address` under the name that `QDBusConnection` then knows it by, on a worker, since a bus may let us wait.
/// `joined` is called on the main thread, with whether it worked, unless `context` is gone by then.
void join(const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined);

/// What signals of the bus come from; an empty `service` is anybody.
struct Source {
    QString service;
    QString path;
    QString interface;
};

/// Has `slot` of `receiver`, as SLOT() gives it, called for the signal `name` on the joined bus `connection`. False, with a line in
/// the log, when the bus library refuses: nothing of it would ever be heard.
bool follow(const QString& connection, const Source& source, const QString& name, QObject* receiver,
    const char* slot);

} // namespace DesktopBus
} // namespace kestrum
