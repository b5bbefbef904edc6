// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/FlowGraph.h"

namespace kestrum {

double FlowGraph::scale(double largest)
{
    return largest;
}

double FlowGraph::height(const PanelEnvironment&) const
{
    return 72;
}

void FlowGraph::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> FlowGraph::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
