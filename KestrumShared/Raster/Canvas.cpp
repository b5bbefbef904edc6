// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/Canvas.h"

#include <QFontMetricsF>
#include <cmath>

namespace kestrum {
namespace {

// In points. Pictures of wider shapes are not cached, because such shapes are seldom drawn twice with the same length.
constexpr double widestColumn = 16;

} // namespace

Canvas::Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size)
    : Canvas(painter, topLeft, size, Painting::automatic)
{
}

Canvas::Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size, Painting painting)
    : m_painter(painter)
    , m_size(size)
{
    m_painter.save();
    m_painter.translate(topLeft);
    m_painter.setRenderHints(
        QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    if (painting == Painting::automatic && PixelPainter::canServe(m_painter))
        m_pixels.emplace(m_painter);
}

Canvas::~Canvas()
{
    m_painter.restore();
}

QRectF Canvas::turned(const QRectF& rect) const
{
    return QRectF(rect.left(), turned(rect.bottom()), rect.width(), rect.height());
}

PixelPainter& Canvas::inPixels()
{
    m_pixels->begin();
    return *m_pixels;
}

QPainter& Canvas::inPoints()
{
    if (m_pixels)
        m_pixels->end();
    return m_painter;
}

void Canvas::fillRect(const QRectF& rect, const QColor& colour)
{
    if (m_pixels && rect.width() < widestColumn)
        inPixels().fillColumn(m_pixels->toDevice(turned(rect)), 0, colour);
    else
        inPoints().fillRect(turned(rect), colour);
}

void Canvas::fillRoundedRect(const QRectF& rect, double radius, const QColor& colour)
{
    if (m_pixels && rect.width() < widestColumn) {
        inPixels().fillColumn(m_pixels->toDevice(turned(rect)), radius * m_pixels->scale(), colour);
        return;
    }
    QPainter& painter = inPoints();
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(turned(rect), radius, radius);
}

void Canvas::strokeRoundedRect(const QRectF& rect, double radius, double lineWidth, const QColor& colour)
{
    const auto thousandths = [](double points) { return int(std::lround(points * 1000)); };
    const SpriteKey key { SpriteKey::Kind::frame, colour.rgba(),
        { thousandths(rect.width()), thousandths(rect.height()), thousandths(radius),
            thousandths(lineWidth) } };
    // A margin of half the line's width would be too small, because the painter draws lines slightly wider than requested.
    const QMarginsF reach(lineWidth, lineWidth, lineWidth, lineWidth);
    drawKept(key, rect.marginsAdded(reach), [&](Canvas& canvas) {
        canvas.m_painter.setPen(QPen(colour, lineWidth));
        canvas.m_painter.setBrush(Qt::NoBrush);
        canvas.m_painter.drawRoundedRect(canvas.turned(rect), radius, radius);
    });
}

void Canvas::fillBelow(const QPolygonF& line, double bottom, const QColor& colour)
{
    QPolygonF outline;
    outline.reserve(line.size() + 2);
    for (const QPointF& point : line)
        outline.append(QPointF(point.x(), turned(point.y())));
    if (m_pixels) {
        for (QPointF& point : outline)
            point = m_pixels->toDevice(point);
        inPixels().fillBelow(outline, m_pixels->toDevice(QPointF(0, turned(bottom))).y(), colour);
        return;
    }
    outline.append(QPointF(outline.last().x(), turned(bottom)));
    outline.append(QPointF(outline.first().x(), turned(bottom)));
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(colour);
    m_painter.drawPolygon(outline);
}

void Canvas::drawColumn(const QPointF& origin, QLatin1StringView letters, double distance, const QFont& font,
    const QColor& colour, double shrink)
{
    QPainter& painter = inPoints();
    painter.setFont(font);
    painter.setPen(colour);
    // The painter does not align the base lines of scaled texts with whole pixels. They are aligned here, because otherwise
    // letters of this size cannot be read. The distance is rounded too, so that all letters are equally far apart.
    const QTransform device = painter.deviceTransform();
    const bool hasPixels = device.type() <= QTransform::TxScale;
    if (hasPixels)
        distance = std::round(distance * device.m22()) / device.m22();
    double baseLine = turned(origin.y()) - QFontMetricsF(font).descent() * shrink
        - double(letters.size() - 1) / 2 * distance;
    if (hasPixels)
        baseLine = (std::round(baseLine * device.m22() + device.dy()) - device.dy()) / device.m22();
    for (const char letter : letters) {
        painter.save();
        painter.translate(origin.x(), baseLine);
        painter.scale(shrink, shrink);
        painter.drawText(QPointF(0, 0), QString(QLatin1Char(letter)));
        painter.restore();
        baseLine += distance;
    }
}

void Canvas::drawText(
    const QPointF& origin, const QString& text, const MonospacedDigits& font, const QColor& colour)
{
    font.draw(inPoints(), QPointF(origin.x(), turned(origin.y()) - font.descent()), text, colour);
}

void Canvas::drawImage(const QPointF& origin, const QImage& image)
{
    const double heightInPoints = image.height() / image.devicePixelRatio();
    inPoints().drawImage(QPointF(origin.x(), turned(origin.y()) - heightInPoints), image);
}

void Canvas::drawKept(const SpriteKey& key, const QRectF& rect, const std::function<void(Canvas&)>& draw)
{
    if (!m_pixels) {
        draw(*this);
        return;
    }
    inPixels().drawKept(key, m_pixels->toDevice(turned(rect)), [&](QPainter& painter) {
        // The painter's coordinates are already those of this drawing.
        Canvas canvas(painter, QPointF(0, 0), m_size, Painting::plain);
        draw(canvas);
    });
}

} // namespace kestrum
