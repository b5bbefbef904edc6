// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Popover/PixelGrid.h"

namespace kestrum {

/// The line between a panel's header and its sections, one point high and as wide as the panel.
struct PanelDivider {
    double height(const PanelEnvironment&) const { return 1; }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        painter.fillRect(PixelGrid::aligned(rect, painter), environment.dividerColour());
    }
    bool operator==(const PanelDivider&) const = default;
};

} // namespace kestrum
