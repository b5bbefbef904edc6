// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StatusMetricView.h"

#include <QList>
#include <memory>
#include <optional>

namespace kestrum {

/// The items of a strip, from left to right, and the drag of an item. Computes the positions of the items, also while they
/// make room for the dragged item. All coordinates are points from the bottom left of the strip.
class StripItems {
public:
    struct Item {
        MonitorSection section;
        std::shared_ptr<StatusMetricView> view;
    };

    /// Replaces all items by new ones for the visible sections of `order`, each at its place on the grid. The items hold
    /// weak pointers to the readings. A drag in progress continues with the new item of the same section.
    void rebuild(const QList<MonitorSection>& order, const std::shared_ptr<const MenuBarReadings>& readings,
        const Appearance& appearance = Appearance::current());

    const QList<Item>& list() const { return m_list; }
    QList<MonitorSection> sections() const;
    /// The size of all items and the gaps between them, in points.
    QSizeF size() const;

    /// The index of a section's item; -1 if the section is not shown.
    int index(MonitorSection section) const;
    /// A section's item; null if the section is not shown or `section` is empty.
    const Item* item(std::optional<MonitorSection> section) const;

    /// The ground of an item, which is the area of its backdrop: the item's frame, widened to the left and to the right.
    static QRectF ground(const Item& item);
    /// The first item whose ground contains the point; null if there is none. Points on the right or bottom edge of a ground
    /// do not belong to it, because the position of a pixel is its top left corner.
    const Item* item(const QPointF& at) const;

    void swap(int first, int second) { m_list.swapItemsAt(first, second); }

    /// Begins to drag `item`. `pointer` is the x coordinate at which the pointer grabs it.
    void grab(const Item& item, double pointer);
    /// The section of the dragged item; nothing without a drag.
    std::optional<MonitorSection> dragged() const;
    /// Moves the dragged item to the pointer, but not out of the strip. If its edge has passed the middle of a neighbour,
    /// the two items change places. All other items stay on the grid. Does nothing without a drag.
    void drag(double pointer);
    /// Ends the drag. The dragged item stays at its position until the next `rebuild`.
    void drop() { m_drag.reset(); }

private:
    struct Drag {
        Item item;
        double grabOffset; ///< distance from the item's left edge to the pointer at the start of the drag
    };

    QList<Item> m_list;
    std::optional<Drag> m_drag;
};

} // namespace kestrum
