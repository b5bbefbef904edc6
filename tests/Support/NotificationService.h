#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace kestrum {

/// The desktop's service that shows notifications: it notes what it is to show, and numbers it from 41 on. What it can do is what
/// `capabilities` says.
class NotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        QString program;
        uint replaced = 0;
        QString heading;
        QString text;
        QStringList actions; ///< names and labels by turns
    };
    QList<Shown> shown;
    QStringList capabilities { QStringLiteral("actions"), QStringLiteral("body"),
        QStringLiteral("body-markup") };

    /// Joins the bus under its name there; false when that does not work. `leave` takes it away.
    bool join(const QString& address);
    static void leave();

    /// Somebody presses a button of what bears that number.
    static void press(uint number, const QString& action, const QString& token = {});

public Q_SLOTS:
    QStringList GetCapabilities() const { return capabilities; }
    uint Notify(const QString& program, uint replaced, const QString& icon, const QString& heading,
        const QString& text, const QStringList& actions, const QVariantMap& hints, int limit);
};

} // namespace kestrum
