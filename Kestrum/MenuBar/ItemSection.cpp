#include "Kestrum/MenuBar/ItemSection.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/ItemHeader.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

ItemSection::ItemSection(MonitorSection section, const char* title)
{
    setHeader(new ItemHeader(section, title));
    // Several sections have a "Readout": assistive programs say of which.
    setAccessibleName(AppLanguage::string(title));
    add(Form::toggle("Show in menu bar", Setting { MeterSettings::visibilityKey(section) }));
}

} // namespace kestrum
