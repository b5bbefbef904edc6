// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/Units.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Store/GlobalDomain.h"

#include <algorithm>
#include <cmath>
#include <unicode/measunit.h>

namespace kestrum {
namespace {

// ICU gives the same result for all regions, as a test checks. Asking ICU would load its tables at every start.
bool measuresInFahrenheit(const QString& region)
{
    return region == QLatin1StringView("US") || region == QLatin1StringView("LR");
}

// Whether the formatted value has only digits: it is whole, not negative, and below a thousand.
bool isOfDigitsOnly(double value, int fraction)
{
    return fraction <= 0 && value >= 0 && value < 1000 && value == std::trunc(value);
}

double shown(double celsius, Units::TemperatureUnit unit)
{
    return unit == Units::TemperatureUnit::fahrenheit ? celsius * 9 / 5 + 32 : celsius;
}

} // namespace

Units::TemperatureChoice Units::temperatureChoice()
{
    return Setting { Keys::temperatureUnit }.value();
}

Units::TemperatureUnit Units::temperatureUnit()
{
    return temperatureUnit(temperatureChoice());
}

Units::TemperatureUnit Units::temperatureUnit(TemperatureChoice choice)
{
    const bool isFahrenheit = choice == TemperatureChoice::system
        ? measuresInFahrenheit(GlobalDomain::measurementRegion())
        : choice == TemperatureChoice::fahrenheit;
    return isFahrenheit ? TemperatureUnit::fahrenheit : TemperatureUnit::celsius;
}

QString Units::degrees(double celsius)
{
    return degrees(celsius, temperatureUnit());
}

QString Units::degrees(double celsius, TemperatureUnit unit)
{
    // The integer has no negative zero: -0.4 is "0°".
    return QString::number(std::llround(shown(celsius, unit))) + QChar(u'°');
}

QString Units::temperature(double celsius, int fraction)
{
    static constexpr int maximumFraction = 20;
    const TemperatureUnit shownUnit = temperatureUnit();
    const bool isFahrenheit = shownUnit == TemperatureUnit::fahrenheit;
    // ICU's tables of numbers and units take a tenth of the window's memory, and the first page shows whole degrees only.
    // For these, the program's own translations contain the unit; a test compares them with ICU. Canada is the only region
    // that writes units in another way than other regions of its languages.
    const QString region = GlobalDomain::numberRegion();
    const double value = shown(celsius, shownUnit);
    if (isOfDigitsOnly(value, fraction) && region != QLatin1StringView("CA")) {
        const QString digits = ToolkitTexts::locale(AppLanguage::code()).toString(int(value));
        return isFahrenheit ? AppLanguage::string("%@°F", { digits })
                            : AppLanguage::string("%@°C", { digits });
    }
    const auto unit = isFahrenheit ? icu::MeasureUnit::getFahrenheit() : icu::MeasureUnit::getCelsius();
    const auto settings
        = icu::number::NumberFormatter::with()
              .unit(unit)
              .unitWidth(UNUM_UNIT_WIDTH_SHORT)
              .precision(icu::number::Precision::fixedFraction(std::clamp(fraction, 0, maximumFraction)))
              .sign(UNUM_SIGN_NEGATIVE);
    UErrorCode status = U_ZERO_ERROR;
    // Non-breaking spaces: no line break between a number and its unit, nor within a unit, as in Polish.
    return TextLocale::fromUnicode(TextLocale::formatter(AppLanguage::code(), region, settings)
                                       .formatDouble(value, status)
                                       .toString(status))
        .replace(u' ', QChar::Nbsp);
}

} // namespace kestrum
