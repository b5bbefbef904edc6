// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelStack.h"

namespace kestrum {

double PanelStack::height(const PanelEnvironment& environment) const
{
    double height = parts.isEmpty() ? 0 : spacing * double(parts.size() - 1);
    for (const PanelPart& part : parts)
        height += part.height(environment);
    return height;
}

void PanelStack::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    double top = rect.top();
    for (const PanelPart& part : parts) {
        const double height = part.height(environment);
        part.draw(painter, QRectF(rect.left(), top, rect.width(), height), environment);
        top += height + spacing;
    }
}

} // namespace kestrum
