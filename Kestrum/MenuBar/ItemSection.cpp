#include "Kestrum/MenuBar/ItemSection.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/ItemHeader.h"
#include "KestrumShared/Settings/MeterSettings.h"

namespace kestrum {

ItemSection::ItemSection(MonitorSection section, const char* title)
{
    setHeader(new ItemHeader(section, title));
    add(Form::toggle("Show in menu bar", Setting { MeterSettings::visibilityKey(section) }));
}

} // namespace kestrum
