#include "Kestrum/MenuBar/SensorsSection.h"

#include "Kestrum/Form/Rows.h"
#include "KestrumShared/Text/AppLanguage.h"

namespace kestrum {

namespace {

// In degrees Celsius.
constexpr double amber = 85;
constexpr double red = 95;

} // namespace

SensorsSection::SensorsSection()
    : ItemSection(MonitorSection::sensors, "Sensors")
{
    add(Form::picker<SensorsReadout>("Readout", Setting { Keys::sensorsReadout }));
    // The unit may be another one at any time.
    follow(SharedSettings::store(), this, [this] {
        setFootnote(AppLanguage::string("The readout turns amber at %@ and red at %@.",
            { Units::temperature(amber, 0), Units::temperature(red, 0) }));
    });
}

} // namespace kestrum
