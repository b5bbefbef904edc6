// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SessionPause.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace kestrum {

namespace {

constexpr QLatin1StringView pauseConnection("kestrum-session");
constexpr char usualAddress[] = "unix:path=/var/run/dbus/system_bus_socket";

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

} // namespace

SessionPause::SessionPause(QObject* parent)
    : QObject(parent)
{
    const QString address
        = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS", QString::fromLatin1(usualAddress));
    DesktopBus::join(address, pauseConnection, this, [this](bool isJoined) {
        if (isJoined)
            follow();
    });
}

SessionPause::~SessionPause()
{
    QDBusConnection::disconnectFromBus(pauseConnection);
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
    const QString interface = QStringLiteral("org.freedesktop.login1.");
    DesktopBus::follow(pauseConnection, { {}, {}, interface + QStringLiteral("Session") },
        QStringLiteral("Lock"), this, SLOT(adoptLock(QDBusMessage)));
    DesktopBus::follow(pauseConnection,
        { {}, QStringLiteral("/org/freedesktop/login1"), interface + QStringLiteral("Manager") },
        QStringLiteral("PrepareForSleep"), this, SLOT(adoptSleep(bool)));
}

void SessionPause::adoptLock(const QDBusMessage& message)
{
    // Other users' sessions are locked too. A program that does not know its session takes each for its own.
    const QByteArray session = qgetenv("XDG_SESSION_ID");
    if (session.isEmpty() || message.path() == pathOf(session))
        Q_EMIT begun();
}

void SessionPause::adoptSleep(bool isBeginning)
{
    if (isBeginning)
        Q_EMIT begun();
}

} // namespace kestrum
