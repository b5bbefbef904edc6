// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>

namespace kestrum {

/// The translucent background of a popover: a light or dark tint over the content behind the popover. "Stable" means that
/// the background looks the same in active and inactive windows.
///
/// On Linux desktops, programs cannot blur the content behind their windows, and sharp content makes texts hard to read. So
/// the tint over other windows is much more opaque than the tint within a window of this program.
struct StablePopoverMaterial {
    bool blendsWithinWindow = false;

    /// The tint, opaque enough that the texts of a panel can be read.
    QColor tint(ColourScheme scheme) const
    {
        if (scheme == ColourScheme::dark)
            return QColor::fromRgbF(0.11F, 0.11F, 0.13F, blendsWithinWindow ? 0.60F : 0.90F);
        return QColor::fromRgbF(0.98F, 0.98F, 0.99F, blendsWithinWindow ? 0.75F : 0.96F);
    }
};

} // namespace kestrum
