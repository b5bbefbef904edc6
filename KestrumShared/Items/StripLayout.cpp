// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StripLayout.h"

#include "KestrumShared/Items/StatusMetricView.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr double spacing = 8;

} // namespace

double StripLayout::Grid::place(double itemWidth)
{
    const double left = m_next;
    m_next += itemWidth + spacing;
    return left;
}

double StripLayout::Grid::width() const
{
    return std::max(m_next - spacing, 0.0);
}

StripLayout StripLayout::current(const Appearance& appearance)
{
    return of(MeterSettings::storedOrder(appearance.settings), appearance);
}

StripLayout StripLayout::of(const QList<MonitorSection>& order, const Appearance& appearance)
{
    StripLayout layout;
    Grid grid;
    for (const MonitorSection section : order) {
        Item item { section, std::nullopt, StatusMetricView::itemWidth(section, appearance) };
        if (MeterSettings::isShown(section, appearance.settings))
            item.x = grid.place(item.width);
        layout.items.append(item);
    }
    layout.width = grid.width();
    return layout;
}

} // namespace kestrum
