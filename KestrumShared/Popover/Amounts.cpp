// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/Amounts.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Store/GlobalDomain.h"

#include <QDateTime>
#include <QHash>
#include <algorithm>
#include <cmath>
#include <memory>
#include <unicode/dcfmtsym.h>
#include <unicode/listformatter.h>

namespace kestrum {
namespace {

using icu::MeasureUnit;

// Every shown value is finite and fits a 64-bit integer.
double limited(double value, double least = 0)
{
    static constexpr double most = 1e18;
    return std::isfinite(value) ? std::clamp(value, least, most) : 0;
}

// The sign for percent. The mark of direction in Arabic's sign is left out: it would be copied with the text.
QString percentSign(const QString& language, const QString& region)
{
    static constexpr QChar arabicMark(u'\u061C');
    return ToolkitTexts::locale(language, region).percent().remove(arabicMark);
}

// Lists parts of a duration as `language` does: "3 d 4 h".
QString joined(const QString& first, const QString& second, const QString& language)
{
    struct Kept {
        QString language;
        std::unique_ptr<icu::ListFormatter> formatter;
    };
    thread_local Kept kept;
    UErrorCode status = U_ZERO_ERROR;
    if (!kept.formatter || kept.language != language) {
        kept.language = language;
        kept.formatter.reset(icu::ListFormatter::createInstance(
            TextLocale::ofLanguage(language), ULISTFMT_TYPE_UNITS, ULISTFMT_WIDTH_NARROW, status));
    }
    if (!kept.formatter || U_FAILURE(status))
        return first + QChar::Nbsp + second;
    const icu::UnicodeString parts[] = { reinterpret_cast<const char16_t*>(first.utf16()),
        reinterpret_cast<const char16_t*>(second.utf16()) };
    icu::UnicodeString list;
    return TextLocale::fromUnicode(kept.formatter->format(parts, 2, list, status));
}

} // namespace

Amounts::Amounts()
    : Amounts(SharedSettings::store().snapshot())
{
}

Amounts::Amounts(const SettingsSnapshot& settings)
    : m_language(AppLanguage::code())
    , m_region(GlobalDomain::numberRegion())
    , m_unit(Units::temperatureUnit(valueIn(settings, Keys::temperatureUnit)))
{
}

QString Amounts::percent(double fraction) const
{
    return number(std::round(100 * limited(fraction)), 0) + QChar::Nbsp + percentSign(m_language, m_region);
}

QString Amounts::memory(double bytes) const
{
    return m_memory.steady(qint64(limited(bytes)));
}

QString Amounts::space(double bytes) const
{
    return m_file.steady(qint64(limited(bytes)));
}

QString Amounts::wholeMemory(double bytes) const
{
    return m_memory.format(qint64(limited(bytes)));
}

QString Amounts::rate(double bytesPerSecond) const
{
    return rate(space(bytesPerSecond));
}

QString Amounts::scale(double bytesPerSecond) const
{
    return rate(m_file.format(qint64(limited(bytesPerSecond))));
}

QString Amounts::rate(const QString& bytes) const
{
    return AppLanguage::string("%1/s", { bytes });
}

QString Amounts::temperature(double celsius) const
{
    return Units::temperature(limited(celsius, -1000), 0, m_unit);
}

QString Amounts::watts(double watts) const
{
    return TextLocale::number(std::round(limited(watts)), { MeasureUnit::getWatt }, m_language, m_region);
}

QString Amounts::clock(double hertz) const
{
    return TextLocale::number(limited(hertz) / 1e9, { MeasureUnit::getGigahertz, 2 }, m_language, m_region);
}

QString Amounts::count(double number) const
{
    return this->number(number, 0);
}

QString Amounts::number(double number, int decimals) const
{
    return TextLocale::number(limited(number), { nullptr, decimals }, m_language, m_region);
}

QString Amounts::duration(std::chrono::seconds time) const
{
    using namespace std::chrono;
    // English abbreviations are long and have plurals ("3 days, 4 hr"). The international symbols, which the neutral locale
    // has, are known to every reader of English. The neutral locale has no regions.
    const bool isEnglish = m_language.startsWith(QLatin1StringView("en"));
    const auto part = [&](qint64 amount, MeasureUnit (*unit)()) {
        return TextLocale::number(double(amount), { unit }, isEnglish ? QStringLiteral("und") : m_language,
            isEnglish ? QString() : m_region);
    };
    const qint64 total = std::max<qint64>(0, duration_cast<minutes>(time).count());
    const qint64 days = total / (24 * 60);
    const qint64 hours = total / 60 % 24;
    const qint64 minutes = total % 60;
    const auto both = [&](const QString& first, qint64 amount, MeasureUnit (*unit)()) {
        return amount > 0 ? joined(first, part(amount, unit), m_language) : first;
    };
    if (days > 0)
        return both(part(days, MeasureUnit::getDay), hours, MeasureUnit::getHour);
    if (hours > 0)
        return both(part(hours, MeasureUnit::getHour), minutes, MeasureUnit::getMinute);
    return part(minutes, MeasureUnit::getMinute);
}

QString Amounts::estimate(std::chrono::minutes time) const
{
    static constexpr std::chrono::minutes step { 5 };
    return duration(time < std::chrono::hours(1) ? time : (time + step / 2) / step * step);
}

QString Amounts::age(double seconds) const
{
    const auto whole = qint64(std::round(limited(seconds)));
    const qint64 minutes = whole / 60;
    return number(double(minutes), 0) + u':'
        + TextLocale::number(double(whole % 60), { nullptr, 0, 2 }, m_language, m_region);
}

QString Amounts::moment(std::chrono::system_clock::time_point time) const
{
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
    const QLocale locale = ToolkitTexts::locale(m_language, m_region);
    return moment.date() == QDate::currentDate() ? locale.toString(moment.time(), QLocale::ShortFormat)
                                                 : locale.toString(moment.date(), QLocale::ShortFormat);
}

} // namespace kestrum
