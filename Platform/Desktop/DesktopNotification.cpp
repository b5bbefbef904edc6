// SPDX-License-Identifier: MIT
#include "Platform/Desktop/DesktopNotification.h"

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Log/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>
#include <utility>

namespace kestrum {

namespace {

constexpr int timeLimit = 10'000; // ms, for an answer
constexpr int asLongAsTheDesktopLikes = -1;

const QString& notificationService()
{
    // The interface has the same name as the service.
    static const QString name = QStringLiteral("org.freedesktop.Notifications");
    return name;
}

const QString& notificationPath()
{
    static const QString name = QStringLiteral("/org/freedesktop/Notifications");
    return name;
}

QDBusMessage notificationCall(const char* name)
{
    return QDBusMessage::createMethodCall(
        notificationService(), notificationPath(), notificationService(), QString::fromLatin1(name));
}

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

void DesktopNotification::show(const Content& content)
{
    m_content = content;
    if (m_isJoining)
        return;
    // The connection stays open, because some desktops remove the notifications of a program that has left the bus.
    if (QDBusConnection(notificationConnection()).isConnected())
        askWhatIsShown();
    else
        join();
}

void DesktopNotification::join()
{
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
        if (!isJoined) {
            tellThatNothingIsShown(QStringLiteral("the session bus does not answer"));
            return;
        }
        // The sender is left empty, because Qt would otherwise wait for the bus. A forged signal can do no more than a
        // press of the button.
        const DesktopBus::Source source { {}, notificationPath(), notificationService() };
        DesktopBus::follow(notificationConnection(), source, QStringLiteral("ActionInvoked"), this,
            SLOT(actionInvoked(uint, QString)));
        DesktopBus::follow(notificationConnection(), source, QStringLiteral("ActivationToken"), this,
            SLOT(activationToken(uint, QString)));
        askWhatIsShown();
    });
}

/// Asks for the desktop's capabilities, then sends the content. Not every desktop shows buttons, and some desktops read
/// the text below the heading as markup.
void DesktopNotification::askWhatIsShown()
{
    auto* watcher = new QDBusPendingCallWatcher(
        QDBusConnection(notificationConnection()).asyncCall(notificationCall("GetCapabilities"), timeLimit),
        this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QStringList> reply = *watcher;
        if (reply.isError())
            tellThatNothingIsShown(reply.error().message());
        else
            send(reply.value().contains(QLatin1StringView("actions")),
                reply.value().contains(QLatin1StringView("body-markup")));
    });
}

void DesktopNotification::send(bool hasButtons, bool readsMarkup)
{
    const bool hasButton = hasButtons && !m_content.button.isEmpty();
    const QString text
        = hasButton || m_content.button.isEmpty() ? m_content.text : m_content.textWithoutButton;
    // A click beside the button counts as a press of the button.
    const QStringList actions = hasButton ? QStringList { QStringLiteral("default"), m_content.button,
        QStringLiteral("button"), m_content.button }
                                          : QStringList();
    const QString program = QGuiApplication::desktopFileName();
    QDBusMessage call = notificationCall("Notify");
    call << QGuiApplication::applicationDisplayName() << m_shown << program << m_content.heading
         << (readsMarkup ? text.toHtmlEscaped() : text) << actions
         << QVariantMap { { QStringLiteral("desktop-entry"), program } } << asLongAsTheDesktopLikes;
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

void DesktopNotification::activationToken(uint number, const QString& token)
{
    if (number == m_shown)
        m_token = token.toUtf8();
}

void DesktopNotification::actionInvoked(uint number, const QString&)
{
    if (number == m_shown && !m_content.button.isEmpty())
        Q_EMIT pressed(std::exchange(m_token, {}));
}

} // namespace kestrum
