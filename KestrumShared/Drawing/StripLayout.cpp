#include "KestrumShared/Drawing/StripLayout.h"

#include "KestrumShared/Drawing/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"

#include <algorithm>

namespace kestrum {

StripLayout StripLayout::current()
{
    return of(MeterSettings::storedOrder());
}

StripLayout StripLayout::of(const QList<MonitorSection>& order)
{
    StripLayout layout;
    double next = 0;
    for (const MonitorSection section : order) {
        Item item { section, std::nullopt, StatusMetricView::itemWidth(section) };
        if (MeterSettings::isShown(section)) {
            item.x = next;
            next += item.width + spacing;
        }
        layout.items.append(item);
    }
    layout.width = std::max(next - spacing, 0.0);
    return layout;
}

} // namespace kestrum
