// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>

namespace kestrum {

/// Parts one below the other, each as wide as the stack.
struct PanelStack {
    QList<PanelPart> parts;
    double spacing = 0; ///< between the parts

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
