// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/HistoryGraph.h"

namespace kestrum {

double HistoryGraph::height(const PanelEnvironment&) const
{
    return 70;
}

void HistoryGraph::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> HistoryGraph::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
