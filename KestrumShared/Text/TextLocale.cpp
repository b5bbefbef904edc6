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

// The digits are the toolkit's for that language and region: versions of the library differ about Arabic outside of its own
// regions, and short texts are made without the library.
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

// The locale of most people in `region`. Where the library does not know their language, such as Samoan, it would silently
// take the process's default, which has nothing to do with the region: then it is another locale of the region, or else the
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

// That locale with the digits of `digits`: separators must fit the digits between which they stand.
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
    // Where the language is spoken in the region, its separators there are known: French in Switzerland separates in
    // another way than German. For all other pairs (German in the USA) the separators would be the language's.
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
