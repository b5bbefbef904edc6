// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelMetrics.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QFont>
#include <QPainter>
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
    QColor trackColour() const; ///< below graphs and cores, and below what can be pressed at the pointer

    /// The colour under the parts where it differs least from them: translucent backgrounds lie over black in the light
    /// scheme and over white in the dark scheme.
    QColor ground() const;
    /// `colour`, darker in the light scheme or lighter in the dark scheme, as little as necessary to have the contrast
    /// ratio `least` to `ground`; black or white where no colour has it. Use 3 for shapes and 4.5 for texts.
    QColor readable(const QColor& colour, double least = 3) const;

    /// Whether the pointer is in `rect`.
    bool isPointed(const QRectF& rect) const { return pointer && rect.contains(*pointer); }
    /// The rectangle around an element that can be pressed: a press, the pointer's plate and the keyboard's ring are there.
    /// It is larger than a row, and the element itself where that is a button with room around its symbol.
    static QRectF plate(const QRectF& element);
    static constexpr double plateRadius = 5;
    /// Draws the plate below an element that can be pressed, while the pointer is on it.
    void drawPlate(QPainter& painter, const QRectF& element) const;

    /// The part of `bounds` that is `width` wide and begins at `distance` from the leading edge.
    QRectF fromLeading(const QRectF& bounds, double distance, double width) const;
};

} // namespace kestrum
