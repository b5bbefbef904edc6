#include "Platform/DesktopNotification.h"

#include "Platform/DesktopBus.h"
#include "Platform/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>

namespace kestrum {

namespace {

constexpr int timeLimit = 10'000; // ms, of an answer
constexpr int asLongAsTheDesktopLikes = -1;

QString notificationConnection()
{
    return QStringLiteral("kestrum-notification");
}

void tellThatNothingIsShown(const QString& reason)
{
    Log::info("notification", QStringLiteral("nothing is shown: %1").arg(Log::escaped(reason)));
}

} // namespace

DesktopNotification::DesktopNotification(QObject* parent)
    : QObject(parent)
{
}

DesktopNotification::~DesktopNotification()
{
    QDBusConnection::disconnectFromBus(notificationConnection());
}

void DesktopNotification::show(const QString& text)
{
    m_text = text;
    if (m_isJoining)
        return;
    // Kept from one to the next: some desktops take away what was shown by a program that has left the bus.
    if (QDBusConnection(notificationConnection()).isConnected()) {
        send();
        return;
    }
    const QString address = DesktopBus::address();
    if (address.isEmpty()) {
        tellThatNothingIsShown(QStringLiteral("there is no session bus"));
        return;
    }
    QDBusConnection::disconnectFromBus(notificationConnection());
    m_shown = 0;
    m_isJoining = true;
    DesktopBus::join(address, notificationConnection(), this, [this](bool isJoined) {
        m_isJoining = false;
        if (isJoined)
            send();
        else
            tellThatNothingIsShown(QStringLiteral("the session bus does not answer"));
    });
}

void DesktopNotification::send()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("/org/freedesktop/Notifications"), QStringLiteral("org.freedesktop.Notifications"),
        QStringLiteral("Notify"));
    const QString program = QGuiApplication::desktopFileName();
    // The text is the heading: what stands below it may be read as markup.
    call << QGuiApplication::applicationDisplayName() << m_shown << program << m_text << QString()
         << QStringList() << QVariantMap { { QStringLiteral("desktop-entry"), program } }
         << asLongAsTheDesktopLikes;
    auto* watcher = new QDBusPendingCallWatcher(
        QDBusConnection(notificationConnection()).asyncCall(call, timeLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<quint32> reply = *watcher;
        if (reply.isError())
            tellThatNothingIsShown(reply.error().message());
        else
            m_shown = reply.value();
    });
}

} // namespace kestrum
