// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QString>

namespace kestrum {

/// A small text of several lines, which explains something, or a command that can be copied.
struct PanelNote {
    QString text;
    double width = 0;       ///< of the lines, in points; the height follows from it
    bool isCommand = false; ///< has letters of one width, and is left-to-right in every language
    PanelAction action = {};
    QString actionTitle = {}; ///< what a press does; stands below the text

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
