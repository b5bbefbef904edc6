// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"

#include <QPainter>
#include <optional>

namespace kestrum {

/// The background of a popover, opaque or translucent.
struct PopoverSurface {
    /// Without a value, the stored setting is used. `draw` reads the setting each time.
    std::optional<PopoverBackground> background = std::nullopt;
    /// Whether the content behind the popover belongs to the same window.
    bool blendsWithinWindow = false;

    void draw(QPainter& painter, const QRectF& rect, double cornerRadius,
        const PanelEnvironment& environment) const;
};

} // namespace kestrum
