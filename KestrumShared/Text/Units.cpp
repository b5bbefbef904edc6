#include "KestrumShared/Text/Units.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/GlobalDomain.h"
#include "Platform/ToolkitTexts.h"

#include <algorithm>
#include <cmath>
#include <unicode/measunit.h>
#include <unicode/ulocdata.h>

namespace kestrum {
namespace {

// Asked for with every item that is drawn, and nearly always for the same region: the last answer is kept.
Units::TemperatureUnit unitOf(const QString& region)
{
    struct Answer {
        QString region;
        Units::TemperatureUnit unit = Units::TemperatureUnit::celsius;
    };
    // Of no region nothing is known. (The formatter's library would take it for the USA.)
    thread_local Answer last;
    if (last.region != region) {
        UErrorCode status = U_ZERO_ERROR;
        const auto system = ulocdata_getMeasurementSystem(("und_" + region.toLatin1()).constData(), &status);
        const bool isUS = !region.isEmpty() && U_SUCCESS(status) && system == UMS_US;
        last = { region, isUS ? Units::TemperatureUnit::fahrenheit : Units::TemperatureUnit::celsius };
    }
    return last.unit;
}

// Below a thousand, and no sign: nothing but digits.
bool isOfDigitsOnly(double value, int fraction)
{
    return fraction <= 0 && value >= 0 && value < 1000 && value == std::trunc(value);
}

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
    return unitOf(GlobalDomain::measurementRegion());
}

QString Units::degrees(double celsius)
{
    // A whole number has no negative zero: -0.4 is "0°".
    return QString::number(std::llround(shown(celsius))) + QChar(u'°');
}

QString Units::temperature(double celsius, int fraction)
{
    static constexpr int maximumFraction = 20;
    const bool isFahrenheit = temperatureUnit() == TemperatureUnit::fahrenheit;
    // The tables of all the world's numbers and units are a tenth of the window's memory, and the page that it opens with has
    // whole degrees only. Our translations have the words for these; a test compares the two.
    if (const double value = shown(celsius); isOfDigitsOnly(value, fraction)) {
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
    return TextLocale::fromUnicode(
        TextLocale::formatter(AppLanguage::code(), GlobalDomain::numberRegion(), settings)
            .formatDouble(shown(celsius), status)
            .toString(status));
}

} // namespace kestrum
