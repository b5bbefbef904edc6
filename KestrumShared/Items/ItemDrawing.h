// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/ItemInk.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Raster/Canvas.h"
#include "Platform/Desktop/SystemAppearance.h"

namespace kestrum {

/// The context of one drawing of an item, with functions for the shapes that all items use. The referenced objects must
/// outlive the context.
struct ItemDrawing {
    Canvas& canvas;
    const MenuBarReadings& readings;
    const Appearance& appearance;
    ItemInk ink;
    double scale; ///< pixels per point

    /// Draws the frame of a meter. The chosen meter shape selects one of the two corner radii.
    void strokeFrame(const QRectF& rect, double squareRadius, double pillRadius);
    /// Fills the part of a meter that shows a value, with round ends if the meter shape is a pill.
    void fill(const QRectF& rect, const QColor& colour);
    /// Draws a narrow meter that is filled from the bottom. `fraction` is 0…1.
    void gauge(const QRectF& frame, double fraction, const UnregisteredKey<MeterAccent>& accent);
    /// Draws a section's symbol; draws nothing if the symbol has no picture.
    void symbol(MonitorSection section, const QPointF& bottomLeft);
};

/// The meter of an item: its size and vertical position in points, and the function that draws it. `draw` is null for an
/// item without a meter.
struct ItemMeter {
    double width = 0;
    double bottom = 0;
    double height = 0;
    void (*draw)(ItemDrawing& drawing, const QRectF& frame) = nullptr;
    double overhang = 0; ///< extra width that is reserved to the right of the meter
};

} // namespace kestrum
