#include "Kestrum/MenuBar/MemorySection.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/AccentRow.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

MemorySection::MemorySection()
    : ItemSection(MonitorSection::memory, "Memory")
{
    add(Form::picker<MemoryReadout>("Readout",
        { Setting { Keys::memoryReadout, MemoryReadout::usage }, MeterSettings::memoryReadout,
            Keys::showMemoryPercent }));
    add(new AccentRow(AppLanguage::string("Colour"), AppLanguage::string("Memory"), Keys::memoryAccent));
}

} // namespace kestrum
