// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QTransform>

namespace kestrum {

/// The backgrounds of a strip: the plate, which looks like a panel, and the backdrop, which marks the item under the
/// pointer.
namespace StripBackground {

QColor plate(ColourScheme scheme);
QColor backdrop(ColourScheme scheme);

/// `x` moved to the nearest edge of a device pixel, so that a drawing there is as sharp as at 0.
double onPixel(double x, const QTransform& device);
/// `rect` with its left and right edges moved to edges of pixels.
QRectF onPixels(QRectF rect, const QTransform& device);

/// Draws a backdrop that fills `ground`, the area of an item's backdrop.
void drawBackdrop(QPainter& painter, const QRectF& ground, ColourScheme scheme);
/// Draws the background of an item that is being dragged: a shadow, a piece of the plate, and the backdrop. The shadow
/// reaches 2 points to the sides and 3 downwards.
void drawLifted(QPainter& painter, const QRectF& ground, ColourScheme scheme);

/// Corner radius of a backdrop, in points.
inline constexpr double backdropRadius = 6;

} // namespace StripBackground
} // namespace kestrum
