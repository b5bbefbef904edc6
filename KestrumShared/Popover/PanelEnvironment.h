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
    /// The system's font, `size` points high. It is not hinted, so that a small drawing of a panel has the same proportions
    /// as a large one.
    static QFont systemFont(int size, QFont::Weight weight = QFont::Normal);

    ColourScheme scheme = ColourScheme::light;
    Qt::LayoutDirection direction = Qt::LeftToRight;
    PanelMetrics metrics = {};
    QFont font = systemFont(13); ///< font of the texts and symbols that set none of their own

    QColor textColour() const;
    QColor secondaryTextColour() const;
    QColor headerColour() const; ///< colour of a header's symbol and of section titles
    QColor dividerColour() const;

    /// The part of `bounds` that begins `distance` after its leading edge and is `width` wide.
    QRectF fromLeading(const QRectF& bounds, double distance, double width) const;
};

} // namespace kestrum
