// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"

#include <QList>
#include <optional>

namespace kestrum {

/// The positions of the items in the strip, in points from its left edge.
struct StripLayout {
    struct Item {
        MonitorSection section;
        std::optional<double> x; ///< left edge; nothing for a hidden item, which takes no room
        double width;            ///< for a hidden item: the width that it would have

        bool isShown() const { return x.has_value(); }
    };

    /// Computes the items' positions one after the other: from the left edge, with a gap between two items.
    class Grid {
    public:
        /// The left edge of the next item, whose width is `itemWidth`.
        double place(double itemWidth);
        /// The total width of all items so far.
        double width() const;

    private:
        double m_next = 0;
    };

    QList<Item> items; ///< every section of the stored order, hidden ones included
    double width = 0;  ///< width of the whole strip; 0 when no item is shown

    /// The layout of the items in the stored order.
    static StripLayout current(const Appearance& appearance = Appearance::current());
    /// The layout of the items in the given order.
    static StripLayout of(
        const QList<MonitorSection>& order, const Appearance& appearance = Appearance::current());
};

} // namespace kestrum
