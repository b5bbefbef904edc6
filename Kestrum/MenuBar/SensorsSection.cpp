#include "Kestrum/MenuBar/SensorsSection.h"

#include "Kestrum/Form/Rows.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/Units.h"

namespace kestrum {

SensorsSection::SensorsSection()
    : ItemSection(MonitorSection::sensors, "Sensors")
{
    add(Form::picker<SensorsReadout>("Readout", Setting { Keys::sensorsReadout }));
    Setting { Keys::temperatureUnit }.follow(this, [this](Units::TemperatureChoice) {
        setFootnote(AppLanguage::string("The readout turns amber at %@ and red at %@.",
            { Units::temperature(HeatColour::amberFrom, 0), Units::temperature(HeatColour::redFrom, 0) }));
    });
}

} // namespace kestrum
