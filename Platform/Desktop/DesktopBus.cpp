// SPDX-License-Identifier: MIT
#include "Platform/Desktop/DesktopBus.h"

#include "Platform/Desktop/BusProbe.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Log.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QPointer>
#include <QStringList>
#include <QThreadPool>
#include <chrono>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr char addressVariable[] = "DBUS_SESSION_BUS_ADDRESS";
// Means "no bus": the bus library does not know this kind of address, fails at once and tries no other address.
constexpr QLatin1StringView noBus("disabled:");

/// A bus at the start of a session may be slow. Nothing is seen meanwhile.
constexpr std::chrono::seconds patienceAtStart { 3 };
constexpr std::chrono::seconds patienceToJoin { 30 };

/// Returns the addresses in `named` except those that would start a bus ("autolaunch:") or mean "no bus".
QString runningOf(const QString& named)
{
    QStringList running;
    for (const QString& one : named.split(u';', Qt::SkipEmptyParts)) {
        if (!one.startsWith(QLatin1StringView("autolaunch:")) && !one.startsWith(noBus))
            running.append(one);
    }
    return running.join(u';');
}

constexpr char directoryVariable[] = "XDG_RUNTIME_DIR";
constexpr QLatin1StringView usualSocket("/bus");

/// The address of the bus's usual socket in the private runtime directory; empty if this user owns no such socket.
QString socketAddress()
{
    const auto directory = RuntimeDirectory::open(qEnvironmentVariable(directoryVariable));
    struct stat info { };
    if (!directory || ::fstatat(directory->rootDescriptor(), "bus", &info, AT_SYMLINK_NOFOLLOW) != 0
        || !S_ISSOCK(info.st_mode) || info.st_uid != ::geteuid())
        return {};
    // The path in a bus address is percent-encoded.
    return QStringLiteral("unix:path=")
        + QString::fromLatin1(
            QFile::encodeName(directory->rootPath() + usualSocket).toPercentEncoding("/", "~"));
}

} // namespace

QString DesktopBus::address()
{
    // "No bus" may be out of date: a bus may have started since this process or its parent set the variable.
    const QString named = qEnvironmentVariable(addressVariable);
    return named.isEmpty() || named == noBus ? socketAddress() : runningOf(named);
}

QString DesktopBus::socketFile()
{
    const QString named = qEnvironmentVariable(addressVariable);
    if (named.isEmpty() || named == noBus) {
        const QString directory = qEnvironmentVariable(directoryVariable);
        return directory.isEmpty() ? QString() : directory + usualSocket;
    }
    constexpr QLatin1StringView path("unix:path=");
    const QStringList addresses = runningOf(named).split(u';');
    for (const QString& address : addresses) {
        if (address.startsWith(path))
            return QFile::decodeName(
                QByteArray::fromPercentEncoding(address.mid(path.size()).section(u',', 0, 0).toUtf8()));
    }
    return {};
}

void DesktopBus::nameToToolkit()
{
    QString found = address();
    if (BusProbe::isSilent(found, patienceAtStart)) {
        Log::warning("bus",
            QStringLiteral("the session bus does not answer: assistive programs do not find this one"));
        found.clear();
    }
    qputenv(addressVariable, (found.isEmpty() ? QString(noBus) : found).toLocal8Bit());
}

void DesktopBus::join(
    const QString& address, const QString& name, QObject* context, std::function<void(bool)> joined)
{
    // The toolkit's futures would call a context that has been destroyed meanwhile, so the main thread looks first.
    QThreadPool::globalInstance()->start(
        [address, name, guard = QPointer<QObject>(context), joined = std::move(joined)] {
            const bool isJoined = !BusProbe::isSilent(address, patienceToJoin)
                && QDBusConnection::connectToBus(address, name).isConnected();
            const auto tell = [guard, joined, isJoined] {
                if (guard)
                    joined(isJoined);
            };
            // The application waits for this thread before it is gone.
            if (QCoreApplication* application = QCoreApplication::instance())
                QMetaObject::invokeMethod(application, tell, Qt::QueuedConnection);
        });
}

void DesktopBus::followLoss(const QString& connection, QObject* receiver, const char* slot)
{
    QDBusConnection(connection)
        .connect(QString(), QString(), QStringLiteral("org.freedesktop.DBus.Local"),
            QStringLiteral("Disconnected"), receiver, slot);
}

void DesktopBus::leave(const QString& connection, const QObject& user)
{
    // Who listens first is told first: the toolkit began to listen when `user` followed its first signal.
    QObject::connect(
        &user, &QObject::destroyed, [connection] { QDBusConnection::disconnectFromBus(connection); });
}

void DesktopBus::call(const QString& connection, const QDBusMessage& message, QObject* context,
    std::function<void(const QDBusPendingCall&)> answered, int timeLimit)
{
    auto* watcher
        = new QDBusPendingCallWatcher(QDBusConnection(connection).asyncCall(message, timeLimit), context);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, context, [watcher, answered = std::move(answered)] {
            watcher->deleteLater();
            answered(*watcher);
        });
}

bool DesktopBus::follow(
    const QString& connection, const Source& source, const QString& name, QObject* receiver, const char* slot)
{
    // The bus library refuses a slot whose parameter type is not registered. The library itself registers `QDBusVariant`
    // only when some other code sends such a value.
    qRegisterMetaType<QDBusVariant>();
    const bool isFollowed = QDBusConnection(connection)
                                .connect(source.service, source.path, source.interface, name, receiver, slot);
    if (!isFollowed)
        Log::warning(
            "bus", QStringLiteral("the signal %1.%2 cannot be followed").arg(source.interface, name));
    return isFollowed;
}

} // namespace kestrum
