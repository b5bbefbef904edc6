// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StatusMetricView.h"

#include <QList>
#include <memory>
#include <optional>

namespace kestrum {

/// The items of a strip, left to right, and the item that is being dragged. Computes where the items stand, and how they
/// make room for the dragged item. All coordinates are points from the bottom left of the strip.
class StripItems {
public:
    struct Item {
        MonitorSection section;
        std::shared_ptr<StatusMetricView> view;
    };

    /// Replaces all items by new ones: the visible sections of `order`, each at its place on the grid. The items hold weak
    /// pointers to the readings. A drag in progress continues with the new item of its section.
    void rebuild(const QList<MonitorSection>& order, const std::shared_ptr<const MenuBarReadings>& readings,
        const Appearance& appearance = Appearance::current());

    const QList<Item>& list() const { return m_list; }
    QList<MonitorSection> sections() const;
    /// The size of all items and the gaps between them, in points.
    QSizeF size() const;

    /// The index of a section's item, and the item; -1 and null if the section is not shown. No section gives null.
    int index(MonitorSection section) const;
    const Item* item(std::optional<MonitorSection> section) const;

    /// The area of an item's backdrop: the item's frame, widened to the left and to the right.
    static QRectF ground(const Item& item);
    /// The first item whose ground contains the point; null if there is none. A ground includes its left and top edges, but
    /// not its right and bottom edges, because pixels count from the top left.
    const Item* item(const QPointF& at) const;

    void swap(int first, int second) { m_list.swapItemsAt(first, second); }

    /// Begins to drag `item`. `pointer` is the x coordinate at which the pointer grabs it.
    void grab(const Item& item, double pointer);
    /// The section of the dragged item; nothing without a drag.
    std::optional<MonitorSection> dragged() const;
    /// Moves the dragged item to the pointer, but not out of the strip. The dragged item changes places with each neighbour
    /// whose middle it has passed; all other items stand on the grid. Does nothing without a drag.
    void drag(double pointer);
    /// Ends the drag. The item stays where it is until the next `rebuild`.
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
