// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/SpriteCache.h"

#include <QColor>
#include <QList>
#include <QPainter>
#include <QPointF>
#include <QRectF>
#include <QTransform>
#include <functional>

namespace kestrum {

/// Draws the shapes of meters in the pixels of the painter's device, several times faster than the painter does and
/// with the same look. All coordinates are device pixels, y downwards. Borrows the painter, which is to be used by
/// nobody else between `begin` and `end`.
///
/// Two things are slow in the raster engine: making an anti-aliased outline, and filling it with a translucent colour,
/// for which it even wakes other threads. So shapes that come again are kept as pictures, and the filled curve, which
/// never comes again, is computed here. The engine places outlines on 64ths of a pixel; kept pictures stand on
/// the same grid, so the pixels stay the same and their number has a bound.
class PixelPainter {
public:
    /// Whether the painter draws pixels, upright, in one scale, and with plain blending: all else is left to it.
    static bool canServe(const QPainter& painter);

    /// False lets the painter itself draw the same shapes, so that look and speed can be compared.
    static void setKeepsPictures(bool keeps);

    explicit PixelPainter(QPainter& painter);

    /// From points of the painter to device pixels.
    QRectF toDevice(const QRectF& rect) const;
    QPointF toDevice(const QPointF& point) const;
    double scale() const { return m_scale; }

    /// Makes the painter's coordinates device pixels, and points again.
    void begin();
    void end();

    /// An upright bar with round ends of `radius`, 0 for a plain rectangle; at least as high as its ends.
    void fillColumn(const QRectF& rect, double radius, const QColor& colour);
    /// What lies between a line that runs from left to right and `bottom`, which is nowhere above the line.
    void fillBelow(const QList<QPointF>& line, double bottom, const QColor& colour);

    /// What `draw(QPainter &)` draws within `rect`, kept under `key`, to which scale and place within a pixel are added. The painter
    /// that it gets draws in points, like the one that is borrowed.
    void drawKept(SpriteKey key, const QRectF& rect, const std::function<void(QPainter&)>& draw);

private:
    static QImage transparent(const QSize& size);
    void drawPart(const QImage& sprite, int x, int y, const QRect& part);

    QPainter& m_painter;
    QTransform m_points;
    QTransform m_device;
    double m_scale;
    bool m_isBegun = false;
};

} // namespace kestrum
