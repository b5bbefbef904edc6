// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/StatusMetricView.h"

#include <QList>
#include <memory>
#include <optional>

namespace kestrum {

/// The items of a strip, left to right, the one that is being dragged, and the rules by which they stand and make room
/// for it. All coordinates are points from the bottom left of the strip.
class StripItems {
public:
    struct Item {
        MonitorSection section;
        std::shared_ptr<StatusMetricView> view;
    };

    /// Replaces all items by those of `order` that are visible, each at its place on the grid. The readings are held weakly. A drag
    /// in progress continues with the new item of its section.
    void rebuild(const QList<MonitorSection>& order, const std::shared_ptr<const MenuBarReadings>& readings,
        const Appearance& appearance = Appearance::current());

    const QList<Item>& list() const { return m_list; }
    QList<MonitorSection> sections() const;
    /// Of all items and the gaps between them.
    QSizeF size() const;

    /// -1 and null for a section that is not shown.
    int index(MonitorSection section) const;
    const Item* item(MonitorSection section) const;

    /// The item's frame, widened to the left and to the right by the reach of its backdrop.
    static QRectF ground(const Item& item);
    /// The first item whose ground contains the point. The left edge belongs to it, the right one does not;
    /// nor does the bottom one, as pixels count from the top. Null when there is none.
    const Item* item(const QPointF& at) const;

    void swap(int first, int second) { m_list.swapItemsAt(first, second); }

    /// Begins to drag `item`, grabbed where the pointer is.
    void grab(const Item& item, double pointer);
    /// The section of the dragged item; nothing without a drag.
    std::optional<MonitorSection> dragged() const;
    /// Moves the dragged item to the pointer, or as near as the strip allows. Neighbours whose middle it has passed swap places
    /// with it; all others stand on the grid. Does nothing without a drag.
    void drag(double pointer);
    /// Ends the drag. The item stays where it is until the next `rebuild`.
    void drop() { m_drag.reset(); }

private:
    struct Drag {
        Item item;
        double grabOffset; ///< pointer less the item's left edge at the time of the grab
    };

    QList<Item> m_list;
    std::optional<Drag> m_drag;
};

} // namespace kestrum
