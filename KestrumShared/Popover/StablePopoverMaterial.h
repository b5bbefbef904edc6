// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>

namespace kestrum {

/// The translucent ground of a popover: a tint, light or dark by the panel's scheme, through which shines what was drawn before. It
/// is the same whether or not its window is active.
///
/// No Linux desktop lends programs a blurred picture of what lies behind their windows. What shines through a popover is sharp, of
/// any colour, and disturbs its texts; so a material that does not blend within a window of ours lets through much less.
struct StablePopoverMaterial {
    bool blendsWithinWindow = false;

    /// The tint, with the opacity at which the texts of a panel can be read.
    QColor tint(ColourScheme scheme) const;
    /// Fills `rect`, with rounded corners.
    void draw(QPainter& painter, const QRectF& rect, double cornerRadius,
        const PanelEnvironment& environment) const;
};

} // namespace kestrum
