// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <optional>

namespace kestrum {

/// A thin bar that is filled from its leading end.
struct MetricProgressBar {
    double value = 0; ///< filled share: above 1 fills all of the bar, below 0 and NaN nothing
    std::optional<QColor> fillColour = std::nullopt; ///< nothing for the default colour

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
