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
        const QList<QRectF> at = places(rect, environment);
        for (qsizetype i = 0; i < parts.size(); ++i)
            parts[i].draw(painter, at[i], environment);
    }
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const
    {
        QList<PanelElement> elements;
        const QList<QRectF> at = places(rect, environment);
        for (qsizetype i = 0; i < parts.size(); ++i)
            elements += parts[i].describe(at[i], environment);
        return elements;
    }

    /// As `PanelPart::changes`. Where a part came, went or has another height, all of `rect`.
    QList<QRectF> changes(const PanelStack& before, const QRectF& rect, const PanelEnvironment& environment,
        const PanelPointer& pointerBefore) const
    {
        const QList<QRectF> at = places(rect, environment);
        if (at != before.places(rect, environment))
            return { rect };
        QList<QRectF> changes;
        for (qsizetype i = 0; i < parts.size(); ++i)
            changes += parts[i].changes(before.parts[i], at[i], environment, pointerBefore);
        return changes;
    }

    /// The rectangles of the parts, when the stack is drawn into `rect`.
    QList<QRectF> places(const QRectF& rect, const PanelEnvironment& environment) const
    {
        QList<QRectF> places;
        double top = rect.top();
        for (const PanelPart& part : parts) {
            places.append(QRectF(rect.left(), top, rect.width(), part.height(environment)));
            top = places.last().bottom() + spacing;
        }
        return places;
    }
};

} // namespace kestrum
