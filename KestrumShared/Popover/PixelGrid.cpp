// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PixelGrid.h"

#include <QTransform>
#include <algorithm>
#include <cmath>

namespace kestrum {

QRectF PixelGrid::aligned(const QRectF& rect, const QPainter& painter)
{
    const QTransform device = painter.deviceTransform();
    const QRectF pixels = device.mapRect(rect);
    const double left = std::round(pixels.left());
    const double top = std::round(pixels.top());
    const QRectF whole(left, top, std::max(1.0, std::round(pixels.right()) - left),
        std::max(1.0, std::round(pixels.bottom()) - top));
    return device.inverted().mapRect(whole);
}

} // namespace kestrum
