// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"
#include "Platform/Machine/History.h"

#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// The values of the last five minutes as lines or as layers, oldest left in every language, with an optional title row above.
/// While the pointer is on the graph, a hairline marks the value, and the title row shows the value and its age.
struct HistoryGraph {
    struct Line {
        QList<HistoryPoint> points;
        QColor colour;        ///< deepened until it is readable; layers are drawn as they are given
        bool isFilled = true; ///< whether the area below the line is tinted
        QString name = {};    ///< for the pointed value, where there are several lines
        bool operator==(const Line&) const = default;
    };
    enum class Form { lines, stacked };

    std::optional<QString>
        title;    ///< nothing for a graph without a title row; the span is then written in the graph
    QString name; ///< what the graph shows, for screen readers
    QList<Line> lines;
    double graphHeight = 70;
    Form form = Form::lines;
    double least = 0; ///< values at the bottom and at the top
    double most = 1;
    std::optional<double> limit = std::nullopt; ///< a value that is marked by a dashed line
    QString limitText = {};
    std::function<QString(double)> text = {}; ///< a value as text

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    /// Without the texts' function, which follows from language and region.
    bool operator==(const HistoryGraph& other) const;
};

} // namespace kestrum
