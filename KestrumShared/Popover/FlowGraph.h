// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"
#include "KestrumShared/Popover/SectionTitle.h"
#include "Platform/Machine/History.h"

#include <QList>
#include <QString>
#include <functional>

namespace kestrum {

/// Two rates of the last five minutes: one upwards and one downwards from the middle, oldest left in every language. The scale
/// fits the largest value.
struct FlowGraph {
    SectionTitle title;
    QString name; ///< what the graph shows, for screen readers
    QList<HistoryPoint> up, down;
    QColor upColour, downColour; ///< deepened until they are readable
    QString upName, downName;
    std::function<QString(double)> text = {}; ///< a rate as text

    /// The value at the upper and the lower edge for values up to `largest`: the next 1, 2 or 5 times a power of ten, at
    /// least a million.
    static double scale(double largest);

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    /// Without the texts' function, which follows from language and region.
    bool operator==(const FlowGraph& other) const;
};

} // namespace kestrum
