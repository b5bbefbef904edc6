// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QTransform>

namespace kestrum {

/// The backgrounds in a strip. The plate is the background of all items and looks like a panel. A backdrop marks the item
/// under the pointer.
namespace StripBackground {

QColor plate(ColourScheme scheme);
QColor backdrop(ColourScheme scheme);

/// Moves `x` to the nearest edge of a device pixel, so that a vertical edge at `x` is sharp. `device` converts to pixels.
double onPixel(double x, const QTransform& device);
/// Moves the left and right edges of `rect` to the nearest pixel edges.
QRectF onPixels(QRectF rect, const QTransform& device);

/// Draws the backdrop of an item. `ground` is the backdrop's area, from `StripItems::ground`.
void drawBackdrop(QPainter& painter, const QRectF& ground, ColourScheme scheme);
/// Draws the background of an item that is being dragged: a shadow, a piece of the plate, and the backdrop. The shadow
/// extends 2 points beyond `ground` to the sides and 3 points downwards.
void drawLifted(QPainter& painter, const QRectF& ground, ColourScheme scheme);

/// Corner radius of a backdrop, in points.
inline constexpr double backdropRadius = 6;

} // namespace StripBackground
} // namespace kestrum
