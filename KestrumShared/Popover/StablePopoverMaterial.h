// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>

namespace kestrum {

/// The translucent background of a popover: a tint, light or dark by the panel's scheme, over the content behind it.
/// "Stable": it looks the same whether or not its window is active.
///
/// No Linux desktop gives programs a blurred picture of the content behind their windows. The content stays sharp, has any
/// colour, and disturbs the texts; so a material that does not blend within a window of ours lets through much less.
struct StablePopoverMaterial {
    bool blendsWithinWindow = false;

    /// The tint, with the opacity at which the texts of a panel can be read.
    QColor tint(ColourScheme scheme) const;
    /// Fills `rect`, with rounded corners.
    void draw(QPainter& painter, const QRectF& rect, double cornerRadius,
        const PanelEnvironment& environment) const;
};

} // namespace kestrum
