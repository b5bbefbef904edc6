// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QPainter>
#include <QString>
#include <optional>

namespace kestrum {

/// A thin bar that is filled from its leading end.
struct MetricProgressBar {
    /// Filled share, limited to 0…1; NaN counts as 0. An unknown one looks as 0 does.
    std::optional<double> value = 0;
    std::optional<QColor> fillColour = std::nullopt; ///< nothing for the default colour
    QString name = {};                               ///< what the bar shows, for screen readers

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const MetricProgressBar&) const = default;
};

} // namespace kestrum
