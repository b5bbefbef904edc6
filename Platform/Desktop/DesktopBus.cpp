#include "Platform/Desktop/DesktopBus.h"

#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Log.h"

#include <QDBusConnection>
#include <QDBusVariant>
#include <QFile>
#include <QFuture>
#include <QPromise>
#include <QStringList>
#include <QThreadPool>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr char addressVariable[] = "DBUS_SESSION_BUS_ADDRESS";
// No kind of address that the bus library knows: it fails at once, and looks no further.
constexpr QLatin1StringView noBus("disabled:");

/// Of the addresses that were named, those of a bus that runs.
QString runningOf(const QString& named)
{
    QStringList running;
    for (const QString& one : named.split(u';', Qt::SkipEmptyParts)) {
        if (!one.startsWith(QLatin1StringView("autolaunch:")) && !one.startsWith(noBus))
            running.append(one);
    }
    return running.join(u';');
}

/// The bus's usual place.
QString socketAddress()
{
    const RuntimeDirectory directory(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    struct stat info { };
    if (!directory.isValid() || ::fstatat(directory.rootDescriptor(), "bus", &info, AT_SYMLINK_NOFOLLOW) != 0
        || !S_ISSOCK(info.st_mode) || info.st_uid != ::geteuid())
        return {};
    // Signs are written as in addresses of the web, and this one too.
    return QStringLiteral("unix:path=")
        + QString::fromLatin1(
            QFile::encodeName(directory.rootPath() + QStringLiteral("/bus")).toPercentEncoding("/", "~"));
}

} // namespace

QString DesktopBus::address()
{
    // A bus may have come since we, or who started us, said that there is none.
    const QString named = qEnvironmentVariable(addressVariable);
    return named.isEmpty() || named == noBus ? socketAddress() : runningOf(named);
}

void DesktopBus::nameToToolkit()
{
    const QString found = address();
    qputenv(addressVariable, (found.isEmpty() ? QString(noBus) : found).toLocal8Bit());
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

bool DesktopBus::follow(
    const QString& connection, const Source& source, const QString& name, QObject* receiver, const char* slot)
{
    // The library refuses slots with a type that it has not met yet, and it meets this one only where something else sends it.
    qRegisterMetaType<QDBusVariant>();
    const bool isFollowed = QDBusConnection(connection)
                                .connect(source.service, source.path, source.interface, name, receiver, slot);
    if (!isFollowed)
        Log::warning(
            "bus", QStringLiteral("the signal %1.%2 cannot be followed").arg(source.interface, name));
    return isFollowed;
}

} // namespace kestrum
