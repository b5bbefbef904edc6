// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/HistoryGraph.h"

#include "KestrumShared/Popover/GraphArea.h"
#include "KestrumShared/Popover/SectionTitle.h"
#include "KestrumShared/Raster/HeatColour.h"

#include <QPen>
#include <algorithm>
#include <cmath>
#include <tuple>

namespace kestrum {
namespace {

constexpr double layerGap = 1;
constexpr double labelInset = 3; ///< of a label in the graph from the upper edge or the limit

SectionTitle titleRow(const HistoryGraph& graph)
{
    return { graph.title.value_or(QString()), { { GraphText::span() } } };
}

double titleHeight(const HistoryGraph& graph, const PanelEnvironment& environment)
{
    return graph.title ? titleRow(graph).height(environment) + environment.metrics.rowSpacing : 0;
}

GraphArea area(const HistoryGraph& graph, const QRectF& rect, const PanelEnvironment& environment)
{
    return GraphArea(rect.adjusted(0, titleHeight(graph, environment), 0, 0), graph.least, graph.most);
}

/// A limit is where the texts of values turn amber.
QColor limitColour(const PanelEnvironment& environment)
{
    return environment.readable(HeatColour::of(HeatColour::amberFrom, environment.scheme), 4.5);
}

/// The upper edge of each layer: its values on top of those of the layers below. The times are those of the longest layer.
QList<QList<HistoryPoint>> layers(const HistoryGraph& graph)
{
    QList<HistoryPoint> sums;
    for (const HistoryGraph::Line& line : graph.lines) {
        if (line.points.size() > sums.size())
            sums = line.points;
    }
    for (HistoryPoint& sum : sums)
        sum.value = 0;
    QList<QList<HistoryPoint>> layers;
    for (const HistoryGraph::Line& line : graph.lines) {
        auto next = line.points.begin();
        for (HistoryPoint& sum : sums) {
            constexpr double sameTime = 0.5;
            while (next != line.points.end() && next->age > sum.age + sameTime)
                ++next;
            if (next != line.points.end() && std::abs(next->age - sum.age) <= sameTime)
                sum.value += std::max(0.0, next->value);
        }
        layers.append(sums);
    }
    return layers;
}

void drawLayers(QPainter& painter, const HistoryGraph& graph, const GraphArea& area)
{
    painter.setPen(Qt::NoPen);
    QList<QPolygonF> below;
    const auto edges = layers(graph);
    for (qsizetype i = 0; i < edges.size(); ++i) {
        const QList<QPolygonF> above = area.lines(edges[i]);
        painter.setBrush(graph.lines[i].colour);
        for (qsizetype piece = 0; piece < above.size(); ++piece) {
            QPolygonF outline = above[piece];
            const QPolygonF floor = below.isEmpty() ? QPolygonF() : below[piece];
            if (floor.isEmpty())
                outline << QPointF(outline.last().x(), area.rect().bottom())
                        << QPointF(outline.first().x(), area.rect().bottom());
            // The layers are apart by a hairline. One that is thinner is not seen.
            for (qsizetype point = floor.size() - 1; point >= 0; --point)
                outline << QPointF(
                    floor[point].x(), std::max(floor[point].y() - layerGap, above[piece][point].y()));
            painter.drawPolygon(outline);
        }
        below = above;
    }
}

void drawLines(
    QPainter& painter, const HistoryGraph& graph, const GraphArea& area, const PanelEnvironment& environment)
{
    for (const HistoryGraph::Line& line : graph.lines) {
        const QColor colour = environment.readable(line.colour);
        for (const QPolygonF& piece : area.lines(line.points)) {
            if (line.isFilled)
                GraphArea::fill(painter, piece, area.rect().bottom(), colour);
            GraphArea::stroke(painter, piece, colour);
        }
    }
}

/// The line with the longest history, whose times the pointer tells; null without any.
const QList<HistoryPoint>* longest(const HistoryGraph& graph)
{
    const auto line = std::max_element(graph.lines.begin(), graph.lines.end(),
        [](const auto& one, const auto& other) { return one.points.size() < other.points.size(); });
    return line == graph.lines.end() || line->points.isEmpty() ? nullptr : &line->points;
}

const HistoryPoint* valueAt(const QList<HistoryPoint>& points, double age)
{
    for (const HistoryPoint& point : points) {
        if (std::abs(point.age - age) < double(History::bucketTime.count()) / 2)
            return &point;
    }
    return nullptr;
}

/// The layer at the pointer; the uppermost one above all layers.
qsizetype pointedLayer(
    const HistoryGraph& graph, double age, const GraphArea& area, const PanelEnvironment& environment)
{
    const auto edges = layers(graph);
    for (qsizetype i = 0; i < edges.size(); ++i) {
        const HistoryPoint* edge = valueAt(edges[i], age);
        if (edge && environment.pointer->y() >= area.y(edge->value))
            return i;
    }
    return edges.size() - 1;
}

/// "66 %", or with several lines "CPU 66°C, GPU 41°C". Of layers, the one at the pointer.
QString pointedText(
    const HistoryGraph& graph, double age, const GraphArea& area, const PanelEnvironment& environment)
{
    QList<HistoryGraph::Line> lines = graph.lines;
    if (graph.form == HistoryGraph::Form::stacked)
        lines = { lines[pointedLayer(graph, age, area, environment)] };
    QStringList texts;
    for (const HistoryGraph::Line& line : lines) {
        const HistoryPoint* value = valueAt(line.points, age);
        if (!value || !graph.text)
            continue;
        const QString text = graph.text(value->value);
        texts.append(line.name.isEmpty() ? text : line.name + QLatin1Char(' ') + text);
    }
    return texts.join(QStringLiteral(", "));
}

} // namespace

double HistoryGraph::height(const PanelEnvironment& environment) const
{
    return titleHeight(*this, environment) + graphHeight;
}

void HistoryGraph::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const GraphArea field = area(*this, rect, environment);
    const QList<HistoryPoint>* times = longest(*this);
    const auto pointed = times ? field.pointed(*times, environment) : std::nullopt;
    QString span = GraphText::span();
    if (pointed) {
        const double age = times->at(*pointed).age;
        span = GraphText::pointed(pointedText(*this, age, field, environment), age);
    }
    if (title) {
        SectionTitle row = titleRow(*this);
        row.heads.first().text = span;
        row.draw(painter, QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);
    }
    field.draw(painter, environment, [&] {
        if (form == Form::stacked)
            drawLayers(painter, *this, field);
        else
            drawLines(painter, *this, field, environment);
        if (limit) {
            const QColor colour = limitColour(environment);
            QPen pen(colour, 1);
            pen.setDashPattern({ 4, 2 });
            pen.setCapStyle(Qt::FlatCap);
            painter.setPen(pen);
            const double y = field.y(*limit);
            painter.drawLine(QPointF(rect.left(), y), QPointF(rect.right(), y));
        }
        if (pointed)
            field.drawPointer(painter, times->at(*pointed).age, environment);
        if (limit)
            field.drawLabel(painter, limitText, field.y(*limit) - field.rect().top() + labelInset,
                Qt::RightEdge, limitColour(environment), environment);
        if (!title)
            field.drawLabel(
                painter, span, labelInset, Qt::LeftEdge, environment.secondaryTextColour(), environment);
    });
}

QList<PanelElement> HistoryGraph::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    QList<PanelElement> elements;
    if (title) {
        const SectionTitle row = titleRow(*this);
        elements = row.describe(
            QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);
    }
    for (const Line& line : lines) {
        PanelElement element;
        element.role = PanelElement::Role::graph;
        const QString shown = line.name.isEmpty() ? name : line.name;
        element.name = GraphText::spoken(shown, line.points, text);
        element.columns = { shown };
        if (!line.points.isEmpty() && text)
            element.columns.append(GraphText::now(line.points, text));
        element.rect = area(*this, rect, environment).rect();
        elements.append(element);
    }
    return elements;
}

qsizetype HistoryGraph::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    const GraphArea field = area(*this, rect, environment);
    const QList<HistoryPoint>* times = longest(*this);
    const auto pointed = times ? field.pointed(*times, environment) : std::nullopt;
    if (!pointed)
        return -1;
    const qsizetype layer
        = form == Form::stacked ? pointedLayer(*this, times->at(*pointed).age, field, environment) : 0;
    return *pointed * lines.size() + layer;
}

bool HistoryGraph::operator==(const HistoryGraph& other) const
{
    const auto values = [](const HistoryGraph& graph) {
        return std::tie(graph.title, graph.name, graph.lines, graph.graphHeight, graph.form, graph.least,
            graph.most, graph.limit, graph.limitText);
    };
    return values(*this) == values(other);
}

} // namespace kestrum
