// SPDX-License-Identifier: MIT
#include "Platform/Desktop/DesktopNotification.h"

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Log/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QStringList>
#include <QVariantMap>
#include <utility>

namespace kestrum {

namespace {

constexpr int timeLimit = 10'000; // ms, for an answer
constexpr int asLongAsTheDesktopLikes = -1;

// The interface has the same name as the service.
constexpr QLatin1StringView notifications("org.freedesktop.Notifications");
constexpr QLatin1StringView notificationsPath("/org/freedesktop/Notifications");

QDBusMessage notificationCall(const char* name)
{
    return QDBusMessage::createMethodCall(
        notifications, notificationsPath, notifications, QString::fromLatin1(name));
}

void tellThatNothingIsShown(const QString& reason)
{
    Log::info("notification", QStringLiteral("nothing is shown: %1").arg(Log::escaped(reason)));
}

void answer(const DesktopNotification::Answered& answered, bool isShown)
{
    if (answered)
        answered(isShown);
}

} // namespace

DesktopNotification::DesktopNotification(QObject* parent)
    : QObject(parent)
{
    // Each object has a connection of its own, so that the desktop's signals for one do not reach another.
    static int count = 0;
    m_connection = QStringLiteral("kestrum-notification-%1").arg(++count);
}

DesktopNotification::~DesktopNotification()
{
    DesktopBus::leave(m_connection, *this);
}

void DesktopNotification::show(const Content& content, Answered answered)
{
    m_content = content;
    // A notification that was replaced before it was sent is never shown.
    answer(std::exchange(m_answered, std::move(answered)), false);
    if (m_isPreparing)
        return;
    // The connection stays open, because some desktops remove the notifications of a program that left the bus.
    if (QDBusConnection(m_connection).isConnected())
        askWhatIsShown();
    else
        join();
}

void DesktopNotification::join()
{
    const QString address = DesktopBus::address();
    if (address.isEmpty()) {
        fail(QStringLiteral("there is no session bus"));
        return;
    }
    QDBusConnection::disconnectFromBus(m_connection);
    m_shown = 0;
    m_isPreparing = true;
    DesktopBus::join(address, m_connection, this, [this](bool isJoined) {
        if (!isJoined) {
            fail(QStringLiteral("the session bus does not answer"));
            return;
        }
        // The service name is left empty: with a name, Qt would wait for the bus. A forged signal can do no more than a
        // press of the button.
        const DesktopBus::Source source { {}, notificationsPath, notifications };
        DesktopBus::follow(
            m_connection, source, QStringLiteral("ActionInvoked"), this, SLOT(actionInvoked(uint, QString)));
        DesktopBus::follow(m_connection, source, QStringLiteral("ActivationToken"), this,
            SLOT(activationToken(uint, QString)));
        askWhatIsShown();
    });
}

/// Asks for the desktop's capabilities, then sends the notification. Not every desktop shows buttons, and some desktops
/// parse the text below the heading as markup.
void DesktopNotification::askWhatIsShown()
{
    m_isPreparing = true;
    const auto answered = [this](const QDBusPendingReply<QStringList>& reply) {
        if (reply.isError())
            fail(reply.error().message());
        else
            send(reply.value().contains(QLatin1StringView("actions")),
                reply.value().contains(QLatin1StringView("body-markup")));
    };
    DesktopBus::call(m_connection, notificationCall("GetCapabilities"), this, answered, timeLimit);
}

void DesktopNotification::send(bool hasButtons, bool readsMarkup)
{
    m_isPreparing = false;
    const bool hasButton = hasButtons && !m_content.button.isEmpty();
    const QString text
        = hasButton || m_content.button.isEmpty() ? m_content.text : m_content.textWithoutButton;
    // A click on the notification itself counts as a press of its button.
    const QStringList actions = hasButton ? QStringList { QStringLiteral("default"), m_content.button,
        QStringLiteral("button"), m_content.button }
                                          : QStringList();
    const QString program = QGuiApplication::desktopFileName();
    QDBusMessage call = notificationCall("Notify");
    call << QGuiApplication::applicationDisplayName() << m_shown << program << m_content.heading
         << (readsMarkup ? text.toHtmlEscaped() : text) << actions
         << QVariantMap { { QStringLiteral("desktop-entry"), program } } << asLongAsTheDesktopLikes;
    const auto answered
        = [this, told = std::exchange(m_answered, {})](const QDBusPendingReply<quint32>& reply) {
              if (reply.isError())
                  tellThatNothingIsShown(reply.error().message());
              else
                  m_shown = reply.value();
              answer(told, !reply.isError());
          };
    DesktopBus::call(m_connection, call, this, answered, timeLimit);
}

void DesktopNotification::fail(const QString& reason)
{
    m_isPreparing = false;
    tellThatNothingIsShown(reason);
    answer(std::exchange(m_answered, {}), false);
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
