// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The session bus, by which the desktop's services are reached.
namespace DesktopBus {

/// The address of the running bus; empty when there is none, or when asking for it would start one. Where the environment
/// names none, it is the socket in the private runtime directory; a directory that others may enter has none.
QString address();

/// Sets `address`, or that there is no bus, in our environment: otherwise the toolkit and the programs that we start would
/// start a bus and leave it behind. Before the application object is made.
void nameToToolkit();

/// Joins the bus at `address` on a worker, since a bus may not answer at once. `QDBusConnection` then knows it by the name
/// that is given. `joined` is called on the main thread, with whether it worked, unless `context` is gone by then.
void join(const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined);

/// The origin of signals of the bus; an empty `service` is any.
struct Source {
    QString service;
    QString path;
    QString interface;
};

/// Connects `slot` of `receiver`, as SLOT() gives it, to the signal `name` on the joined bus `connection`. False, with a
/// line in the log, when the bus library refuses.
bool follow(const QString& connection, const Source& source, const QString& name, QObject* receiver,
    const char* slot);

} // namespace DesktopBus
} // namespace kestrum
