// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/SystemAppearance.h"

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <QTransform>

namespace kestrum {

/// What lies under the items of a strip: the plate that stands for a panel, and the backdrop of the item under the
/// pointer.
namespace StripBackground {

QColor plate(ColourScheme scheme);
QColor backdrop(ColourScheme scheme);

/// The nearest place to `x` at which a device pixel begins: what is drawn there looks as sharp as at 0.
double onPixel(double x, const QTransform& device);
/// `rect` with its left and right edges on pixels.
QRectF onPixels(QRectF rect, const QTransform& device);

/// Draws the backdrop on `ground`, the item's own with what belongs to it at its sides.
void drawBackdrop(QPainter& painter, const QRectF& ground, ColourScheme scheme);
/// The same for an item that is lifted off: with a piece of plate below the backdrop, and around it a shadow that reaches 2
/// points to the sides and 3 downwards.
void drawLifted(QPainter& painter, const QRectF& ground, ColourScheme scheme);

/// Of a backdrop, and of whatever is drawn around one.
inline constexpr double backdropRadius = 6;

} // namespace StripBackground
} // namespace kestrum
