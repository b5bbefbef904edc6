// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/DayDesk.h"
#include "tests/Support/Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace kestrum::DayItems {

inline QString placed(const QString& item, double x, double width)
{
    return text("%1 at %2, %3 wide").arg(item).arg(x, 0, 'f', 2).arg(width, 0, 'f', 2);
}

/// The items that the bridge displays, with their places. Empty without a bridge.
inline QStringList displayed(const DayDesk& desk)
{
    QStringList items;
    if (const BridgeClient* bridge = desk.bridge()) {
        for (const PanelItem& item : bridge->items)
            items.append(placed(item.id, item.x, item.width));
    }
    return items;
}

/// The items that a program displays that reads the settings now.
inline QStringList described(const DayDesk& desk)
{
    QStringList items;
    const auto strip = QJsonDocument::fromJson(desk.kestrumctl(words("describe"))).object();
    for (const QJsonValue item : strip[text("items")].toArray()) {
        if (item[text("shown")].toBool())
            items.append(placed(item[text("section")].toString(), item[text("x")].toDouble(),
                item[text("width")].toDouble()));
    }
    return items;
}

/// The bridge's items with the sizes of their pictures, but without the readings.
inline QStringList outlines(const DayDesk& desk)
{
    QStringList items;
    for (const PanelItem& item : desk.bridge()->items)
        items.append(
            text("%1 %2 %3x%4").arg(item.id).arg(item.width).arg(item.pixelWidth).arg(item.pixelHeight));
    return items;
}

} // namespace kestrum::DayItems
