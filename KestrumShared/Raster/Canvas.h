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

/// A painter for a drawing whose origin is at the bottom left, y upwards: the only place of the drawing that turns
/// coordinates over. Sizes are points. Borrows the painter, whose state it leaves as it found it. On pixels it draws
/// the shapes of meters by `PixelPainter`, with the same look.
class Canvas {
public:
    /// A drawing of `size` points whose top left corner stands at `topLeft` of the painter's coordinates.
    Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    QRectF bounds() const { return QRectF(QPointF(0, 0), m_size); }

    /// Rectangles are given by their bottom left corner and size.
    void fillRect(const QRectF& rect, const QColor& colour);
    void fillRoundedRect(const QRectF& rect, double radius, const QColor& colour);
    void strokeRoundedRect(const QRectF& rect, double radius, double lineWidth, const QColor& colour);
    /// What lies between a line that runs from left to right and the height `bottom`, which is nowhere above the line.
    void fillBelow(const QPolygonF& line, double bottom, const QColor& colour);
    /// Single letters, the first on top, around the line box that has its bottom left corner at `origin`. Their base lines
    /// are as many whole pixels apart as come nearest to `distance`. `shrink` makes the font's size, which is whole pixels
    /// in Qt, any size.
    void drawColumn(const QPointF& origin, QLatin1StringView letters, double distance, const QFont& font,
        const QColor& colour, double shrink);
    /// The text's line box has its bottom left corner at `origin`.
    void drawText(
        const QPointF& origin, const QString& text, const MonospacedDigits& font, const QColor& colour);
    /// The image, of its own size in points, with its bottom left corner at `origin`.
    void drawImage(const QPointF& origin, const QImage& image);
    /// What `draw` draws within `rect`; the same drawing may be kept as a picture under `key`.
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
