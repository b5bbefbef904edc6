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

/// Draws the shapes of meters in the pixels of the painter's device, several times faster than the painter and with the same
/// look. All coordinates are device pixels, y downwards. Between `begin` and `end`, nothing else may use the painter.
///
/// Two things are slow in Qt's raster engine: making an anti-aliased outline, and filling it with a translucent colour, for
/// which the engine even wakes other threads. So repeated shapes are cached as pictures. The filled curve, which never
/// repeats, is computed here. The engine places outlines on 64ths of a pixel. The cached pictures use the same grid, so that
/// the pixels are the same as the engine's and the number of pictures is limited.
class PixelPainter {
public:
    /// Whether this class can be used: the painter's engine must be the raster engine, and its coordinates must not be
    /// rotated or mirrored, with one scale for both directions. Composition mode and opacity must be the defaults.
    static bool canServe(const QPainter& painter);

    /// False turns the cache off: the painter itself then draws the shapes, so that look and speed can be compared.
    static void setKeepsPictures(bool keeps);

    explicit PixelPainter(QPainter& painter);

    /// Convert the painter's points to device pixels.
    QRectF toDevice(const QRectF& rect) const;
    QPointF toDevice(const QPointF& point) const;
    double scale() const { return m_scale; }

    /// `begin` changes the painter's coordinates to device pixels, `end` changes them back to points.
    void begin();
    void end();

    /// Draws an upright bar with round ends of the given radius, 0 for a plain rectangle. The bar must be at least as high
    /// as its ends.
    void fillColumn(const QRectF& rect, double radius, const QColor& colour);
    /// Fills the area below `line` down to the height `bottom`. `line` has at least two vertices, ordered from left to right;
    /// none of them is below `bottom`.
    void fillBelow(const QList<QPointF>& line, double bottom, const QColor& colour);

    /// Draws the picture that is cached under `key`, within `rect`. If there is none, `draw` draws it, with a painter whose
    /// coordinates are points. The scale and the position within a pixel are added to `key`.
    void drawKept(SpriteKey key, const QRectF& rect, const std::function<void(QPainter&)>& draw);

private:
    static QImage transparent(const QSize& size);

    QPainter& m_painter;
    QTransform m_points;
    QTransform m_device;
    double m_scale;
    bool m_isBegun = false;
};

} // namespace kestrum
