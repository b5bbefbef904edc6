// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelDivider.h"

namespace kestrum {

/// The line between two groups of rows of one section.
struct InsetDivider {
    double height(const PanelEnvironment&) const { return 1; }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        PanelDivider {}.draw(painter, rect, environment);
    }
    bool operator==(const InsetDivider&) const = default;
};

} // namespace kestrum
