#include "KestrumAgent/Panel/ItemText.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/Title.h"

namespace kestrum {

namespace {

/// As the settings' page calls it: storage is a "Disk" there, and not what its symbol says.
QString name(MonitorSection section)
{
    return section == MonitorSection::storage ? AppLanguage::string("Disk")
                                              : StatusMetricView::description(section);
}

/// What is measured, in the words in which it was chosen; and the value, nothing where the reading is absent.
struct Measured {
    QString what;
    std::optional<QString> value;
};

/// Every meter shows the share in use, also where no readout is chosen.
template <class Readout> Measured measured(Readout readout, std::optional<QString> text, double share)
{
    if (readout == Readout::off)
        return { title(Readout::usage), StatusMetricView::percentText(share) };
    return { title(readout), std::move(text) };
}

Measured measured(MonitorSection section, const MenuBarReadings& readings)
{
    const std::optional<QString> text = StatusMetricView::readoutText(section, readings);
    switch (section) {
    case MonitorSection::cpu:
        return measured(Setting(Keys::cpuReadout).value(), text, readings.cpuUsage());
    case MonitorSection::memory:
        return measured(MeterSettings::memoryReadout(), text, readings.memoryUsage());
    case MonitorSection::storage:
        return measured(MeterSettings::storageReadout(), text, readings.storageUsage());
    case MonitorSection::sensors:
        break;
    }
    const SensorsReadout readout = Setting(Keys::sensorsReadout).value();
    if (readout == SensorsReadout::off)
        return {};
    // The item has no room for this unit.
    if (readout == SensorsReadout::fan && text)
        return { title(readout), AppLanguage::string("%@ rpm", { *text }) };
    return { title(readout), text };
}

} // namespace

QString itemText(MonitorSection section, const MenuBarReadings& readings)
{
    const auto [what, value] = measured(section, readings);
    if (what.isEmpty())
        return name(section);
    return AppLanguage::string(
        "%@ — %@: %@", { name(section), what, value.value_or(AppLanguage::string("no sensor for this")) });
}

} // namespace kestrum
