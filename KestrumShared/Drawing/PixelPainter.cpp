#include "KestrumShared/Drawing/PixelPainter.h"

#include "KestrumShared/Drawing/FilledCurve.h"

#include <QPaintEngine>
#include <cmath>

namespace kestrum {
namespace {

constexpr int grid = 64;
// For what is drawn in few places and need not share pictures.
constexpr int fineGrid = 1024;

bool isAllowed = true;

int onGrid(double pixels)
{
    return int(std::floor(pixels * grid + 0.5));
}

int fine(double pixels)
{
    return int(std::floor(pixels * fineGrid + 0.5));
}

double fromGrid(int steps)
{
    return double(steps) / grid;
}

int pixelBelow(int steps)
{
    return steps >> 6;
}

int pixelAbove(int steps)
{
    return (steps + grid - 1) >> 6;
}

} // namespace

bool PixelPainter::canServe(const QPainter& painter)
{
    if (!isAllowed)
        return false;
    const QTransform transform = painter.deviceTransform();
    return transform.type() <= QTransform::TxScale && transform.m11() > 0
        && qFuzzyCompare(transform.m11(), transform.m22())
        && painter.compositionMode() == QPainter::CompositionMode_SourceOver && painter.opacity() == 1
        && painter.paintEngine()->type() == QPaintEngine::Raster;
}

void PixelPainter::setAllowed(bool allowed)
{
    isAllowed = allowed;
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
    // What the painter adds to its own transformation, by a window's place in its store or the device's pixel
    // ratio, is taken away again.
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
    const QRect pixels = rect.toAlignedRect();
    key.numbers[4] = fine(rect.left() - pixels.left());
    key.numbers[5] = fine(rect.top() - pixels.top());
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

void PixelPainter::drawPart(const QImage& sprite, int x, int y, const QRect& part)
{
    m_painter.drawImage(QPointF(x, y), sprite, QRectF(part));
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
    const int end = pixelAbove(bottom);
    const int rounding = onGrid(radius);
    if (columns <= 0 || end <= y)
        return;

    const auto picture = [&](int firstRow, int rows, int upperEdge, int lowerEdge) {
        QImage image = transparent(QSize(columns, rows));
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.translate(-x, -firstRow);
        const QRectF shape(
            QPointF(fromGrid(left), fromGrid(upperEdge)), QPointF(fromGrid(right), fromGrid(lowerEdge)));
        if (radius > 0)
            painter.drawRoundedRect(shape, radius, radius);
        else
            painter.fillRect(shape, colour);
        return image;
    };

    // The first row in which the upper end has its full width, and the last of which the lower end leaves that width.
    const int cut = pixelAbove(top + rounding);
    const int lastCut = pixelBelow(bottom - rounding);
    const int originX = x * grid;
    if (cut > lastCut) {
        // Too low to be cut: kept whole.
        const SpriteKey key { SpriteKey::Kind::column, colour.rgba(),
            { left - originX, right - originX, top - y * grid, bottom - y * grid, rounding, 0 } };
        const QImage& whole
            = SpriteCache::shared().sprite(key, [&] { return picture(y, end - y, top, bottom); });
        m_painter.drawImage(QPointF(x, y), whole);
        return;
    }
    // Upper and lower end from two pictures: the ends differ only by their place within a pixel, so bars of all heights
    // share them.
    const SpriteKey topKey { SpriteKey::Kind::columnTop, colour.rgba(),
        { left - originX, right - originX, top - y * grid, rounding, 0, 0 } };
    const QImage& upper = SpriteCache::shared().sprite(
        topKey, [&] { return picture(y, cut - y, top, top + 3 * rounding + 3 * grid); });
    m_painter.drawImage(QPointF(x, y), upper);

    constexpr int step = 64;
    const int rows = (end - cut + step - 1) / step * step;
    const SpriteKey key { SpriteKey::Kind::column, colour.rgba(),
        { left - originX, right - originX, rows, end * grid - bottom, rounding, 1 } };
    const QImage& lower = SpriteCache::shared().sprite(
        key, [&] { return picture(end - rows, rows, (end - rows) * grid - 2 * rounding - grid, bottom); });
    drawPart(lower, x, cut, QRect(0, rows - (end - cut), columns, end - cut));
}

void PixelPainter::strokeRoundedRect(
    const QRectF& rect, double radius, double lineWidth, const QColor& colour)
{
    const int reach = int(std::ceil(lineWidth / 2));
    const int left = onGrid(rect.left());
    const int top = onGrid(rect.top());
    const int x = pixelBelow(left) - reach;
    const int y = pixelBelow(top) - reach;
    const SpriteKey key { SpriteKey::Kind::frame, colour.rgba(),
        { fine(rect.left() - x), fine(rect.top() - y), fine(rect.width()), fine(rect.height()), fine(radius),
            fine(lineWidth) } };
    const QImage& frame = SpriteCache::shared().sprite(key, [&] {
        QImage image = transparent(QSize(
            pixelAbove(onGrid(rect.right())) + reach - x, pixelAbove(onGrid(rect.bottom())) + reach - y));
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(colour, lineWidth));
        painter.drawRoundedRect(rect.translated(-x, -y), radius, radius);
        return image;
    });
    m_painter.drawImage(QPointF(x, y), frame);
}

void PixelPainter::fillBelow(const QList<QPointF>& line, double bottom, const QColor& colour)
{
    static FilledCurve curve;
    curve.make(line, bottom, colour);
    const QRect area = curve.area();
    if (!area.isEmpty())
        drawPart(curve.image(), area.left(), area.top(), QRect(QPoint(0, 0), area.size()));
}

} // namespace kestrum
