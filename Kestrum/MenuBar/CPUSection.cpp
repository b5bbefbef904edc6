#include "Kestrum/MenuBar/CPUSection.h"

#include "Kestrum/Form/Rows.h"
#include "Kestrum/MenuBar/AccentRow.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Machine/CoreTopology.h"

namespace kestrum {

CPUSection::CPUSection()
    : ItemSection(MonitorSection::cpu, "CPU")
{
    add(Form::segmented<MeterStyle>("Meter", Setting { Keys::meterStyle }));
    add(Form::picker<CPUReadout>("Readout", Setting { Keys::cpuReadout }));
    add(new AccentRow(AppLanguage::string("Colour"), AppLanguage::string("CPU"), Keys::cpuAccent));
    // Only where some cores are faster than others do their bars have a colour of their own.
    const QList<CoreTier>& tiers = CoreTopology::tiers();
    if (tiers.size() >= 2) {
        const QString title = AppLanguage::string("%@ cores", { AppLanguage::string(tiers.first().name) });
        add(new AccentRow(title, title, Keys::cpuFastCoreAccent));
    }
}

} // namespace kestrum
