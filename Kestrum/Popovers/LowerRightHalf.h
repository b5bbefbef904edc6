// SPDX-License-Identifier: MIT
#pragma once

#include <QPainterPath>
#include <QRectF>

namespace kestrum {

/// The half of a rectangle below the diagonal from the top right to the bottom left corner, also for right-to-left text.
struct LowerRightHalf {
    static QPainterPath path(const QRectF& rect)
    {
        QPainterPath path(rect.topRight());
        path.lineTo(rect.bottomRight());
        path.lineTo(rect.bottomLeft());
        path.closeSubpath();
        return path;
    }
};

} // namespace kestrum
