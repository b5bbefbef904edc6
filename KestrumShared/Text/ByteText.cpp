// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/ByteText.h"

#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Store/GlobalDomain.h"

#include <algorithm>
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

// The number of decimals of a steady text. The digits before the point are those of the shown value: 9.996 is shown as
// "10.0" and not as "10.00".
int steadyDecimals(double value, int most, ByteText::Counting counting)
{
    const auto reaches
        = [value](double limit, int decimals) { return std::abs(rounded(value, decimals)) >= limit; };
    if (reaches(100, std::min(most, counting == ByteText::Counting::file ? 1 : 2)))
        return 0;
    return counting == ByteText::Counting::file && reaches(10, most) ? std::min(most, 1) : most;
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

QString ByteText::Style::steady(qint64 bytes) const
{
    const double base = counting == Counting::memory ? 1024 : 1000;
    double value = double(bytes) / base;
    size_t unit = 1;
    int decimals = 0;
    for (;; value /= base, ++unit) {
        decimals = steadyDecimals(value, units[unit].decimals, counting);
        if (std::abs(rounded(value, decimals)) < base || unit + 1 == std::size(units))
            break;
    }
    return TextLocale::number(value, { units[unit].measure, decimals }, language, region);
}

} // namespace kestrum
