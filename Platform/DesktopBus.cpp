#include "Platform/DesktopBus.h"

#include <QDBusConnection>
#include <QFile>
#include <QFuture>
#include <QPromise>
#include <QThreadPool>
#include <memory>
#include <sys/stat.h>
#include <utility>

namespace kestrum {

QString DesktopBus::address()
{
    const QString named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!named.isEmpty())
        return named.contains(QLatin1StringView("autolaunch:")) ? QString() : named;
    const QString runtimeDirectory = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (runtimeDirectory.isEmpty())
        return QString();
    const QString socket = runtimeDirectory + QStringLiteral("/bus");
    struct stat info { };
    if (::stat(QFile::encodeName(socket).constData(), &info) != 0 || !S_ISSOCK(info.st_mode))
        return QString();
    return QStringLiteral("unix:path=") + socket;
}

void DesktopBus::join(
    const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined)
{
    auto promise = std::make_shared<QPromise<bool>>();
    promise->future().then(context, std::move(joined));
    QThreadPool::globalInstance()->start([promise, address, name] {
        promise->start();
        promise->addResult(QDBusConnection::connectToBus(address, name).isConnected());
        promise->finish();
    });
}

} // namespace kestrum
