// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SessionPause.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <utility>

namespace kestrum {

namespace {

constexpr char usualAddress[] = "unix:path=/var/run/dbus/system_bus_socket";

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

} // namespace

SessionPause::SessionPause(QObject* parent)
    : QObject(parent)
{
    join();
}

void SessionPause::join()
{
    // A name of its own: the bus library keeps a failed connection, and would give it out again under the same name. An
    // attempt of an object that is gone may still be under way.
    static int attempts = 0;
    m_connection = QStringLiteral("kestrum-session-%1").arg(++attempts);
    const QString address
        = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS", QString::fromLatin1(usualAddress));
    DesktopBus::join(address, m_connection, this, [this](bool isJoined) {
        m_hasFailed = !isJoined;
        if (isJoined)
            follow();
    });
}

void SessionPause::tryAgain()
{
    if (!std::exchange(m_hasFailed, false))
        return;
    QDBusConnection::disconnectFromBus(m_connection);
    join();
}

SessionPause::~SessionPause()
{
    DesktopBus::leave(m_connection, *this);
}

QString SessionPause::pathOf(const QByteArray& session)
{
    QString path = QStringLiteral("/org/freedesktop/login1/session/");
    for (int i = 0; i < session.size(); ++i) {
        const char character = session[i];
        const bool isDigit = character >= '0' && character <= '9';
        if (isLetter(character) || (isDigit && i > 0))
            path += QLatin1Char(character);
        else
            path += QStringLiteral("_%1").arg(uint(uchar(character)), 2, 16, QLatin1Char('0'));
    }
    return path;
}

void SessionPause::follow()
{
    // A service's name would have to be asked of the bus first, which may not answer. Whoever can imitate the login service
    // here closes a popover, no more.
    const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
    DesktopBus::follow(m_connection, { {}, {}, sessionInterface }, QStringLiteral("Lock"), this,
        SLOT(adoptLock(QDBusMessage)));
    DesktopBus::follow(m_connection,
        { {}, QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager") },
        QStringLiteral("PrepareForSleep"), this, SLOT(adoptSleep(bool)));
    // Some desktops lock the session themselves, and only tell the service afterwards. The bus compares the first argument,
    // so that other objects' properties do not wake this process.
    QDBusConnection(m_connection)
        .connect({}, {}, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("PropertiesChanged"), { sessionInterface }, QString(), this,
            SLOT(adoptProperties(QDBusMessage)));
}

/// Whether a session's message is about this one. Other users' sessions are locked too. A program that does not know its
/// session takes each for its own.
bool SessionPause::isOurs(const QDBusMessage& message)
{
    const QByteArray session = qgetenv("XDG_SESSION_ID");
    return session.isEmpty() || message.path() == pathOf(session);
}

void SessionPause::adoptLock(const QDBusMessage& message)
{
    if (isOurs(message))
        Q_EMIT begun();
}

void SessionPause::adoptProperties(const QDBusMessage& message)
{
    const auto changed = qdbus_cast<QVariantMap>(message.arguments().value(1));
    if (changed.value(QStringLiteral("LockedHint")).toBool() && isOurs(message))
        Q_EMIT begun();
}

void SessionPause::adoptSleep(bool isBeginning)
{
    if (isBeginning)
        Q_EMIT begun();
}

} // namespace kestrum
