// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelMetrics.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QFont>
#include <QRectF>

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

    QColor textColour() const;
    QColor secondaryTextColour() const;
    QColor headerColour() const; ///< colour of headers' symbols and of sections' titles
    QColor dividerColour() const;

    /// The part of `bounds` that is `width` wide and begins at `distance` from the leading edge.
    QRectF fromLeading(const QRectF& bounds, double distance, double width) const;
};

} // namespace kestrum
