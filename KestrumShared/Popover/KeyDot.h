// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Popover/PixelGrid.h"

#include <QPainter>

namespace kestrum {

/// The coloured dot before the title of a row: the key to a graph.
struct KeyDot {
    static constexpr double size = 7;
    static constexpr double spacing = 6; ///< between the dot and the title
    QColor colour;

    /// Draws the dot, `distance` from the leading edge and vertically centred.
    void draw(
        QPainter& painter, const QRectF& rect, double distance, const PanelEnvironment& environment) const
    {
        constexpr double radius = 1;
        QRectF dot = environment.fromLeading(rect, distance, size);
        dot.setTop(rect.center().y() - size / 2);
        dot.setHeight(size);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.drawRoundedRect(PixelGrid::aligned(dot, painter), radius, radius);
    }
};

} // namespace kestrum
