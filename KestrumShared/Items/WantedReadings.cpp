// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/WantedReadings.h"

#include "KestrumShared/Items/SectionItem.h"

namespace kestrum {

WantedReadings WantedReadings::of(const QList<MonitorSection>& sections, const Appearance& appearance)
{
    WantedReadings wanted;
    for (const MonitorSection section : sections) {
        const SectionItem& item = SectionItem::of(section);
        for (const ItemReadout& drawn : { item.shownByMeter, item.readout(appearance) }) {
            if (drawn.want)
                drawn.want(wanted);
        }
    }
    return wanted;
}

} // namespace kestrum
