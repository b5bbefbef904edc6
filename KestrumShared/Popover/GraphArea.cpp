// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/GraphArea.h"

#include "KestrumShared/Popover/Amounts.h"
#include "KestrumShared/Popover/IsolatedRuns.h"
#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Popover/PixelGrid.h"
#include "KestrumShared/Raster/PixelPainter.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <QPen>
#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

constexpr double trackRadius = 4;
constexpr double lineWidth = 1.5;
constexpr float areaOpacity = 0.28F;
/// From the oldest bucket to the newest one.
constexpr double spanSeconds = double((History::bucketCount - 1) * History::bucketTime.count());
constexpr double bucketSeconds = double(History::bucketTime.count());

/// Whether a value that came now would follow a gap. The last two values tell the usual time between values.
bool isEnded(const QList<HistoryPoint>& points)
{
    const HistoryPoint& newest = points.last();
    double usual = bucketSeconds;
    if (points.size() > 1 && !newest.followsGap)
        usual = std::max(usual, points[points.size() - 2].age - newest.age);
    return newest.age > 3 * usual;
}

} // namespace

GraphArea::GraphArea(const QRectF& rect, double least, double most)
    : m_rect(rect)
    , m_least(least)
    , m_most(most > least ? most : least + 1)
{
}

double GraphArea::x(double age) const
{
    return m_rect.right() - age / spanSeconds * m_rect.width();
}

double GraphArea::y(double value) const
{
    // A line along an edge is drawn in its whole width.
    const QRectF field = m_rect.adjusted(0, lineWidth / 2, 0, -lineWidth / 2);
    const double share = (value - m_least) / (m_most - m_least);
    return field.bottom() - (share > 0 ? std::min(share, 1.0) : 0) * field.height();
}

void GraphArea::draw(
    QPainter& painter, const PanelEnvironment& environment, const std::function<void()>& paint) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath track;
    track.addRoundedRect(PixelGrid::aligned(m_rect, painter), trackRadius, trackRadius);
    painter.setClipPath(track, Qt::IntersectClip);
    painter.fillRect(PixelGrid::aligned(m_rect, painter), environment.trackColour());
    for (const double share : { 0.25, 0.5, 0.75 }) {
        const QRectF hairline(
            m_rect.left(), m_rect.top() + share * m_rect.height() - 0.25, m_rect.width(), 0.5);
        painter.fillRect(PixelGrid::aligned(hairline, painter), environment.trackColour());
    }
    paint();
    painter.restore();
}

QList<QPolygonF> GraphArea::lines(const QList<HistoryPoint>& points) const
{
    QList<QPolygonF> lines;
    for (const HistoryPoint& point : points) {
        if (lines.isEmpty() || point.followsGap)
            lines.append(QPolygonF());
        lines.last().append(QPointF(x(point.age), y(point.value)));
    }
    for (QPolygonF& line : lines) {
        if (line.size() == 1)
            line.prepend(line.first() - QPointF(bucketSeconds / spanSeconds * m_rect.width(), 0));
    }
    return lines;
}

void GraphArea::stroke(QPainter& painter, const QPolygonF& line, const QColor& colour)
{
    painter.setPen(QPen(colour, lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::BevelJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(line);
}

void GraphArea::fill(QPainter& painter, const QPolygonF& line, double base, const QColor& colour)
{
    QColor tint = colour;
    tint.setAlphaF(areaOpacity * colour.alphaF());
    if (PixelPainter::canServe(painter)) {
        PixelPainter pixels(painter);
        const double edge = pixels.toDevice(QPointF(0, base)).y();
        bool isAbove = true;
        QList<QPointF> points;
        points.reserve(line.size());
        for (const QPointF& point : line) {
            isAbove = isAbove && point.y() <= base;
            points.append(pixels.toDevice(point));
        }
        pixels.begin();
        if (isAbove)
            pixels.fillBelow(points, edge, tint);
        else
            pixels.fillAbove(points, edge, tint);
        pixels.end();
        return;
    }
    QPolygonF area = line;
    area.append(QPointF(line.last().x(), base));
    area.append(QPointF(line.first().x(), base));
    painter.setPen(Qt::NoPen);
    painter.setBrush(tint);
    painter.drawPolygon(area);
}

std::optional<qsizetype> GraphArea::pointed(
    const QList<HistoryPoint>& points, const PanelEnvironment& environment) const
{
    if (points.isEmpty() || !environment.isPointed(m_rect))
        return std::nullopt;
    const double age = (m_rect.right() - environment.pointer->x()) / m_rect.width() * spanSeconds;
    if (age > points.first().age + bucketSeconds)
        return std::nullopt;
    const auto younger = std::find_if(
        points.begin(), points.end(), [age](const HistoryPoint& point) { return point.age <= age; });
    if (younger == points.begin())
        return 0;
    const auto older = younger - 1;
    if (younger == points.end())
        return isEnded(points) && older->age - age > bucketSeconds ? std::nullopt
                                                                   : std::optional(older - points.begin());
    const bool isOlderNearer = older->age - age < age - younger->age;
    if (younger->followsGap && std::min(older->age - age, age - younger->age) > bucketSeconds)
        return std::nullopt;
    return (isOlderNearer ? older : younger) - points.begin();
}

void GraphArea::drawPointer(QPainter& painter, double age, const PanelEnvironment& environment) const
{
    const QRectF hairline(x(age) - 0.5, m_rect.top(), 1, m_rect.height());
    painter.fillRect(PixelGrid::aligned(hairline, painter), environment.secondaryTextColour());
}

void GraphArea::drawLabel(QPainter& painter, const QString& text, double top, Qt::Edge edge,
    const QColor& colour, const PanelEnvironment& environment) const
{
    constexpr int fontSize = 9;
    constexpr double inset = 4;
    constexpr double plateMargin = 2;
    constexpr float plateOpacity = 0.72F;
    if (text.isEmpty())
        return;
    const PanelText label { text, PanelEnvironment::systemFont(fontSize), colour };
    const double width = std::ceil(QFontMetricsF(label.font).horizontalAdvance(text));
    const double distance
        = edge == Qt::LeftEdge ? inset + plateMargin : m_rect.width() - inset - plateMargin - width;
    QRectF place = environment.fromLeading(m_rect, distance, width);
    place.setTop(m_rect.top() + top);
    place.setHeight(label.height(environment));
    QColor plate = environment.ground();
    plate.setAlphaF(plateOpacity);
    painter.setPen(Qt::NoPen);
    painter.setBrush(plate);
    painter.drawRoundedRect(place.adjusted(-plateMargin, 0, plateMargin, 0), 2, 2);
    label.draw(painter, place, environment);
}

QString GraphText::span()
{
    return AppLanguage::string("Last 5 minutes");
}

QString GraphText::pointed(const QString& value, double age)
{
    return AppLanguage::string("%1, %2 ago", { value, Amounts().age(age) });
}

QString GraphText::now(const QList<HistoryPoint>& points, const std::function<QString(double)>& text)
{
    return isEnded(points) ? Amounts::lost() : text(points.last().value);
}

QString GraphText::spoken(
    const QString& name, const QList<HistoryPoint>& points, const std::function<QString(double)>& text)
{
    if (points.isEmpty() || !text)
        return AppLanguage::string("%1, last 5 minutes: no values").arg(name);
    const auto [lowest, highest] = std::minmax_element(points.begin(), points.end(),
        [](const HistoryPoint& one, const HistoryPoint& other) { return one.value < other.value; });
    return AppLanguage::string("%1, last 5 minutes: now %2, highest %3, lowest %4")
        .arg(name, now(points, text), text(highest->value), text(lowest->value));
}

} // namespace kestrum
