// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/MonospacedDigits.h"
#include "KestrumShared/Raster/PixelPainter.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QLatin1StringView>
#include <QPainter>
#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// A painter whose origin is at the bottom left, with y upwards. All sizes are in points. Only this class converts to the
/// coordinates of the given painter, whose state is restored at the end. If possible, `PixelPainter` draws the shapes of
/// meters, with the same look.
class Canvas {
public:
    /// Begins a drawing of `size` points whose top left corner is at `topLeft` in the painter's coordinates.
    Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    /// The x and y of a rectangle are the coordinates of its bottom left corner.
    void fillRect(const QRectF& rect, const QColor& colour);
    void fillRoundedRect(const QRectF& rect, double radius, const QColor& colour);
    void strokeRoundedRect(const QRectF& rect, double radius, double lineWidth, const QColor& colour);
    /// Fills the area below `line` down to the height `bottom`. `line` must have at least two vertices, from left to right;
    /// no vertex may be below `bottom`.
    void fillBelow(const QPolygonF& line, double bottom, const QColor& colour);
    /// Draws letters below each other, the first on top. The column is vertically centred on a line box whose bottom left
    /// corner is at `origin`. `distance` is the distance between two base lines; it is rounded to whole pixels. `shrink`
    /// scales the font, because Qt's pixel sizes are integers.
    void drawColumn(const QPointF& origin, QLatin1StringView letters, double distance, const QFont& font,
        const QColor& colour, double shrink);
    /// Draws `text`. The bottom left corner of the text's line box is at `origin`.
    void drawText(
        const QPointF& origin, const QString& text, const MonospacedDigits& font, const QColor& colour);
    /// Draws `image` in its size in points, with the bottom left corner at `origin`.
    void drawImage(const QPointF& origin, const QImage& image);
    /// Calls `draw`, which must draw within `rect`. If the result is cached under `key`, later calls with this key draw the
    /// cached picture instead.
    void drawKept(const SpriteKey& key, const QRectF& rect, const std::function<void(Canvas&)>& draw);

private:
    enum class Painting { automatic, plain };
    Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size, Painting painting);
    PixelPainter& inPixels();
    QPainter& inPoints();
    double turned(double y) const { return m_size.height() - y; }
    QRectF turned(const QRectF& rect) const;

    QPainter& m_painter;
    QSizeF m_size;
    std::optional<PixelPainter> m_pixels;
};

} // namespace kestrum
