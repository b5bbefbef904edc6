// SPDX-License-Identifier: MIT
#pragma once

#include <QRect>
#include <QRegion>
#include <QSize>
#include <cmath>

namespace kestrum {

/// The points of a rectangle with round corners. The toolkit's path would become a polygon with few corners.
inline QRegion roundedRegion(QSize size, double radius)
{
    QRegion region(QRect(QPoint(0, 0), size));
    for (int y = 0; y < radius; ++y) {
        const double up = radius - y - 0.5;
        const int cut = int(std::round(radius - std::sqrt(radius * radius - up * up)));
        for (const int row : { y, size.height() - 1 - y }) {
            region -= QRect(0, row, cut, 1);
            region -= QRect(size.width() - cut, row, cut, 1);
        }
    }
    return region;
}

} // namespace kestrum
