// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QString>

namespace kestrum {

/// An item as a bridge gets it; see KestrumAgent/Bridge/com.orvale.kestrum.Panel1.xml.
struct PanelItem {
    QString id;
    double x = 0;
    double width = 0;
    QString text;
    int pixelWidth = 0;
    int pixelHeight = 0;
    QByteArray pixels; ///< empty if the picture is as before
};

/// Some rows of a popover's picture.
struct PanelBand {
    int top = 0;
    int rows = 0;
    QByteArray pixels;
};

/// An entry of the menu for an item. A separator has no id.
struct PanelMenuEntry {
    QString id;
    QString title;
    bool isEnabled = true;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PanelItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, PanelItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const PanelBand& band);
const QDBusArgument& operator>>(const QDBusArgument& argument, PanelBand& band);
QDBusArgument& operator<<(QDBusArgument& argument, const PanelMenuEntry& entry);
const QDBusArgument& operator>>(const QDBusArgument& argument, PanelMenuEntry& entry);

/// Where the agent stands on the session bus.
namespace PanelContract {

inline constexpr QLatin1StringView service("com.orvale.kestrum.Agent");
inline constexpr QLatin1StringView path("/com/orvale/kestrum/Panel");
inline constexpr QLatin1StringView interface("com.orvale.kestrum.Panel1");
inline constexpr quint32 version = 2;

/// What shows the items while no bridge is attached, as `ShownBy` tells it.
inline constexpr QLatin1StringView nothing("nothing");
inline constexpr QLatin1StringView notificationArea("notification-area");
inline constexpr QLatin1StringView statusIcon("status-icon");
inline constexpr QLatin1StringView strip("strip");

/// The host of the bridge that writes files. It comes by a command and not with the desktop.
inline constexpr QLatin1StringView filesHost("files");

/// Makes the types above known to the bus library. Must be called before they are sent or received.
void registerTypes();

} // namespace PanelContract
} // namespace kestrum

Q_DECLARE_METATYPE(kestrum::PanelItem)
Q_DECLARE_METATYPE(kestrum::PanelBand)
Q_DECLARE_METATYPE(kestrum::PanelMenuEntry)
