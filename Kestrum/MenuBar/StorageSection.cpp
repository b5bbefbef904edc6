#include "Kestrum/MenuBar/StorageSection.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/AccentRow.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

StorageSection::StorageSection()
    : ItemSection(MonitorSection::storage, "Disk")
{
    add(Form::picker<StorageReadout>("Readout",
        { Setting { Keys::storageReadout, StorageReadout::usage }, MeterSettings::storageReadout,
            Keys::showMemoryPercent }));
    add(new AccentRow(AppLanguage::string("Colour"), AppLanguage::string("Disk"), Keys::storageAccent));
}

} // namespace kestrum
