// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/TextLocale.h"

#include "Platform/Desktop/ToolkitTexts.h"

#include <QByteArrayView>
#include <memory>
#include <unicode/dcfmtsym.h>
#include <unicode/localebuilder.h>
#include <unicode/locid.h>
#include <unicode/numsys.h>
#include <unicode/uloc.h>

namespace kestrum {
namespace {

using icu::DecimalFormatSymbols;

// `locale` with the digits that Qt uses for that language and region. Versions of ICU differ in the digits of Arabic outside
// its own regions, and short texts are formatted without ICU. With Qt's digits, all texts agree.
icu::Locale withToolkitsDigits(icu::Locale locale, const QString& language, const QString& region)
{
    const QString zero = ToolkitTexts::locale(language, region).zeroDigit();
    UErrorCode status = U_ZERO_ERROR;
    if (zero == u"0")
        locale.setUnicodeKeywordValue("nu", "latn", status);
    else if (zero == u"\u0660")
        locale.setUnicodeKeywordValue("nu", "arab", status);
    return locale;
}

icu::Locale textLocale(const QString& language, const QString& region)
{
    const icu::Locale locale = TextLocale::ofLanguage(language);
    if (region.isEmpty())
        return withToolkitsDigits(locale, language, region);
    UErrorCode status = U_ZERO_ERROR;
    const auto withRegion
        = icu::LocaleBuilder().setLocale(locale).setRegion(region.toLatin1().constData()).build(status);
    return withToolkitsDigits(U_SUCCESS(status) ? withRegion : locale, language, region);
}

// The locale of most people in `region`. If ICU does not know their language, such as Samoan, it would silently use the
// process's default locale, which has nothing to do with the region. Then this gives another locale of the region, else the
// neutral one.
icu::Locale localeUsedIn(const QByteArray& region)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale likely("und", region.constData());
    likely.addLikelySubtags(status);
    const icu::Locale known = DecimalFormatSymbols(likely, status).getLocale(ULOC_VALID_LOCALE, status);
    if (U_SUCCESS(status) && qstrcmp(known.getLanguage(), likely.getLanguage()) == 0)
        return likely;
    const QByteArray ofRegion = '_' + region;
    for (int32_t i = 0; i < uloc_countAvailable(); ++i) {
        const QByteArrayView name(uloc_getAvailable(i));
        if (name.endsWith(ofRegion))
            return icu::Locale(name.data());
    }
    return icu::Locale::getRoot();
}

// `localeUsedIn(region)` with the digits of the locale `digits`, because separators must fit the digits.
icu::Locale regionsOwnLocale(const QString& region, const icu::Locale& digits)
{
    icu::Locale locale = localeUsedIn(region.toLatin1());
    UErrorCode status = U_ZERO_ERROR;
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
    // If the language is spoken in the region, ICU knows the separators of both: French in Switzerland has other separators
    // than German there. For all other pairs, such as German in the USA, ICU would use the language's separators, so they
    // are replaced by the region's.
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
