// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/Appearance.h"

#include <QList>
#include <optional>

namespace kestrum {

/// Where the items of the strip stand, in points from its left edge.
struct StripLayout {
    struct Item {
        MonitorSection section;
        std::optional<double> x; ///< nothing for a hidden item, which takes no room
        double width;            ///< of a hidden item: what it would take

        bool isShown() const { return x.has_value(); }
    };

    /// The rule by which items stand: from the left edge, with a gap between two neighbours.
    class Grid {
    public:
        /// The left edge of the next item, which is so wide.
        double place(double itemWidth);
        /// Of all items so far.
        double width() const;

    private:
        double m_next = 0;
    };

    QList<Item> items; ///< every section of the stored order, hidden ones included
    double width = 0;  ///< of the whole strip; 0 when nothing is shown

    /// In the stored order.
    static StripLayout current(const Appearance& appearance = Appearance::current());
    /// In any other order.
    static StripLayout of(
        const QList<MonitorSection>& order, const Appearance& appearance = Appearance::current());
};

} // namespace kestrum
