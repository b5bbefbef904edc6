#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The session bus, on which a desktop's services are.
namespace DesktopBus {

/// The address of the running bus; empty when there is none, or when asking for it would start one.
QString address();

/// Joins the bus at `address` under the name that `QDBusConnection` then knows it by, on a worker, since a bus may let us wait.
/// `joined` is called on the main thread, with whether it worked, unless `context` is gone by then.
void join(const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined);

} // namespace DesktopBus
} // namespace kestrum
