// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/ByteText.h"

#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Store/GlobalDomain.h"

#include <cmath>
#include <iterator>
#include <unicode/measunit.h>

namespace kestrum {
namespace {

struct Unit {
    icu::MeasureUnit (*measure)();
    int decimals;
};

// Larger units have more decimals: tenths of a kilobyte do not matter, but a hundredth of a gigabyte is ten megabytes.
constexpr Unit units[] = {
    { icu::MeasureUnit::getByte, 0 },
    { icu::MeasureUnit::getKilobyte, 0 },
    { icu::MeasureUnit::getMegabyte, 1 },
    { icu::MeasureUnit::getGigabyte, 2 },
    { icu::MeasureUnit::getTerabyte, 2 },
    { icu::MeasureUnit::getPetabyte, 2 },
};

// Rounds halves to the even neighbour, like ICU's formatter.
double rounded(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::nearbyint(value * scale) / scale;
}

} // namespace

ByteText::Style ByteText::style(Counting counting)
{
    return { counting, AppLanguage::code(), GlobalDomain::numberRegion() };
}

QString ByteText::Style::format(qint64 bytes) const
{
    const double base = counting == Counting::memory ? 1024 : 1000;
    double unitBytes = 1;
    auto shown = double(bytes);
    size_t unit = 0;
    // The rounded value selects the unit: 999,999 bytes are "1 MB", never "1000 kB". Differences of counts may be negative;
    // their unit is that of the absolute value.
    while (std::abs(shown) >= base && unit + 1 < std::size(units)) {
        ++unit;
        unitBytes *= base;
        shown = rounded(double(bytes) / unitBytes, units[unit].decimals);
    }

    // Kilobytes and larger units are shown as symbols. Bytes have no well-known symbol, so their name is used: "512 bytes".
    const auto settings = icu::number::NumberFormatter::with()
                              .unit(units[unit].measure())
                              .unitWidth(unit == 0 ? UNUM_UNIT_WIDTH_FULL_NAME : UNUM_UNIT_WIDTH_SHORT)
                              .precision(icu::number::Precision::maxFraction(units[unit].decimals));
    UErrorCode status = U_ZERO_ERROR;
    return TextLocale::fromUnicode(
        TextLocale::formatter(language, region, settings).formatDouble(shown, status).toString(status));
}

} // namespace kestrum
