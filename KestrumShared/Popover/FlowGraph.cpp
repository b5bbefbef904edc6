// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/FlowGraph.h"

#include "KestrumShared/Popover/GraphArea.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace kestrum {
namespace {

constexpr double scaleInset = 3; ///< of the scale's text from the upper edge

double titleHeight(const FlowGraph& graph, const PanelEnvironment& environment)
{
    return graph.title.height(environment) + environment.metrics.rowSpacing;
}

double largest(const FlowGraph& graph)
{
    double largest = 0;
    for (const auto* points : { &graph.up, &graph.down }) {
        for (const HistoryPoint& point : *points)
            largest = std::max(largest, point.value);
    }
    return FlowGraph::scale(largest);
}

GraphArea area(const FlowGraph& graph, const QRectF& rect, const PanelEnvironment& environment)
{
    const double most = largest(graph);
    return GraphArea(rect.adjusted(0, titleHeight(graph, environment), 0, 0), -most, most);
}

/// The heights of rates above the middle, or below it with a sign of -1.
QList<HistoryPoint> heights(QList<HistoryPoint> points, double sign)
{
    for (HistoryPoint& point : points)
        point.value = sign * std::max(0.0, point.value);
    return points;
}

bool isUpperHalf(const GraphArea& area, const PanelEnvironment& environment)
{
    return environment.pointer && environment.pointer->y() < area.rect().center().y();
}

/// The rate in the half of the graph that the pointer is in, and its age.
QString pointedText(const FlowGraph& graph, const GraphArea& area, const PanelEnvironment& environment)
{
    const bool isUp = isUpperHalf(area, environment);
    const QList<HistoryPoint>& points = isUp ? graph.up : graph.down;
    const auto pointed = area.pointed(points, environment);
    if (!pointed || !graph.text)
        return QString();
    const HistoryPoint& point = points[*pointed];
    return GraphText::pointed(
        (isUp ? graph.upName : graph.downName) + QLatin1Char(' ') + graph.text(point.value), point.age);
}

} // namespace

double FlowGraph::scale(double largest)
{
    constexpr double least = 1e6;
    if (!(largest > least) || !std::isfinite(largest))
        return least;
    const double power = std::pow(10, std::floor(std::log10(largest)));
    for (const double step : { 1.0, 2.0, 5.0 }) {
        // The logarithm of a power of ten may be a little too small or too large.
        if (largest <= step * power * (1 + 1e-12))
            return step * power;
    }
    return 10 * power;
}

double FlowGraph::height(const PanelEnvironment& environment) const
{
    return titleHeight(*this, environment) + environment.metrics.loadGraphHeight;
}

void FlowGraph::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const GraphArea field = area(*this, rect, environment);
    SectionTitle row = title;
    const QString pointed = pointedText(*this, field, environment);
    if (!pointed.isEmpty())
        row.heads = { { pointed } };
    else if (row.heads.isEmpty())
        row.heads = { { GraphText::span() } };
    row.draw(painter, QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);

    field.draw(painter, environment, [&] {
        const double middle = field.y(0);
        const auto drawHalf = [&](const QList<HistoryPoint>& points, const QColor& given) {
            const QColor colour = environment.readable(given);
            for (const QPolygonF& line : field.lines(points)) {
                GraphArea::fill(painter, line, middle, colour);
                GraphArea::stroke(painter, line, colour);
            }
        };
        drawHalf(heights(down, -1), downColour);
        drawHalf(heights(up, 1), upColour);
        const QList<HistoryPoint>& times = up.size() >= down.size() ? up : down;
        if (const auto at = field.pointed(times, environment))
            field.drawPointer(painter, times[*at].age, environment);
        if (text)
            field.drawLabel(painter, text(largest(*this)), scaleInset, Qt::LeftEdge,
                environment.secondaryTextColour(), environment);
    });
}

QList<PanelElement> FlowGraph::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    SectionTitle row = title;
    if (row.heads.isEmpty())
        row.heads = { { GraphText::span() } };
    QList<PanelElement> elements
        = row.describe(QRectF(rect.topLeft(), QSizeF(rect.width(), row.height(environment))), environment);
    const auto append = [&](const QString& shown, const QList<HistoryPoint>& points) {
        PanelElement element;
        element.role = PanelElement::Role::graph;
        element.name = GraphText::spoken(shown, points, text);
        element.columns = { shown };
        if (!points.isEmpty() && text)
            element.columns.append(GraphText::now(points, text));
        element.rect = area(*this, rect, environment).rect();
        elements.append(element);
    };
    append(upName.isEmpty() ? name : upName, up);
    append(downName.isEmpty() ? name : downName, down);
    return elements;
}

qsizetype FlowGraph::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    const GraphArea field = area(*this, rect, environment);
    const bool isUp = isUpperHalf(field, environment);
    const auto pointed = field.pointed(isUp ? up : down, environment);
    return pointed ? 2 * *pointed + (isUp ? 1 : 0) : -1;
}

bool FlowGraph::operator==(const FlowGraph& other) const
{
    const auto values = [](const FlowGraph& graph) {
        return std::tie(graph.title, graph.name, graph.up, graph.down, graph.upColour, graph.downColour,
            graph.upName, graph.downName);
    };
    return values(*this) == values(other);
}

} // namespace kestrum
