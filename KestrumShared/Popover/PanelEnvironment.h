// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelMetrics.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QFont>
#include <QRectF>
#include <optional>

namespace kestrum {

/// Colours, fonts and spacing that all parts of a panel share.
struct PanelEnvironment {
    /// The system's font in the size of `size` points, without hinting: hinting would change the proportions in small
    /// drawings of a panel.
    static QFont systemFont(int size, QFont::Weight weight = QFont::Normal);

    ColourScheme scheme = ColourScheme::light;
    Qt::LayoutDirection direction = Qt::LeftToRight;
    PanelMetrics metrics = {};
    QFont font = systemFont(13); ///< font of the parts that set no other font
    PopoverBackground background = PopoverBackground::translucent; ///< what the parts stand on
    /// Where the pointer is, in the coordinates of the parts. Graphs and bars then show the value at this point.
    std::optional<QPointF> pointer = std::nullopt;

    QColor textColour() const;
    QColor secondaryTextColour() const;
    QColor headerColour() const; ///< colour of headers' symbols and of sections' titles
    QColor dividerColour() const;

    /// The colour under the parts where it differs least from them: translucent backgrounds lie over black in the light
    /// scheme and over white in the dark scheme.
    QColor ground() const;
    /// `colour`, darker in the light scheme or lighter in the dark scheme, as little as necessary to have the contrast
    /// ratio `least` to `ground`. Use 3 for shapes and 4.5 for texts.
    QColor readable(const QColor& colour, double least = 3) const;

    /// The part of `bounds` that is `width` wide and begins at `distance` from the leading edge.
    QRectF fromLeading(const QRectF& bounds, double distance, double width) const;
};

} // namespace kestrum
