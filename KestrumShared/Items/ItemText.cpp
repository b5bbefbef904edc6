// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemText.h"

#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

QString itemText(MonitorSection section, const MenuBarReadings& readings, const Appearance& appearance)
{
    const SectionItem& item = SectionItem::of(section);
    const ItemReadout chosen = item.readout(appearance);
    const ItemReadout& said = chosen.kind ? chosen : item.shownByMeter;
    if (!said.kind)
        return item.name();
    std::optional<QString> text = said.text(readings, appearance);
    if (text && said.kind->said)
        text = said.kind->said(*text);
    return AppLanguage::string("%@ — %@: %@",
        { item.name(), AppLanguage::string(said.title),
            text.value_or(AppLanguage::string("no sensor for this")) });
}

} // namespace kestrum
