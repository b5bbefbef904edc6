// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/Units.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Store/GlobalDomain.h"

#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

// ICU is not used, because it would load its tables at every start. A test checks that ICU agrees for all regions.
bool measuresInFahrenheit(const QString& region)
{
    return region == QLatin1StringView("US") || region == QLatin1StringView("LR");
}

// Whether the formatted value has neither a sign nor separators: it is whole, not negative, and below a thousand.
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
    // Rounded to an integer, because an integer has no negative zero: -0.4 is shown as "0°".
    return QString::number(std::llround(shown(celsius, unit))) + QChar(u'°');
}

QString Units::temperature(double celsius, int fraction)
{
    return temperature(celsius, fraction, temperatureUnit());
}

QString Units::temperature(double celsius, int fraction, TemperatureUnit shownUnit)
{
    static constexpr int maximumFraction = 20;
    const bool isFahrenheit = shownUnit == TemperatureUnit::fahrenheit;
    // Whole degrees are formatted without ICU: its tables would take a tenth of the application's memory, and the first page
    // shows only whole degrees. The program's own translations contain the unit; a test compares them with ICU. Canada is
    // left to ICU: only there, units are written in another way than in other regions with the same language.
    const QString region = GlobalDomain::numberRegion();
    // Whole degrees are rounded as `degrees` does it, so that an item and its popover show the same.
    const double value = fraction <= 0 ? std::round(shown(celsius, shownUnit)) : shown(celsius, shownUnit);
    if (isOfDigitsOnly(value, fraction) && region != QLatin1StringView("CA")) {
        const QString digits = ToolkitTexts::locale(AppLanguage::code()).toString(int(value));
        return isFahrenheit ? AppLanguage::string("%@°F", { digits })
                            : AppLanguage::string("%@°C", { digits });
    }
    const auto unit = isFahrenheit ? icu::MeasureUnit::getFahrenheit : icu::MeasureUnit::getCelsius;
    // Non-breaking spaces prevent line breaks between a number and its unit, and within units that contain spaces.
    return TextLocale::number(
        value, { unit, std::clamp(fraction, 0, maximumFraction) }, AppLanguage::code(), region)
        .replace(u' ', QChar::Nbsp);
}

} // namespace kestrum
