// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelService.h"

#include "KestrumAgent/Bridge/AttachedBridge.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Log.h"

#include <QAction>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QMenu>
#include <algorithm>
#include <paneladaptor.h>

namespace kestrum {

namespace {

constexpr QLatin1StringView panelConnection("kestrum-panel");
constexpr QLatin1StringView busService("org.freedesktop.DBus");
constexpr QLatin1StringView busPath("/org/freedesktop/DBus");
constexpr QLatin1StringView moveLeft("move-left");
constexpr QLatin1StringView moveRight("move-right");
/// The bus's words for a request of a name: do not wait for it; and: it is ours.
constexpr uint doNotQueue = 4;
constexpr uint isPrimaryOwner = 1;

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
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT settled(false); }, Qt::QueuedConnection);
        return;
    }
    DesktopBus::join(address, panelConnection, this, [this](bool isJoined) {
        if (isJoined)
            requestName();
        else
            Q_EMIT settled(false);
    });
}

/// Asks for the name only when the object is there: whoever sees the name may call at once.
void PanelService::requestName()
{
    QDBusConnection bus(panelConnection);
    bus.registerObject(PanelContract::path, this, QDBusConnection::ExportAdaptors);
    // The sender is left empty, because the toolkit would wait for the bus to tell the owner of a name. A forged message can
    // only detach a bridge.
    bus.connect(QString(), busPath, busService, QStringLiteral("NameOwnerChanged"), this,
        SLOT(clientLeft(QString, QString, QString)));
    QDBusMessage request
        = QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("RequestName"));
    request << QString(PanelContract::service) << doNotQueue;
    DesktopBus::call(panelConnection, request, this, [this](const QDBusPendingReply<uint>& reply) {
        const bool isOurs = !reply.isError() && reply.value() == isPrimaryOwner;
        if (!isOurs)
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

/// The caller's bridge with that number. Without one, the caller gets an error.
AttachedBridge* PanelService::own(uint number)
{
    const auto found = m_bridges.find(number);
    if (found != m_bridges.end() && (!calledFromDBus() || found->second->client() == message().service()))
        return found->second.get();
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
    auto& bridge = *(
        m_bridges[number] = std::make_unique<AttachedBridge>(number, client, host.left(longestHost), look));
    m_lastUsed = number;
    connect(&bridge.stand(), &BridgeStand::changed, this, [this, &bridge](const BridgeStand::Change& change) {
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
    QMetaObject::invokeMethod(this, &PanelService::sendItems, Qt::QueuedConnection);
    return number;
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
    if (!own(number))
        return;
    drop(number);
    if (!isUsed())
        Q_EMIT detached();
}

void PanelService::drop(uint number)
{
    const auto found = m_bridges.find(number);
    if (found == m_bridges.end())
        return;
    m_popovers.leave(found->second->stand());
    m_bridges.erase(found);
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
        if (const auto news = bridge->news(m_strip))
            send(*bridge, "Items", { number, QVariant::fromValue(*news) });
    }
}

void PanelService::send(const AttachedBridge& bridge, const char* signal, const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createTargetedSignal(
        bridge.client(), PanelContract::path, PanelContract::interface, QString::fromLatin1(signal));
    message.setArguments(arguments);
    QDBusConnection(panelConnection).send(message);
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
    m_popovers.open(*section, bridge->stand());
}

void PanelService::ClosePopover(uint number)
{
    if (AttachedBridge* bridge = own(number))
        m_popovers.leave(bridge->stand());
}

void PanelService::Pointer(uint number, const QString& kind, double x, double y, double notches)
{
    if (AttachedBridge* bridge = own(number))
        bridge->stand().point(kind, QPointF(x, y), notches);
}

void PanelService::Key(uint number, const QString& key)
{
    if (AttachedBridge* bridge = own(number))
        bridge->stand().pressKey(key);
}

void PanelService::ShowPopover(uint number, const QString& item, const QRect& place, const QString& token)
{
    const auto section = fromRawValue<MonitorSection>(item);
    if (own(number) && section)
        Q_EMIT popoverWanted(*section, place, token.toUtf8());
}

bool PanelService::requestPopover(MonitorSection section)
{
    const auto found = m_bridges.find(m_lastUsed);
    if (found == m_bridges.end())
        return false;
    send(*found->second, "PopoverRequested", { found->first, rawValue(section) });
    return true;
}

QList<PanelMenuEntry> PanelService::Actions(const QString& item)
{
    QList<PanelMenuEntry> entries;
    const auto section = fromRawValue<MonitorSection>(item);
    const QList<MonitorSection> sections = m_strip.items().sections();
    if (section && sections.contains(*section)) {
        entries.append({ moveLeft, AppLanguage::string("Move Left"), *section != sections.first() });
        entries.append({ moveRight, AppLanguage::string("Move Right"), *section != sections.last() });
        entries.append({ {}, {}, false });
    }
    Q_EMIT m_menu.aboutToShow();
    for (const QAction* action : m_menu.actions()) {
        const bool isSeparator = action->isSeparator();
        entries.append({ isSeparator ? QString() : action->objectName(),
            isSeparator ? QString() : action->text(), !isSeparator && action->isEnabled() });
    }
    return entries;
}

void PanelService::Choose(const QString& action, const QString& item, const QString& token)
{
    if (action == moveLeft || action == moveRight) {
        if (const auto section = fromRawValue<MonitorSection>(item))
            move(*section, action == moveLeft ? -1 : 1);
        return;
    }
    Q_EMIT m_menu.aboutToShow();
    QAction* chosen = m_menu.findChild<QAction*>(action);
    if (action.isEmpty() || !chosen || !chosen->isEnabled())
        return;
    WindowActivation::giveToken(token.toUtf8());
    chosen->trigger();
    WindowActivation::takeToken();
}

void PanelService::move(MonitorSection section, int step)
{
    QList<MonitorSection> sections = m_strip.items().sections();
    const qsizetype from = sections.indexOf(section);
    const qsizetype to = from + step;
    if (from < 0 || to < 0 || to >= sections.size())
        return;
    sections.swapItemsAt(from, to);
    if (MeterSettings::setMenuBarOrder(sections))
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
}

void PanelService::Reorder(const QStringList& items)
{
    const QList<MonitorSection> shown = m_strip.items().sections();
    QList<MonitorSection> sections;
    for (const QString& item : items) {
        if (const auto section = fromRawValue<MonitorSection>(item))
            sections.append(*section);
    }
    if (items.size() != sections.size()
        || !std::is_permutation(sections.begin(), sections.end(), shown.begin(), shown.end())) {
        if (calledFromDBus())
            sendErrorReply(
                QDBusError::InvalidArgs, QStringLiteral("the shown items are needed, each exactly once"));
        return;
    }
    if (MeterSettings::setMenuBarOrder(sections))
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
}

} // namespace kestrum
