// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelService.h"

#include "KestrumAgent/Bridge/AttachedBridge.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Log/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <algorithm>
#include <chrono>
#include <limits>
#include <paneladaptor.h>

namespace kestrum {

namespace {

constexpr QLatin1StringView panelConnection("kestrum-panel");
constexpr QLatin1StringView busService("org.freedesktop.DBus");
constexpr QLatin1StringView busPath("/org/freedesktop/DBus");
/// An older bridge, or one that hangs, must not keep a window from the user.
constexpr std::chrono::seconds requestPatience { 1 };
/// The bus's words for a request of a name: do not wait for it; and: it is ours.
constexpr uint doNotQueue = 4;
constexpr uint isPrimaryOwner = 1;
constexpr int noLimit = std::numeric_limits<int>::max();

/// The name that a bridge gives its host, as it is told to others and logged.
QString hostName(const QString& told)
{
    QString name = told.left(PanelService::longestHost);
    for (QChar& letter : name) {
        const char plain = letter.toLatin1();
        const bool isPlain = (plain >= 'a' && plain <= 'z') || (plain >= 'A' && plain <= 'Z')
            || (plain >= '0' && plain <= '9') || plain == '.' || plain == '_';
        if (!isPlain)
            letter = u'-';
    }
    // Nobody is to take a bridge for what the agent shows itself.
    const auto ownWays = { PanelContract::nothing, PanelContract::notificationArea, PanelContract::statusIcon,
        PanelContract::strip };
    return name.isEmpty() || std::ranges::find(ownWays, name) != ownWays.end() ? QStringLiteral("bridge")
                                                                               : name;
}

} // namespace

PanelService::PanelService(PanelStrip& strip, PopoverController& popovers, QMenu& menu, QObject* parent)
    : QObject(parent)
    , m_strip(strip)
    , m_popovers(popovers)
    , m_menu(menu)
{
    PanelContract::registerTypes();
    new Panel1Adaptor(this);
    connect(&m_strip, &PanelStrip::redrawn, this, &PanelService::sendItems);
    connect(&m_return, &BusReturn::expected, this, &PanelService::start);
    m_requestWait.setSingleShot(true);
    m_requestWait.setInterval(requestPatience);
    connect(&m_requestWait, &QTimer::timeout, this, [this] { Choose(m_requested, {}, {}); });
}

PanelService::~PanelService()
{
    for (const auto& [number, bridge] : m_bridges)
        m_popovers.leave(bridge->stand());
    DesktopBus::leave(panelConnection, *this);
}

void PanelService::start()
{
    const QString address = DesktopBus::address();
    if (address.isEmpty()) {
        QMetaObject::invokeMethod(this, &PanelService::busLost, Qt::QueuedConnection);
        return;
    }
    DesktopBus::join(address, panelConnection, this, [this](bool isJoined) {
        if (isJoined)
            requestName();
        else
            busLost();
    });
}

/// There is no bus, or none any longer. The bridges are not heard of again: a bridge that lives attaches anew.
void PanelService::busLost()
{
    // Else the lost connection would be taken for the next one, by its name.
    QDBusConnection::disconnectFromBus(panelConnection);
    while (isUsed())
        drop(m_bridges.begin()->first);
    Q_EMIT settled(false);
    m_return.wait();
}

/// Asks for the name only when the object is there: whoever sees the name may call at once.
void PanelService::requestName()
{
    QDBusConnection bus(panelConnection);
    bus.registerObject(PanelContract::path, this, QDBusConnection::ExportAdaptors);
    DesktopBus::followLoss(panelConnection, this, SLOT(busLost()));
    QDBusMessage request
        = QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("RequestName"));
    request << QString(PanelContract::service) << doNotQueue;
    DesktopBus::call(panelConnection, request, this, [this](const QDBusPendingReply<uint>& reply) {
        const bool isOurs = !reply.isError() && reply.value() == isPrimaryOwner;
        if (!reply.isError())
            m_return.stop();
        if (reply.isError())
            Log::warning("agent",
                QStringLiteral("the session bus does not give the agent its name: %1")
                    .arg(Log::escaped(reply.error().message())));
        else if (!isOurs)
            Log::warning("agent", QStringLiteral("another program has the agent's name on the session bus"));
        Q_EMIT settled(isOurs);
    });
}

QString PanelService::shownBy() const
{
    QStringList hosts;
    for (const auto& [number, bridge] : m_bridges)
        hosts.append(bridge->host());
    return hosts.isEmpty() ? m_ownWay : hosts.join(u',');
}

AttachedBridge* PanelService::find(uint number) const
{
    const auto found = m_bridges.find(number);
    return found == m_bridges.end() ? nullptr : found->second.get();
}

bool PanelService::hasBridgeOf(const QString& client) const
{
    return std::ranges::any_of(
        m_bridges, [&](const auto& entry) { return entry.second->client() == client; });
}

/// The caller's bridge with that number. Without one, the caller gets an error.
AttachedBridge* PanelService::own(uint number)
{
    AttachedBridge* bridge = find(number);
    if (bridge && (!calledFromDBus() || bridge->client() == message().service()))
        return bridge;
    if (calledFromDBus())
        sendErrorReply(
            QDBusError::InvalidArgs, QStringLiteral("no bridge of yours has the number %1").arg(number));
    return nullptr;
}

uint PanelService::Attach(const QString& host, const QVariantMap& look)
{
    if (m_bridges.size() >= mostBridges) {
        if (calledFromDBus())
            sendErrorReply(QDBusError::LimitsExceeded,
                QStringLiteral("%1 bridges are attached already").arg(mostBridges));
        return 0;
    }
    const bool wasUsed = isUsed();
    const uint number = ++m_lastNumber;
    const QString client = calledFromDBus() ? message().service() : QString();
    if (calledFromDBus() && !hasBridgeOf(client))
        watch(client);
    auto& bridge
        = *(m_bridges[number] = std::make_unique<AttachedBridge>(number, client, hostName(host), look));
    m_lastUsed = number;
    connect(&bridge.stand(), &BridgeStand::changed, this, [this, &bridge](const BridgeStand::Change& change) {
        if (!bridge.isReading()) {
            // What hangs shows no popover either. Not from within its drawing.
            QMetaObject::invokeMethod(
                &bridge.stand(), [this, &bridge] { m_popovers.leave(bridge.stand()); }, Qt::QueuedConnection);
            return;
        }
        send(bridge, "Popover",
            { bridge.number(), rawValue(m_popovers.section().value_or(MonitorSection::cpu)), change.text,
                change.focus, change.size.width(), change.size.height(), QVariant::fromValue(change.bands) });
    });
    connect(&bridge.stand(), &BridgeStand::hidden, this,
        [this, &bridge] { send(bridge, "PopoverClosed", { bridge.number() }); });
    connect(&bridge.stand(), &BridgeStand::copied, this, [this, &bridge](const QString& text) {
        send(bridge, "Copied", { bridge.number(), text });
    });
    Log::info("agent", QStringLiteral("the items are shown by %1").arg(Log::escaped(bridge.host())));
    Q_EMIT attached(bridge.host());
    if (!wasUsed)
        Q_EMIT usedChanged();
    // Not from within the call: the caller learns its number from the answer.
    const auto begin = [this, number] {
        if (AttachedBridge* answered = find(number))
            answered->setKnowsNumber();
        sendItems();
    };
    QMetaObject::invokeMethod(this, begin, Qt::QueuedConnection);
    return number;
}

/// Hears when the client leaves the bus. Each client has a match of its own, so that all the other programs that join and leave
/// do not wake the agent. The sender is left empty, because the toolkit would wait for the bus to tell the owner of a name: a
/// forged message can only detach a bridge.
void PanelService::watch(const QString& client)
{
    QDBusConnection(panelConnection)
        .connect(QString(), busPath, busService, QStringLiteral("NameOwnerChanged"), { client }, QString(),
            this, SLOT(clientLeft(QString, QString, QString)));
    // It may have left before the bus knew of the match.
    QDBusMessage question
        = QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("NameHasOwner"));
    question << client;
    DesktopBus::call(panelConnection, question, this, [this, client](const QDBusPendingReply<bool>& reply) {
        if (!reply.isError() && !reply.value())
            clientLeft(client, {}, {});
    });
}

void PanelService::Look(uint number, const QVariantMap& look)
{
    if (AttachedBridge* bridge = own(number)) {
        bridge->setLook(look);
        sendItems();
    }
}

void PanelService::Detach(uint number)
{
    const AttachedBridge* bridge = own(number);
    if (!bridge)
        return;
    const QString host = bridge->host();
    drop(number);
    if (std::none_of(m_bridges.begin(), m_bridges.end(),
            [&host](const auto& entry) { return entry.second->host() == host; }))
        Q_EMIT detached(host);
}

void PanelService::drop(uint number)
{
    const auto found = m_bridges.find(number);
    if (found == m_bridges.end())
        return;
    m_popovers.leave(found->second->stand());
    const QString client = found->second->client();
    m_bridges.erase(found);
    if (!hasBridgeOf(client))
        QDBusConnection(panelConnection)
            .disconnect(QString(), busPath, busService, QStringLiteral("NameOwnerChanged"), { client },
                QString(), this, SLOT(clientLeft(QString, QString, QString)));
    if (m_lastUsed == number)
        m_lastUsed = m_bridges.empty() ? 0 : m_bridges.rbegin()->first;
    if (m_bridges.empty())
        Q_EMIT usedChanged();
}

void PanelService::clientLeft(const QString& client, const QString&, const QString& now)
{
    if (!now.isEmpty())
        return;
    QList<uint> gone;
    for (const auto& [number, bridge] : m_bridges) {
        if (bridge->client() == client)
            gone.append(number);
    }
    for (const uint number : gone)
        drop(number);
}

void PanelService::sendItems()
{
    for (const auto& [number, bridge] : m_bridges) {
        if (!bridge->knowsNumber() || !bridge->isReading())
            continue;
        if (const auto news = bridge->news(m_strip))
            send(*bridge, "Items", { number, QVariant::fromValue(*news) });
    }
}

void PanelService::send(AttachedBridge& bridge, const char* signal, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createTargetedSignal(
        bridge.client(), PanelContract::path, PanelContract::interface, QString::fromLatin1(signal));
    message.setArguments(arguments);
    QDBusConnection(panelConnection).send(message);
    if (bridge.noteSent())
        askForSign(bridge);
}

/// Every client of the bus answers this question by itself as soon as it reads, if only by an error.
void PanelService::askForSign(const AttachedBridge& bridge)
{
    const QDBusMessage question = QDBusMessage::createMethodCall(bridge.client(), QStringLiteral("/"),
        QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    const auto answered = [this, number = bridge.number()](const QDBusPendingCall&) {
        AttachedBridge* reading = find(number);
        if (!reading)
            return;
        const bool hasMissedItems = !reading->isReading();
        reading->noteAnswer();
        if (hasMissedItems)
            sendItems();
    };
    DesktopBus::call(panelConnection, question, this, answered, noLimit);
}

void PanelService::OpenPopover(uint number, const QString& item, const QVariantMap& look)
{
    AttachedBridge* bridge = own(number);
    const auto section = fromRawValue<MonitorSection>(item);
    if (!bridge || !section)
        return;
    m_lastUsed = number;
    PanelLook popoverLook = bridge->look();
    popoverLook.adopt(look);
    bridge->stand().setLook(popoverLook);
    if (m_strip.items().item(*section))
        m_popovers.open(*section, bridge->stand());
    else
        send(*bridge, "PopoverClosed", { number });
}

void PanelService::ClosePopover(uint number)
{
    if (AttachedBridge* bridge = own(number))
        m_popovers.leave(bridge->stand());
}

void PanelService::Pointer(uint number, const QString& kind, double x, double y, double notches)
{
    act(number, [&](BridgeStand& stand) { stand.point(kind, QPointF(x, y), notches); });
}

void PanelService::Key(uint number, const QString& key)
{
    act(number, [&](BridgeStand& stand) { stand.pressKey(key); });
}

/// What follows from the act within it is the user's wish at this bridge.
void PanelService::act(uint number, const std::function<void(BridgeStand&)>& act)
{
    AttachedBridge* bridge = own(number);
    if (!bridge)
        return;
    m_acting = number;
    act(bridge->stand());
    m_acting = 0;
}

bool PanelService::requestChoice(const QString& action)
{
    const auto found = m_bridges.find(m_acting);
    if (found == m_bridges.end())
        return false;
    m_requested = action;
    m_requestWait.start();
    send(*found->second, "ChoiceRequested", { found->first, action, QString() });
    return true;
}

void PanelService::ShowPopover(uint number, const QString& item, const QRect& place, const QString& token)
{
    const auto section = fromRawValue<MonitorSection>(item);
    if (own(number) && section)
        Q_EMIT popoverWanted(*section, place, usableToken(token));
}

bool PanelService::requestPopover(MonitorSection section)
{
    AttachedBridge* bridge = find(m_lastUsed);
    if (!bridge)
        return false;
    if (!m_strip.items().item(section))
        return true;
    send(*bridge, "PopoverRequested", { bridge->number(), rawValue(section) });
    return true;
}

} // namespace kestrum
