// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>

namespace kestrum {

/// Parts one below the other, each as wide as the stack.
struct PanelStack {
    QList<PanelPart> parts;
    double spacing = 0; ///< between the parts

    double height(const PanelEnvironment& environment) const
    {
        double height = parts.isEmpty() ? 0 : spacing * double(parts.size() - 1);
        for (const PanelPart& part : parts)
            height += part.height(environment);
        return height;
    }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        double top = rect.top();
        for (const PanelPart& part : parts) {
            const double height = part.height(environment);
            part.draw(painter, QRectF(rect.left(), top, rect.width(), height), environment);
            top += height + spacing;
        }
    }
};

} // namespace kestrum
