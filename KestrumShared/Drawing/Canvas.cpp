#include "KestrumShared/Drawing/Canvas.h"

#include <QFontMetricsF>
#include <QPainterPath>

namespace kestrum {

Canvas::Canvas(QPainter& painter, const QPointF& topLeft, const QSizeF& size)
    : m_painter(painter)
    , m_size(size)
{
    m_painter.save();
    m_painter.translate(topLeft);
    m_painter.setRenderHints(
        QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
}

Canvas::~Canvas()
{
    m_painter.restore();
}

QRectF Canvas::turned(const QRectF& rect) const
{
    return QRectF(rect.left(), turned(rect.bottom()), rect.width(), rect.height());
}

void Canvas::fillRect(const QRectF& rect, const QColor& colour)
{
    m_painter.fillRect(turned(rect), colour);
}

void Canvas::fillRoundedRect(const QRectF& rect, double radius, const QColor& colour)
{
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(colour);
    m_painter.drawRoundedRect(turned(rect), radius, radius);
}

void Canvas::strokeRoundedRect(const QRectF& rect, double radius, double lineWidth, const QColor& colour)
{
    m_painter.setPen(QPen(colour, lineWidth));
    m_painter.setBrush(Qt::NoBrush);
    m_painter.drawRoundedRect(turned(rect), radius, radius);
}

void Canvas::fillPolygon(const QPolygonF& polygon, const QColor& colour)
{
    QPolygonF upsideDown;
    upsideDown.reserve(polygon.size());
    for (const QPointF& point : polygon)
        upsideDown.append(QPointF(point.x(), turned(point.y())));
    m_painter.setPen(Qt::NoPen);
    m_painter.setBrush(colour);
    m_painter.drawPolygon(upsideDown);
}

void Canvas::drawText(
    const QPointF& origin, const QString& text, const QFont& font, const QColor& colour, double shrink)
{
    m_painter.setFont(font);
    m_painter.setPen(colour);
    const double descent = QFontMetricsF(font).descent();
    if (shrink == 1) {
        m_painter.drawText(QPointF(origin.x(), turned(origin.y()) - descent), text);
        return;
    }
    m_painter.save();
    m_painter.translate(origin.x(), turned(origin.y()));
    m_painter.scale(shrink, shrink);
    m_painter.drawText(QPointF(0, -descent), text);
    m_painter.restore();
}

void Canvas::drawText(
    const QPointF& origin, const QString& text, const MonospacedDigits& font, const QColor& colour)
{
    font.draw(m_painter, QPointF(origin.x(), turned(origin.y()) - font.descent()), text, colour);
}

void Canvas::drawImage(const QPointF& origin, const QImage& image)
{
    const double heightInPoints = image.height() / image.devicePixelRatio();
    m_painter.drawImage(QPointF(origin.x(), turned(origin.y()) - heightInPoints), image);
}

} // namespace kestrum
