// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"

#include <QPainter>
#include <optional>

namespace kestrum {

/// The background of a popover, opaque or translucent.
struct PopoverSurface {
    /// If nothing, the stored setting is used; it is read at each drawing.
    std::optional<PopoverBackground> background = std::nullopt;
    /// Whether the content behind the popover belongs to the same window.
    bool blendsWithinWindow = false;

    void draw(QPainter& painter, const QRectF& rect, double cornerRadius,
        const PanelEnvironment& environment) const;
};

} // namespace kestrum
