#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace kestrum {

/// Plays the desktop's notification service: records the notifications and numbers them from 41 on. `capabilities` lists what
/// it supports.
class NotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        QString program;
        uint replaced = 0;
        QString heading;
        QString text;
        QStringList actions; ///< each action's name, followed by its label
    };
    QList<Shown> shown;
    QStringList capabilities { QStringLiteral("actions"), QStringLiteral("body"),
        QStringLiteral("body-markup") };

    /// Joins the bus with the service's name; false on failure. `leave` takes the service off the bus.
    bool join(const QString& address)
    {
        QDBusConnection connection = QDBusConnection::connectToBus(address, ownConnection);
        return connection.registerObject(path, this, QDBusConnection::ExportAllSlots)
            && connection.registerService(name);
    }
    static void leave() { QDBusConnection::disconnectFromBus(ownConnection); }

    /// Simulates a click on a button of the notification `number`.
    static void press(uint number, const QString& action, const QString& token = {})
    {
        if (!token.isEmpty())
            send("ActivationToken", { number, token });
        send("ActionInvoked", { number, action });
    }

public Q_SLOTS:
    QStringList GetCapabilities() const { return capabilities; }
    uint Notify(const QString& program, uint replaced, const QString&, const QString& heading,
        const QString& text, const QStringList& actions, const QVariantMap&, int)
    {
        shown.append({ program, replaced, heading, text, actions });
        return 40 + uint(shown.size());
    }

private:
    static inline const QString name = QStringLiteral("org.freedesktop.Notifications");
    static inline const QString path = QStringLiteral("/org/freedesktop/Notifications");
    static inline const QString ownConnection = QStringLiteral("notifications");

    static void send(const char* signal, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createSignal(path, name, QString::fromLatin1(signal));
        message.setArguments(arguments);
        QDBusConnection(ownConnection).send(message);
    }
};

} // namespace kestrum
