#pragma once

#include "tests/Support/DesktopTools.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

namespace kestrum {

/// A desktop's shell on the session bus, in this process.
class DesktopShell : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    explicit DesktopShell(const char* connection)
        : m_connection(QString::fromLatin1(connection))
    {
    }
    ~DesktopShell() override { QDBusConnection::disconnectFromBus(m_connection); }

    bool join(const QString& address, const char* service, const char* path)
    {
        QDBusConnection bus = QDBusConnection::connectToBus(address, m_connection);
        return bus.registerObject(QString::fromLatin1(path), this, QDBusConnection::ExportAllContents)
            && bus.registerService(QString::fromLatin1(service));
    }

private:
    QString m_connection;
};

/// Plays GNOME's shell, as far as extensions go.
class GnomeShell final : public DesktopShell {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.Extensions")
public:
    GnomeShell()
        : DesktopShell("gnome-shell")
    {
    }
    bool join(const QString& address)
    {
        return DesktopShell::join(address, "org.gnome.Shell", "/org/gnome/Shell");
    }

    QVariantMap info;          ///< of the extension; empty: the shell does not know it
    double stateOfEnabled = 1; ///< what becomes of the extension's state, a little after it is switched on
    QStringList enabled;

public Q_SLOTS:
    bool EnableExtension(const QString& name)
    {
        if (info.isEmpty())
            return false;
        enabled.append(name);
        QTimer::singleShot(50, this, [this] { info[QStringLiteral("state")] = stateOfEnabled; });
        return true;
    }
    QVariantMap GetExtensionInfo(const QString&) const { return info; }
};

/// Plays Plasma's shell. It understands only which of our three scripts it gets.
class PlasmaShell final : public DesktopShell {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.PlasmaShell")
public:
    PlasmaShell()
        : DesktopShell("plasma-shell")
    {
    }
    bool join(const QString& address)
    {
        return DesktopShell::join(address, "org.kde.plasmashell", "/PlasmaShell");
    }

    QString answer; ///< to everything, if it is not empty
    QString error;  ///< likewise
    bool hasWidget = false;
    QStringList scripts;

public Q_SLOTS:
    QString evaluateScript(const QString& script)
    {
        scripts.append(script);
        if (!error.isEmpty()) {
            sendErrorReply(QDBusError::Failed, error);
            return {};
        }
        if (!answer.isEmpty())
            return answer;
        if (script.contains(QStringLiteral("addWidget(\"com.orvale.kestrum.panel\"")))
            hasWidget = true;
        else if (script.contains(QStringLiteral(".remove()")))
            hasWidget = false;
        return hasWidget ? QStringLiteral("there\n") : QStringLiteral("absent\n");
    }
};

} // namespace kestrum
