// SPDX-License-Identifier: MIT
#pragma once

#include <QPainter>
#include <QRectF>
#include <QTransform>
#include <algorithm>
#include <cmath>

namespace kestrum {

/// The pixel grid of a painter's device, at any scale.
namespace PixelGrid {

/// Moves the edges of `rect` to the nearest pixel edges. The result is at least one pixel wide and high.
inline QRectF aligned(const QRectF& rect, const QPainter& painter)
{
    const QTransform device = painter.deviceTransform();
    const QRectF pixels = device.mapRect(rect);
    const double left = std::round(pixels.left());
    const double top = std::round(pixels.top());
    return device.inverted().mapRect(QRectF(left, top, std::max(1.0, std::round(pixels.right()) - left),
        std::max(1.0, std::round(pixels.bottom()) - top)));
}

/// Moves `rect` to the nearest pixels, and rounds its size. Unlike `aligned`, rectangles of one size stay of one size.
inline QRectF moved(const QRectF& rect, const QPainter& painter)
{
    const QTransform device = painter.deviceTransform();
    const QRectF pixels = device.mapRect(rect);
    return device.inverted().mapRect(QRectF(std::round(pixels.left()), std::round(pixels.top()),
        std::max(1.0, std::round(pixels.width())), std::max(1.0, std::round(pixels.height()))));
}

} // namespace PixelGrid
} // namespace kestrum
