#include "KestrumShared/Text/Units.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/GlobalDomain.h"

#include <algorithm>
#include <cmath>
#include <unicode/measunit.h>
#include <unicode/ulocdata.h>

namespace kestrum {
namespace {

double shown(double celsius)
{
    return Units::temperatureUnit() == Units::TemperatureUnit::fahrenheit ? celsius * 9 / 5 + 32 : celsius;
}

} // namespace

Units::TemperatureChoice Units::temperatureChoice()
{
    return Setting { Keys::temperatureUnit }.value();
}

Units::TemperatureUnit Units::temperatureUnit()
{
    switch (temperatureChoice()) {
    case TemperatureChoice::celsius:
        return TemperatureUnit::celsius;
    case TemperatureChoice::fahrenheit:
        return TemperatureUnit::fahrenheit;
    case TemperatureChoice::system:
        break;
    }
    const QString region = GlobalDomain::measurementRegion();
    if (region.isEmpty())
        return TemperatureUnit::celsius;
    UErrorCode status = U_ZERO_ERROR;
    const auto system = ulocdata_getMeasurementSystem(("und_" + region.toLatin1()).constData(), &status);
    return U_SUCCESS(status) && system == UMS_US ? TemperatureUnit::fahrenheit : TemperatureUnit::celsius;
}

QString Units::degrees(double celsius)
{
    // A whole number has no negative zero: -0.4 is "0°".
    return QString::number(std::llround(shown(celsius))) + QChar(u'°');
}

QString Units::temperature(double celsius, int fraction)
{
    static constexpr int maximumFraction = 20;
    const auto unit = temperatureUnit() == TemperatureUnit::fahrenheit ? icu::MeasureUnit::getFahrenheit()
                                                                       : icu::MeasureUnit::getCelsius();
    const auto settings
        = icu::number::NumberFormatter::with()
              .unit(unit)
              .unitWidth(UNUM_UNIT_WIDTH_SHORT)
              .precision(icu::number::Precision::fixedFraction(std::clamp(fraction, 0, maximumFraction)))
              .sign(UNUM_SIGN_NEGATIVE);
    UErrorCode status = U_ZERO_ERROR;
    return TextLocale::fromUnicode(
        TextLocale::formatter(AppLanguage::code(), GlobalDomain::numberRegion(), settings)
            .formatDouble(shown(celsius), status)
            .toString(status));
}

} // namespace kestrum
