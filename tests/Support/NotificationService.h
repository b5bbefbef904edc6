#pragma once

#include <QDBusConnection>
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
        QStringList actions; ///< names and labels in turn
    };
    QList<Shown> shown;
    QStringList capabilities { QStringLiteral("actions"), QStringLiteral("body"),
        QStringLiteral("body-markup") };

    /// Joins the bus with the service's name; false on failure. `leave` takes the service off the bus.
    bool join(const QString& address);
    static void leave();

    /// Simulates a click on a button of the notification `number`.
    static void press(uint number, const QString& action, const QString& token = {});

public Q_SLOTS:
    QStringList GetCapabilities() const { return capabilities; }
    uint Notify(const QString& program, uint replaced, const QString& icon, const QString& heading,
        const QString& text, const QStringList& actions, const QVariantMap& hints, int limit);
};

} // namespace kestrum
