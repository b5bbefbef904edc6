#include "KestrumShared/Text/TextLocale.h"

#include <memory>
#include <unicode/dcfmtsym.h>
#include <unicode/localebuilder.h>
#include <unicode/locid.h>
#include <unicode/numsys.h>

namespace kestrum {
namespace {

using icu::DecimalFormatSymbols;

icu::Locale textLocale(const QString& language, const QString& region)
{
    const icu::Locale locale = TextLocale::ofLanguage(language);
    if (region.isEmpty())
        return locale;
    UErrorCode status = U_ZERO_ERROR;
    const auto withRegion
        = icu::LocaleBuilder().setLocale(locale).setRegion(region.toLatin1().constData()).build(status);
    return U_SUCCESS(status) ? withRegion : locale;
}

// The locale that most people of `region` use, writing digits in the way of `digits`: separators have to fit
// the digits that they stand between.
icu::Locale regionsOwnLocale(const QString& region, const icu::Locale& digits)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale("und", region.toLatin1().constData());
    locale.addLikelySubtags(status);
    const std::unique_ptr<icu::NumberingSystem> system(icu::NumberingSystem::createInstance(digits, status));
    if (U_SUCCESS(status))
        locale.setUnicodeKeywordValue("nu", system->getName(), status);
    return locale;
}

} // namespace

icu::Locale TextLocale::ofLanguage(const QString& code)
{
    UErrorCode status = U_ZERO_ERROR;
    const QByteArray tag = QString(code).replace(QLatin1Char('_'), QLatin1Char('-')).toUtf8();
    const auto locale = icu::Locale::forLanguageTag(tag.constData(), status);
    return U_SUCCESS(status) ? locale : icu::Locale::getRoot();
}

icu::number::LocalizedNumberFormatter TextLocale::formatter(
    const QString& language, const QString& region, const icu::number::UnlocalizedNumberFormatter& settings)
{
    const icu::Locale locale = textLocale(language, region);
    if (region.isEmpty())
        return settings.locale(locale);

    UErrorCode status = U_ZERO_ERROR;
    DecimalFormatSymbols symbols(locale, status);
    // Where the language is at home in the region, it is known how it separates numbers there: French in
    // Switzerland does it in another way than German. For all other pairs (German in the USA) the separators
    // would be the language's.
    const icu::Locale known = symbols.getLocale(ULOC_VALID_LOCALE, status);
    if (U_SUCCESS(status) && region != QLatin1StringView(known.getCountry())) {
        const DecimalFormatSymbols regional(regionsOwnLocale(region, locale), status);
        if (U_SUCCESS(status)) {
            for (const auto symbol : { DecimalFormatSymbols::kDecimalSeparatorSymbol,
                     DecimalFormatSymbols::kGroupingSeparatorSymbol })
                symbols.setSymbol(symbol, regional.getConstSymbol(symbol));
        }
    }
    return settings.locale(locale).symbols(symbols);
}

QString TextLocale::fromUnicode(const icu::UnicodeString& text)
{
    return QString::fromUtf16(text.getBuffer(), text.length());
}

} // namespace kestrum
