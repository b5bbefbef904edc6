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

    /// The colour of a popover's surface over other windows where it is nearest to what is drawn on it: a translucent surface
    /// lies over black in the light scheme and over white in the dark scheme.
    static QColor ground(PopoverBackground background, ColourScheme scheme);

    void draw(QPainter& painter, const QRectF& rect, double cornerRadius,
        const PanelEnvironment& environment) const;
};

} // namespace kestrum
