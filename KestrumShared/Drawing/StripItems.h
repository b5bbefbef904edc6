#pragma once

#include "KestrumShared/Drawing/StatusMetricView.h"

#include <QList>
#include <memory>

namespace kestrum {

/// The items of a strip, left to right, and the rules by which they stand and make room for one that is
/// dragged. All coordinates are points from the bottom left of the strip.
class StripItems {
public:
    struct Item {
        MonitorSection section;
        std::shared_ptr<StatusMetricView> view;
    };

    /// Makes the visible ones of `order` anew, each on its place of the grid. The readings are held weakly.
    void rebuild(const QList<MonitorSection>& order, const std::shared_ptr<const MenuBarReadings>& readings);

    const QList<Item>& list() const { return m_list; }
    QList<MonitorSection> sections() const;
    /// Of all items and the gaps between them.
    QSizeF size() const;

    /// -1 and null for a section that is not shown.
    int index(MonitorSection section) const;
    const Item* item(MonitorSection section) const;

    /// The item's frame with what belongs to it at its left and right.
    static QRectF ground(const Item& item);
    /// The first item whose ground contains the point. The left edge belongs to it, the right one does not;
    /// nor does the bottom one, as pixels count from the top. Null when there is none.
    const Item* item(const QPointF& at) const;

    void swap(int first, int second) { m_list.swapItemsAt(first, second); }

    /// Puts the left edge of `dragged`, the item of `section`, to `left` or as near as the strip allows;
    /// neighbours whose middle it has passed change places with it, and all others stand on the grid.
    void drag(MonitorSection section, StatusMetricView& dragged, double left);

private:
    QList<Item> m_list;
};

} // namespace kestrum
