// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <cstdlib>

namespace kestrum {

/// Whether no component of two opaque colours differs by more than `tolerance`.
inline bool isNear(const QColor& one, const QColor& other, int tolerance = 3)
{
    return std::abs(one.red() - other.red()) <= tolerance
        && std::abs(one.green() - other.green()) <= tolerance
        && std::abs(one.blue() - other.blue()) <= tolerance;
}

/// The smallest rectangle around all pixels of `picture` whose colour `isWanted` accepts. Null when there are none.
template <class Judge> QRect areaOf(const QImage& picture, Judge isWanted)
{
    QRect area;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (isWanted(picture.pixelColor(x, y)))
                area |= QRect(x, y, 1, 1);
        }
    }
    return area;
}
/// The smallest rectangle around all pixels of one colour. Null when there are none.
inline QRect areaOf(const QImage& picture, const QColor& colour)
{
    return areaOf(picture, [&colour](const QColor& pixel) { return pixel.rgba() == colour.rgba(); });
}

} // namespace kestrum
