#include "tests/Support/NotificationService.h"

#include <QDBusMessage>

namespace kestrum {

namespace {

const QString name = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString ownConnection = QStringLiteral("notifications");

void send(const char* signal, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createSignal(path, name, QString::fromLatin1(signal));
    message.setArguments(arguments);
    QDBusConnection(ownConnection).send(message);
}

} // namespace

bool NotificationService::join(const QString& address)
{
    QDBusConnection connection = QDBusConnection::connectToBus(address, ownConnection);
    return connection.registerObject(path, this, QDBusConnection::ExportAllSlots)
        && connection.registerService(name);
}

void NotificationService::leave()
{
    QDBusConnection::disconnectFromBus(ownConnection);
}

void NotificationService::press(uint number, const QString& action, const QString& token)
{
    if (!token.isEmpty())
        send("ActivationToken", { number, token });
    send("ActionInvoked", { number, action });
}

uint NotificationService::Notify(const QString& program, uint replaced, const QString&,
    const QString& heading, const QString& text, const QStringList& actions, const QVariantMap&, int)
{
    shown.append({ program, replaced, heading, text, actions });
    return 40 + uint(shown.size());
}

} // namespace kestrum
