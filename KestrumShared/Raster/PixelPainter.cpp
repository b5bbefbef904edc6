// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/PixelPainter.h"

#include "KestrumShared/Raster/FilledCurve.h"

#include <QPaintEngine>
#include <QPolygonF>
#include <cmath>

namespace kestrum {
namespace {

constexpr int grid = 64;
// A finer grid for drawings that appear in few places. Such drawings need not share pictures.
constexpr int fineGrid = 1024;

bool keepsPictures = true;

int onGrid(double number, int stepsPerUnit = grid)
{
    return int(std::floor(number * stepsPerUnit + 0.5));
}

int pixelBelow(int steps)
{
    return steps >> 6;
}

int pixelAbove(int steps)
{
    return (steps + grid - 1) >> 6;
}

void drawShape(QPainter& painter, const QRectF& rect, double radius, const QColor& colour)
{
    if (!(radius > 0)) {
        painter.fillRect(rect, colour);
        return;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(rect, radius, radius);
}

} // namespace

bool PixelPainter::canServe(const QPainter& painter)
{
    const QTransform transform = painter.deviceTransform();
    return transform.type() <= QTransform::TxScale && transform.m11() > 0
        && qFuzzyCompare(transform.m11(), transform.m22())
        && painter.compositionMode() == QPainter::CompositionMode_SourceOver && painter.opacity() == 1
        && painter.paintEngine()->type() == QPaintEngine::Raster;
}

void PixelPainter::setKeepsPictures(bool keeps)
{
    keepsPictures = keeps;
}

PixelPainter::PixelPainter(QPainter& painter)
    : m_painter(painter)
    , m_points(painter.worldTransform())
    , m_device(painter.deviceTransform())
    , m_scale(m_device.m11())
{
}

QRectF PixelPainter::toDevice(const QRectF& rect) const
{
    return QRectF(toDevice(rect.topLeft()), rect.size() * m_scale);
}

QPointF PixelPainter::toDevice(const QPointF& point) const
{
    return QPointF(point.x() * m_scale + m_device.dx(), point.y() * m_scale + m_device.dy());
}

void PixelPainter::begin()
{
    if (m_isBegun)
        return;
    m_isBegun = true;
    // The painter adds other transformations to its world transformation: the window's position in its backing store and the
    // device's pixel ratio. The inverse cancels all of them.
    m_painter.setWorldTransform(m_device.inverted() * m_points);
}

void PixelPainter::end()
{
    if (!m_isBegun)
        return;
    m_isBegun = false;
    m_painter.setWorldTransform(m_points);
}

void PixelPainter::drawKept(SpriteKey key, const QRectF& rect, const std::function<void(QPainter&)>& draw)
{
    if (!keepsPictures) {
        end();
        draw(m_painter);
        begin();
        return;
    }
    const QRect pixels = rect.toAlignedRect();
    key.numbers[4] = onGrid(rect.left() - pixels.left(), fineGrid);
    key.numbers[5] = onGrid(rect.top() - pixels.top(), fineGrid);
    key.numbers[6] = onGrid(m_scale, fineGrid);
    const QImage& sprite = SpriteCache::shared().sprite(key, [&] {
        QImage image = transparent(pixels.size());
        QPainter painter(&image);
        painter.setTransform(m_device * QTransform::fromTranslate(-pixels.left(), -pixels.top()));
        painter.setRenderHints(m_painter.renderHints());
        draw(painter);
        return image;
    });
    m_painter.drawImage(QPointF(pixels.topLeft()), sprite);
}

QImage PixelPainter::transparent(const QSize& size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void PixelPainter::fillColumn(const QRectF& rect, double radius, const QColor& colour)
{
    const int left = onGrid(rect.left());
    const int right = onGrid(rect.right());
    const int top = onGrid(rect.top());
    const int bottom = onGrid(rect.bottom());
    const int x = pixelBelow(left);
    const int y = pixelBelow(top);
    const int columns = pixelAbove(right) - x;
    const int yEnd = pixelAbove(bottom);
    const int rounding = onGrid(radius);
    if (columns <= 0 || yEnd <= y)
        return;

    const auto inPoints = [&](int x0, int y0, int x1, int y1) {
        return QRectF(QPointF(x0, y0) / (grid * m_scale), QPointF(x1, y1) / (grid * m_scale));
    };
    if (!keepsPictures) {
        end();
        const QPointF origin(m_device.dx() / m_scale, m_device.dy() / m_scale);
        drawShape(
            m_painter, inPoints(left, top, right, bottom).translated(-origin), radius / m_scale, colour);
        begin();
        return;
    }
    const auto picture = [&](int firstRow, int rows, int upperEdge, int lowerEdge) {
        // The whole shape is drawn and cut afterwards: if a shape extends beyond the image, the engine draws coarser curves.
        const int row = pixelBelow(upperEdge);
        QImage image = transparent(QSize(columns, pixelAbove(lowerEdge) - row));
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(-x, -row);
        // The shape is drawn in points, as without the cache, because the engine's curves would differ slightly in pixels.
        painter.scale(m_scale, m_scale);
        drawShape(painter, inPoints(left, upperEdge, right, lowerEdge), radius / m_scale, colour);
        painter.end();
        return image.copy(0, firstRow - row, columns, rows);
    };

    // `cut` is the first row below the rounded upper end. `lastCut` is the row in which the rounded lower end begins.
    const int cut = pixelAbove(top + rounding);
    const int lastCut = pixelBelow(bottom - rounding);
    const int originX = x * grid;
    if (cut > lastCut) {
        // The bar is too low to be cut, so it is cached as a whole.
        const SpriteKey key { SpriteKey::Kind::column, colour.rgba(),
            { left - originX, right - originX, top - y * grid, bottom - y * grid, rounding, 0, 0 } };
        const QImage& whole
            = SpriteCache::shared().sprite(key, [&] { return picture(y, yEnd - y, top, bottom); });
        m_painter.drawImage(QPointF(x, y), whole);
        return;
    }
    // The bar is composed of two pictures, one for each end. The pictures depend only on the position within a pixel, so
    // that bars of all heights share them.
    const SpriteKey topKey { SpriteKey::Kind::columnTop, colour.rgba(),
        { left - originX, right - originX, top - y * grid, rounding, 0, 0, 0 } };
    const QImage& upper = SpriteCache::shared().sprite(
        topKey, [&] { return picture(y, cut - y, top, top + 3 * rounding + 3 * grid); });
    m_painter.drawImage(QPointF(x, y), upper);

    constexpr int step = 64;
    const int rows = (yEnd - cut + step - 1) / step * step;
    const SpriteKey key { SpriteKey::Kind::column, colour.rgba(),
        { left - originX, right - originX, rows, yEnd * grid - bottom, rounding, 1, 0 } };
    const QImage& lower = SpriteCache::shared().sprite(
        key, [&] { return picture(yEnd - rows, rows, (yEnd - rows) * grid - 2 * rounding - grid, bottom); });
    m_painter.drawImage(QPoint(x, cut), lower, QRect(0, rows - (yEnd - cut), columns, yEnd - cut));
}

void PixelPainter::fillBelow(const QList<QPointF>& line, double bottom, const QColor& colour)
{
    if (!keepsPictures) {
        fillPolygon(line, bottom, colour);
        return;
    }
    static FilledCurve curve;
    curve.make(line, bottom, colour);
    const QRect area = curve.area();
    if (!area.isEmpty())
        m_painter.drawImage(area.topLeft(), curve.image(), QRect(QPoint(0, 0), area.size()));
}

void PixelPainter::fillAbove(const QList<QPointF>& line, double top, const QColor& colour)
{
    if (!keepsPictures) {
        fillPolygon(line, top, colour);
        return;
    }
    // The area below the mirrored line, mirrored again. Mirrored at a whole pixel, pixels become pixels.
    const double axis = std::floor(top);
    QList<QPointF> mirrored = line;
    for (QPointF& point : mirrored)
        point.setY(2 * axis - point.y());
    static FilledCurve curve;
    curve.make(mirrored, 2 * axis - top, colour);
    const QRect area = curve.area();
    if (area.isEmpty())
        return;
    const QImage image = curve.image().copy(QRect(QPoint(0, 0), area.size())).mirrored(false, true);
    m_painter.drawImage(QPoint(area.left(), 2 * int(axis) - area.top() - area.height()), image);
}

void PixelPainter::fillPolygon(const QList<QPointF>& line, double base, const QColor& colour)
{
    QPolygonF outline(line);
    outline.append(QPointF(line.last().x(), base));
    outline.append(QPointF(line.first().x(), base));
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(colour);
    m_painter.drawPolygon(outline);
}

} // namespace kestrum
