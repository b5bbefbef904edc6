// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <optional>

namespace kestrum {

/// A thin bar that is filled from its leading end.
struct MetricProgressBar {
    double value = 0;                                ///< filled share, limited to 0…1; NaN counts as 0
    std::optional<QColor> fillColour = std::nullopt; ///< nothing for the default colour

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
