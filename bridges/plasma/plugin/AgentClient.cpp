// SPDX-License-Identifier: MIT
#include "AgentClient.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>
#include <QPointer>
#include <limits>
#include <utility>

namespace kestrum {

namespace {

const QString agentName = QStringLiteral("com.orvale.kestrum.Agent");
const QString agentPath = QStringLiteral("/com/orvale/kestrum/Panel");
const QString agentInterface = QStringLiteral("com.orvale.kestrum.Panel1");
const QString busName = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString panelHost = QStringLiteral("plasma");

constexpr int answerLimit = 2000; // in ms
/// An answer that comes late has attached all the same, so it is awaited for as long as the agent lives.
constexpr int noLimit = std::numeric_limits<int>::max();
constexpr int attachAgain = 10000; // in ms: the agent has refused, since it has bridges enough

Q_LOGGING_CATEGORY(panelLog, "com.orvale.kestrum.panel", QtInfoMsg)

QDBusMessage agentCall(const QString& owner, const QString& method, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(owner, agentPath, agentInterface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return message;
}

} // namespace

AgentClient::AgentClient(QObject* parent)
    : AgentClient(QDBusConnection::sessionBus(), parent)
{
}

AgentClient::AgentClient(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus)
{
    // A panel sets several properties of its look at once.
    m_lookTimer.setSingleShot(true);
    m_lookTimer.setInterval(0);
    connect(&m_lookTimer, &QTimer::timeout, this, &AgentClient::sendLook);
    m_attachTimer.setSingleShot(true);
    connect(&m_attachTimer, &QTimer::timeout, this, &AgentClient::attach);

    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { m_isPanelEnding = true; });

    // The sender is left empty, because for a name the toolkit would wait for the bus to tell its owner.
    m_bus.connect(QString(), busPath, busName, QStringLiteral("NameOwnerChanged"), { agentName }, QString(),
        this, SLOT(ownerChanged(QDBusMessage)));
    QDBusMessage question
        = QDBusMessage::createMethodCall(busName, busPath, busName, QStringLiteral("GetNameOwner"));
    question << agentName;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question, answerLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QString> answer = *watcher;
        // An error says that there is no agent.
        if (!answer.isError() && m_owner.isEmpty())
            setOwner(answer.value());
    });
}

AgentClient::~AgentClient()
{
    // A panel that ends with the session only leaves the bus: at the next login the agent waits for it.
    if (isAttached() && !m_isPanelEnding)
        m_bus.send(agentCall(m_owner, QStringLiteral("Detach"), { m_bridge }));
}

void AgentClient::ownerChanged(const QDBusMessage& message)
{
    if (message.service() == busName && message.signature() == QLatin1String("sss"))
        setOwner(message.arguments().at(2).toString());
}

void AgentClient::setOwner(const QString& owner)
{
    if (owner == m_owner)
        return;
    if (!m_owner.isEmpty())
        followSignals(false);
    const bool wasAttached = isAttached();
    m_owner = owner;
    m_bridge = 0;
    m_hasMissedItems = false;
    m_attachTimer.stop();
    m_popoverCalls = 0;
    m_isMoveSent = false;
    m_complaints.clear();
    forgetPopover();
    m_items.adopt({});
    m_actionsItem.clear();
    m_actions.clear();
    Q_EMIT actionsChanged();
    if (wasAttached)
        Q_EMIT attachedChanged();
    if (!m_owner.isEmpty()) {
        followSignals(true);
        // Not at once: the panel may be about to say how it looks.
        m_attachTimer.start(0);
    }
}

/// Only what the agent itself sends is heard.
void AgentClient::followSignals(bool isFollowed)
{
    const std::pair<const char*, const char*> followed[] = {
        { "Items", SLOT(takeItems(QDBusMessage)) },
        { "Popover", SLOT(takePopover(QDBusMessage)) },
        { "PopoverRequested", SLOT(takeRequest(QDBusMessage)) },
        { "PopoverClosed", SLOT(takeClosed(QDBusMessage)) },
        { "ChoiceRequested", SLOT(takeChoice(QDBusMessage)) },
        { "Copied", SLOT(takeCopied(QDBusMessage)) },
    };
    for (const auto& [name, slot] : followed) {
        if (isFollowed)
            m_bus.connect(m_owner, agentPath, agentInterface, QString::fromLatin1(name), this, slot);
        else
            m_bus.disconnect(m_owner, agentPath, agentInterface, QString::fromLatin1(name), this, slot);
    }
}

void AgentClient::attach()
{
    if (m_owner.isEmpty() || isAttached())
        return;
    const QVariantMap toldLook = look();
    const QDBusMessage message = agentCall(m_owner, QStringLiteral("Attach"), { panelHost, toldLook });
    // The watcher outlives this object: a bridge that nobody knows would keep the agent from showing the items elsewhere.
    auto* watcher
        = new QDBusPendingCallWatcher(m_bus.asyncCall(message, noLimit), QCoreApplication::instance());
    connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
        [guard = QPointer<AgentClient>(this), bus = m_bus, owner = m_owner, toldLook, watcher]() mutable {
            watcher->deleteLater();
            const QDBusMessage answer = watcher->reply();
            if (guard && guard->m_owner == owner)
                guard->attached(answer, toldLook);
            else if (answer.type() == QDBusMessage::ReplyMessage)
                bus.send(agentCall(owner, QStringLiteral("Detach"), answer.arguments()));
        });
}

void AgentClient::attached(const QDBusMessage& answer, const QVariantMap& toldLook)
{
    m_bridge = answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toUInt() : 0;
    if (!isAttached()) {
        complain(QStringLiteral("Attach"), answer.errorMessage());
        m_attachTimer.start(attachAgain);
        return;
    }
    if (std::exchange(m_hasMissedItems, false) || look() != toldLook)
        sendLook();
    Q_EMIT attachedChanged();
}

QVariantMap AgentClient::look() const
{
    QVariantMap look { { QStringLiteral("scale"), m_scale } };
    if (m_foreground.isValid())
        look.insert(QStringLiteral("foreground"), m_foreground.name());
    return look;
}

void AgentClient::sendLook()
{
    if (!isAttached())
        return;
    call(QStringLiteral("Look"), { m_bridge, look() });
    if (!m_openItem.isEmpty())
        openPopover(m_openItem);
}

void AgentClient::setScale(double scale)
{
    if (scale == m_scale)
        return;
    m_scale = scale;
    m_lookTimer.start();
    Q_EMIT lookChanged();
}

void AgentClient::setForeground(const QColor& colour)
{
    if (colour == m_foreground)
        return;
    m_foreground = colour;
    m_lookTimer.start();
    Q_EMIT lookChanged();
}

void AgentClient::setPopoverScale(double scale)
{
    if (scale == m_popoverScale)
        return;
    m_popoverScale = scale;
    m_lookTimer.start();
    Q_EMIT lookChanged();
}

void AgentClient::setPopoverRoom(int points)
{
    if (points == m_popoverRoom)
        return;
    m_popoverRoom = points;
    m_lookTimer.start();
    Q_EMIT lookChanged();
}

bool AgentClient::isMine(const QDBusMessage& message) const
{
    return isAttached() && message.arguments().value(0).toUInt() == m_bridge;
}

void AgentClient::takeItems(const QDBusMessage& message)
{
    // The toolkit hands out an answer later than a signal that came after it, if the thread was held up when it asked. Whose items
    // these are is not known yet, and their pictures come again only if they are asked for.
    if (!isAttached())
        m_hasMissedItems = true;
    if (!isMine(message))
        return;
    if (const auto told = PanelMessages::items(message))
        m_items.adopt(told->list);
    else
        complain(QStringLiteral("Items"), QStringLiteral("the message makes no sense"));
}

void AgentClient::requestActions(const QString& item)
{
    if (!isAttached())
        return;
    call(QStringLiteral("Actions"), { item }, [this, item](const QDBusMessage& answer) {
        const auto told = PanelMessages::actions(answer);
        if (!told)
            return;
        m_actionsItem = item;
        m_actions = *told;
        Q_EMIT actionsChanged();
    });
}

void AgentClient::choose(const QString& action, const QString& token)
{
    if (isAttached() && !action.isEmpty())
        call(QStringLiteral("Choose"), { action, m_actionsItem, token });
}

void AgentClient::call(const QString& method, const QVariantList& arguments, const Answered& answered)
{
    auto* watcher = new QDBusPendingCallWatcher(
        m_bus.asyncCall(agentCall(m_owner, method, arguments), answerLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
        [this, watcher, method, answered, owner = m_owner] {
            watcher->deleteLater();
            // An agent that is gone has nothing to say.
            if (owner != m_owner)
                return;
            const QDBusMessage answer = watcher->reply();
            if (answer.type() == QDBusMessage::ErrorMessage)
                complain(method + QLatin1Char(' ') + answer.errorName(), answer.errorMessage());
            if (answered)
                answered(answer);
        });
}

/// Logs a kind of trouble once in the agent's life: it would come again with each sample.
void AgentClient::complain(const QString& kind, const QString& reason)
{
    if (m_complaints.contains(kind))
        return;
    m_complaints.insert(kind);
    qCWarning(panelLog).noquote() << "kestrum:" << kind << "-" << reason;
}

} // namespace kestrum
