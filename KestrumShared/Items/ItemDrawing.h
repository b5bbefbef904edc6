// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"
#include "KestrumShared/Items/MenuBarReadings.h"
#include "KestrumShared/Raster/Canvas.h"
#include "Platform/Desktop/SystemAppearance.h"

namespace kestrum {

/// One drawing of one item: what it draws on, what it shows, and the shapes that all items are made of. Everything here outlives
/// it.
struct ItemDrawing {
    Canvas& canvas;
    const MenuBarReadings& readings;
    const Appearance& appearance;
    ColourScheme scheme;
    double scale; ///< pixels per point

    /// The frame of a meter, with its corner radius for either shape.
    void strokeFrame(const QRectF& rect, double squareRadius, double pillRadius);
    /// A part of a meter that tells a value; a pill has round ends.
    void fill(const QRectF& rect, const QColor& colour);
    /// A narrow meter that fills from the bottom.
    void gauge(const QRectF& frame, double fraction, const UnregisteredKey<MeterAccent>& accent);
    /// A section's symbol; nothing where there is no drawing of it.
    void symbol(MonitorSection section, const QPointF& bottomLeft);
};

/// The meter of an item with the settings of one moment: its room in points, and how it is drawn into that. An item
/// without a meter has an empty one.
struct ItemMeter {
    double width = 0;
    double bottom = 0;
    double height = 0;
    void (*draw)(ItemDrawing& drawing, const QRectF& frame) = nullptr;
    double overhang = 0; ///< room kept beside it
};

} // namespace kestrum
