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

/// Draws the shapes of meters several times faster than QPainter and with the same look. All coordinates are pixels of the
/// painter's device, y downwards. Between `begin` and `end`, no other code may use the painter.
///
/// Qt's raster engine is slow in making an anti-aliased outline. It is also slow in filling an outline with a translucent
/// colour: for this, it even wakes other threads. So repeated shapes are cached as pictures. The filled curve never repeats
/// and is computed by `FilledCurve`. The engine rounds outlines to 64ths of a pixel. The cached pictures use the same grid,
/// so their pixels equal the engine's, and the number of pictures is limited.
class PixelPainter {
public:
    /// Whether this class can draw with `painter`. The painter must have the raster engine, the default composition mode and
    /// opacity, and the same scale in both directions. It must be neither rotated nor mirrored.
    static bool canServe(const QPainter& painter);

    /// Turns the cache on or off, so that look and speed can be compared. While it is off, QPainter draws the shapes.
    static void setKeepsPictures(bool keeps);

    explicit PixelPainter(QPainter& painter);

    /// Convert the painter's points to device pixels.
    QRectF toDevice(const QRectF& rect) const;
    QPointF toDevice(const QPointF& point) const;
    double scale() const { return m_scale; }

    /// `begin` changes the painter's coordinates to device pixels, `end` changes them back to points.
    void begin();
    void end();

    /// Draws an upright bar with round ends of the given radius; 0 gives a rectangle. The bar must be at least as high as
    /// its two ends.
    void fillColumn(const QRectF& rect, double radius, const QColor& colour);
    /// See `FilledCurve::make`.
    void fillBelow(const QList<QPointF>& line, double bottom, const QColor& colour);

    /// The same for the area between `line` and the y coordinate `top`; no vertex may be above `top`.
    void fillAbove(const QList<QPointF>& line, double top, const QColor& colour);

    /// Draws the picture that is cached under `key` into `rect`. If there is none, calls `draw` to make the picture, with a
    /// painter in points. Adds the scale and the position within a pixel to `key`.
    void drawKept(SpriteKey key, const QRectF& rect, const std::function<void(QPainter&)>& draw);

private:
    void fillPolygon(const QList<QPointF>& line, double base, const QColor& colour);
    static QImage transparent(const QSize& size);

    QPainter& m_painter;
    QTransform m_points;
    QTransform m_device;
    double m_scale;
    bool m_isBegun = false;
};

} // namespace kestrum
