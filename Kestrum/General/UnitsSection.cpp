#include "Kestrum/General/UnitsSection.h"

#include "Kestrum/Form/Rows.h"

namespace kestrum {

UnitsSection::UnitsSection()
    : Card(
        "Units", { Form::picker<Units::TemperatureChoice>("Temperature", Setting { Keys::temperatureUnit }) })
{
}

} // namespace kestrum
