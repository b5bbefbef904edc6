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

    /// Computes the positions of items, from left to right, with a gap between two items.
    class Grid {
    public:
        /// Adds an item of the width `itemWidth`, and returns the x coordinate of its left edge.
        double place(double itemWidth);
        /// The total width of all items so far, with the gaps between them.
        double width() const;

    private:
        double m_next = 0;
    };

    QList<Item> items; ///< every section of the stored order, hidden ones included
    double width = 0;  ///< width of the whole strip; 0 when no item is shown

    /// The layout of the items in the order of the shared settings.
    static StripLayout current(const Appearance& appearance = Appearance::current());
    /// The layout of the items in the given order.
    static StripLayout of(
        const QList<MonitorSection>& order, const Appearance& appearance = Appearance::current());
};

} // namespace kestrum
