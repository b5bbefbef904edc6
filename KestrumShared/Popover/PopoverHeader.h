// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>
#include <QString>

namespace kestrum {

/// The first line of a popover: a symbol and a title, and at the trailing end a value, a pin and a gear that can be pressed.
/// With tabs, symbols for all sections stand in place of the section's own symbol.
struct PopoverHeader {
    QString title;
    QString icon;  ///< name of a symbol
    QString value; ///< "49 %"
    bool isPinned = false;
    bool hasPin = true;
    /// Without tabs, the list is empty.
    struct Tab {
        QString title;
        QString icon;
        PanelAction action;
        bool isCurrent = false;
        bool operator==(const Tab&) const = default;
    };
    QList<Tab> tabs = {};

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const PopoverHeader&) const = default;
};

} // namespace kestrum
