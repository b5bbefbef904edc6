// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// The measures of a panel in points, the same for all of its parts.
struct PanelMetrics {
    double usageGraphHeight = 70;
    double loadGraphHeight = 72;
    double sectionPadding = 9; ///< above and below a section
    double rowSpacing = 7;

    bool operator==(const PanelMetrics&) const = default;
};

} // namespace kestrum
