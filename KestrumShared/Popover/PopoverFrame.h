// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QMarginsF>
#include <QPainter>
#include <QRectF>

namespace kestrum {

/// A popover without its content: the surface, a rim inside its edge, and around it a soft shadow.
struct PopoverFrame {
    static constexpr double radius = 12;   ///< of the corners
    static constexpr double lowerEdge = 3; ///< room below the last section

    /// Only a translucent window can have a shadow.
    bool hasShadow = false;

    /// The room around the popover that the shadow takes; nothing without a shadow.
    QMarginsF margins() const;

    /// Draws the frame of a popover that covers `rect`. Its shadow lies outside of `rect`; its background is that of
    /// `environment`.
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;

    /// Draws the ring around the element that has the keyboard's focus.
    static void drawFocusRing(QPainter& painter, const QRectF& element, const PanelEnvironment& environment);
};

} // namespace kestrum
