#include "KestrumShared/Items/StripLayout.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"

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

StripLayout StripLayout::current()
{
    return of(MeterSettings::storedOrder());
}

StripLayout StripLayout::of(const QList<MonitorSection>& order)
{
    StripLayout layout;
    Grid grid;
    for (const MonitorSection section : order) {
        Item item { section, std::nullopt, StatusMetricView::itemWidth(section) };
        if (MeterSettings::isShown(section))
            item.x = grid.place(item.width);
        layout.items.append(item);
    }
    layout.width = grid.width();
    return layout;
}

} // namespace kestrum
