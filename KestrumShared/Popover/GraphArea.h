// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "Platform/Machine/History.h"

#include <QList>
#include <QPainter>
#include <QPolygonF>
#include <QRectF>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// The field of a graph of the last five minutes: its track, and the places of values in it. Oldest left in every language.
class GraphArea {
public:
    /// `least` and `most` are the values at the lower and the upper edge.
    GraphArea(const QRectF& rect, double least, double most);

    const QRectF& rect() const { return m_rect; }
    double x(double age) const;
    /// Values outside of the field are drawn at its edge.
    double y(double value) const;

    /// Draws the track and its hairlines at a quarter, a half and three quarters. Until the end of `paint`, drawing is clipped
    /// to the track.
    void draw(
        QPainter& painter, const PanelEnvironment& environment, const std::function<void()>& paint) const;

    /// The line through `points`, oldest first, in pieces that end at gaps. A point between two gaps is a short piece.
    QList<QPolygonF> lines(const QList<HistoryPoint>& points) const;
    /// Draws a line of a graph, and the area between it and the height `base`, which no vertex
    /// crosses, in a tint of `colour`.
    static void stroke(QPainter& painter, const QPolygonF& line, const QColor& colour);
    static void fill(QPainter& painter, const QPolygonF& line, double base, const QColor& colour);

    /// The index of the point at the pointer; nothing where the pointer is elsewhere, in a gap or before the oldest point.
    std::optional<qsizetype> pointed(
        const QList<HistoryPoint>& points, const PanelEnvironment& environment) const;
    /// Draws the hairline through a pointed value.
    void drawPointer(QPainter& painter, double age, const PanelEnvironment& environment) const;
    /// Draws a small text in the field, on a plate that keeps it apart from the lines. `top` is the distance from the upper
    /// edge.
    void drawLabel(QPainter& painter, const QString& text, double top, Qt::Edge edge, const QColor& colour,
        const PanelEnvironment& environment) const;

private:
    QRectF m_rect;
    double m_least;
    double m_most;
};

namespace GraphText {

/// "Last 5 minutes"
QString span();
/// "66 %, 1:47 ago"
QString pointed(const QString& value, double age);
/// The newest value; the sign for a lost one where values have ceased to come. There must be points.
QString now(const QList<HistoryPoint>& points, const std::function<QString(double)>& text);
/// "Usage, last 5 minutes: now 49 %, highest 66 %, lowest 18 %"
QString spoken(
    const QString& name, const QList<HistoryPoint>& points, const std::function<QString(double)>& text);

} // namespace GraphText
} // namespace kestrum
