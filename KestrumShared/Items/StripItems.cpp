// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StripItems.h"

#include "KestrumShared/Items/StripLayout.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr double overhang = 4;

double middleOf(const StripItems::Item& item)
{
    return item.view->frame().center().x();
}

} // namespace

void StripItems::rebuild(const QList<MonitorSection>& order,
    const std::shared_ptr<const MenuBarReadings>& readings, const Appearance& appearance)
{
    m_list.clear();
    for (const StripLayout::Item& place : StripLayout::of(order, appearance).items) {
        if (!place.isShown())
            continue;
        const QRectF frame(*place.x, 0, place.width, StatusMetricView::height);
        m_list.append({ place.section, std::make_shared<StatusMetricView>(place.section, frame, readings) });
    }
    if (const Item* same = item(dragged())) {
        same->view->moveLeftEdgeTo(m_drag->item.view->frame().left());
        m_drag->item = *same;
    }
}

QList<MonitorSection> StripItems::sections() const
{
    QList<MonitorSection> sections;
    for (const Item& item : m_list)
        sections.append(item.section);
    return sections;
}

QSizeF StripItems::size() const
{
    StripLayout::Grid grid;
    for (const Item& item : m_list)
        grid.place(item.view->frame().width());
    return { grid.width(), StatusMetricView::height };
}

int StripItems::index(MonitorSection section) const
{
    for (int i = 0; i < m_list.size(); ++i) {
        if (m_list[i].section == section)
            return i;
    }
    return -1;
}

const StripItems::Item* StripItems::item(std::optional<MonitorSection> section) const
{
    const int i = section ? index(*section) : -1;
    return i < 0 ? nullptr : &m_list[i];
}

QRectF StripItems::ground(const Item& item)
{
    return item.view->frame().adjusted(-overhang, 0, overhang, 0);
}

const StripItems::Item* StripItems::item(const QPointF& at) const
{
    const auto found = std::find_if(m_list.begin(), m_list.end(), [&at](const Item& item) {
        // QRectF::contains cannot be used, because it also returns true for points on the right and bottom edges.
        const QRectF ground = StripItems::ground(item);
        return ground.left() <= at.x() && at.x() < ground.right() && ground.top() < at.y()
            && at.y() <= ground.bottom();
    });
    return found == m_list.end() ? nullptr : &*found;
}

void StripItems::grab(const Item& item, double pointer)
{
    m_drag = Drag { item, pointer - item.view->frame().left() };
}

std::optional<MonitorSection> StripItems::dragged() const
{
    return m_drag ? std::optional(m_drag->item.section) : std::nullopt;
}

void StripItems::drag(double pointer)
{
    if (!m_drag)
        return;
    StatusMetricView& dragged = *m_drag->item.view;
    const double left = pointer - m_drag->grabOffset;
    dragged.moveLeftEdgeTo(std::max(0.0, std::min(left, size().width() - dragged.frame().width())));
    const QRectF frame = dragged.frame();
    // If the dragged item's section has been hidden meanwhile, the first item is moved instead.
    const qsizetype start = std::max(0, index(m_drag->item.section));
    qsizetype i = start;
    const auto layOutOthers = [&] {
        StripLayout::Grid grid;
        for (const Item& item : std::as_const(m_list)) {
            const double place = grid.place(item.view->frame().width());
            if (item.view.get() != &dragged)
                item.view->moveLeftEdgeTo(place);
        }
    };
    const auto swapWith = [&](qsizetype neighbour) {
        m_list.swapItemsAt(i, neighbour);
        i = neighbour;
        layOutOthers();
    };
    while (i >= 1 && frame.left() < middleOf(m_list[i - 1]))
        swapWith(i - 1);
    // One call moves the item in one direction only. Without this limit, an item that takes the part of a hidden one could be
    // moved back at once.
    while (i >= start && i < m_list.size() - 1 && middleOf(m_list[i + 1]) < frame.right())
        swapWith(i + 1);
    if (i == start)
        layOutOthers();
}

} // namespace kestrum
