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

/// A painter for a drawing whose origin is at the bottom left, with y upwards. Only this class converts to the painter's
/// coordinates. Sizes are points. It uses the given painter and restores its state at the end. On devices with pixels,
/// `PixelPainter` draws the shapes of meters, with the same look.
class Canvas {
public:
    /// Begins a drawing of `size` points whose top left corner is at `topLeft` in the painter's coordinates.
    Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    /// A rectangle's x and y are its bottom left corner.
    void fillRect(const QRectF& rect, const QColor& colour);
    void fillRoundedRect(const QRectF& rect, double radius, const QColor& colour);
    void strokeRoundedRect(const QRectF& rect, double radius, double lineWidth, const QColor& colour);
    /// Fills the area between `line`, which is two points or more from left to right, and the height `bottom`, which is not
    /// above any point of `line`.
    void fillBelow(const QPolygonF& line, double bottom, const QColor& colour);
    /// Draws single letters below each other, the first on top, centred vertically around a line box with its bottom left
    /// corner at `origin`. The distance of their base lines is `distance`, rounded to whole pixels. `shrink` scales the
    /// font, because Qt's font sizes are whole pixels.
    void drawColumn(const QPointF& origin, QLatin1StringView letters, double distance, const QFont& font,
        const QColor& colour, double shrink);
    /// Draws `text` in a line box with its bottom left corner at `origin`.
    void drawText(
        const QPointF& origin, const QString& text, const MonospacedDigits& font, const QColor& colour);
    /// Draws the image, in its own size in points, with its bottom left corner at `origin`.
    void drawImage(const QPointF& origin, const QImage& image);
    /// Calls `draw`, which draws within `rect`. The result may be cached under `key`; later calls with this key then draw
    /// the cached picture.
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
