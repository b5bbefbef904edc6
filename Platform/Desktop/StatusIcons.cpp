// SPDX-License-Identifier: MIT
#include "Platform/Desktop/StatusIcons.h"

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Desktop/DesktopName.h"
#include "Platform/Log/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace kestrum {

namespace {

constexpr QLatin1StringView iconsConnection("kestrum-status-icons");
constexpr QLatin1StringView listService("org.kde.StatusNotifierWatcher");
constexpr QLatin1StringView listPath("/StatusNotifierWatcher");

} // namespace

StatusIcons::StatusIcons(QObject* parent)
    : QObject(parent)
    , m_address(DesktopBus::address())
{
    connect(&m_return, &BusReturn::expected, this, &StatusIcons::join);
    m_isKnown = m_address.isEmpty();
    if (!m_isKnown)
        join();
}

StatusIcons::~StatusIcons()
{
    DesktopBus::leave(iconsConnection, *this);
}

void StatusIcons::join()
{
    DesktopBus::join(m_address, iconsConnection, this, [this](bool isJoined) {
        if (isJoined)
            follow();
        else
            busLost();
    });
}

void StatusIcons::busLost()
{
    QDBusConnection::disconnectFromBus(iconsConnection);
    adopt(false);
    m_return.wait();
}

void StatusIcons::follow()
{
    m_return.stop();
    DesktopBus::followLoss(iconsConnection, this, SLOT(busLost()));
    QDBusConnection bus(iconsConnection);
    // The service name is left empty: with a name, Qt would block until the bus reports the owner of the service. A
    // forged signal is harmless, because each signal only leads to another call of `ask`.
    const bool isFollowed = bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus"),
                                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"),
                                { listService }, QString(), this, SLOT(ask()))
        && bus.connect(QString(), listPath, listService, QStringLiteral("StatusNotifierHostRegistered"), this,
            SLOT(ask()))
        && bus.connect(QString(), listPath, listService, QStringLiteral("StatusNotifierHostUnregistered"),
            this, SLOT(ask()))
        && bus.connect(QString(), QStringLiteral("/org/xfce/Xfconf"), QStringLiteral("org.xfce.Xfconf"),
            QStringLiteral("PropertyChanged"), { QStringLiteral("xfce4-panel") }, QString(), this,
            SLOT(heardPanelSetting(QString, QString)));
    if (!isFollowed)
        Log::warning("agent",
            QStringLiteral("status icons that come later will not be noticed: %1")
                .arg(Log::escaped(bus.lastError().message())));
    ask();
}

void StatusIcons::ask()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        listService, listPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << listService << QStringLiteral("IsStatusNotifierHostRegistered");
    call.setAutoStartService(false);
    DesktopBus::call(iconsConnection, call, this, [this](const QDBusPendingReply<QDBusVariant>& reply) {
        // An error means that no service holds a list of icons now.
        adopt(!reply.isError() && reply.value().variant().toBool());
    });
}

void StatusIcons::heardPanelSetting(const QString&, const QString& property)
{
    if (property.endsWith(QLatin1StringView("/square-icons")))
        Q_EMIT widthsChanged();
}

void StatusIcons::adopt(bool areShown)
{
    const bool isSame = m_isKnown && m_areShown == areShown;
    m_isKnown = true;
    m_areShown = areShown;
    if (!isSame)
        Q_EMIT changed();
}

bool StatusIcons::areOnBlack()
{
    // GNOME's bar is always black. The panels of GNOME's classic mode follow the colour scheme.
    return isDesktop(QLatin1StringView("gnome")) && !isDesktop(QLatin1StringView("gnome-classic"));
}

} // namespace kestrum
