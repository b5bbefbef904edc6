// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <optional>

namespace kestrum {

/// A thin bar that is filled from its leading end.
struct MetricProgressBar {
    double value = 0; ///< share of the bar that is filled; above 1 all of it, below 0 and no number none
    std::optional<QColor> fillColour = std::nullopt; ///< nothing for the panel's own

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
