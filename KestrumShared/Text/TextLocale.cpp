// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/TextLocale.h"

#include "Platform/Desktop/ToolkitTexts.h"

#include <QByteArrayView>
#include <algorithm>
#include <memory>
#include <unicode/dcfmtsym.h>
#include <unicode/localebuilder.h>
#include <unicode/locid.h>
#include <unicode/numsys.h>
#include <unicode/uloc.h>
#include <vector>

namespace kestrum {
namespace {

using icu::DecimalFormatSymbols;

// `locale` with the digits that Qt uses for `language` and `region`, so that all texts have the same digits. Short texts are
// formatted without ICU, and versions of ICU differ in the digits of Arabic outside the Arabic regions.
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

// The locale of the most common language in `region`. ICU does not know every language: for Samoan, for example, ICU would
// silently use the process's default locale, which has nothing to do with the region. In such a case, the result is another
// locale of the region, or the neutral locale if there is none.
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
    // ICU knows the separators for a language in the regions where it is spoken, such as French in Switzerland. For other
    // pairs, such as German in the USA, ICU would use the language's separators. They are replaced by the region's.
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

QString TextLocale::number(
    double value, const NumberForm& form, const QString& language, const QString& region)
{
    struct Kept {
        NumberForm form;
        QString language;
        QString region;
        icu::number::LocalizedNumberFormatter formatter;
    };
    static constexpr size_t mostKept = 64; // more than all popovers need in one language
    thread_local std::vector<Kept> kept;

    auto found = std::find_if(kept.begin(), kept.end(), [&](const Kept& one) {
        return one.form == form && one.language == language && one.region == region;
    });
    if (found == kept.end()) {
        auto settings = icu::number::NumberFormatter::with()
                            .precision(icu::number::Precision::fixedFraction(form.decimals))
                            .integerWidth(icu::number::IntegerWidth::zeroFillTo(form.leastDigits))
                            .sign(UNUM_SIGN_NEGATIVE);
        if (form.unit)
            settings = std::move(settings).unit(form.unit()).unitWidth(UNUM_UNIT_WIDTH_SHORT);
        if (kept.size() == mostKept)
            kept.clear();
        kept.push_back({ form, language, region, formatter(language, region, settings) });
        found = kept.end() - 1;
    }
    UErrorCode status = U_ZERO_ERROR;
    return fromUnicode(found->formatter.formatDouble(value, status).toString(status));
}

QString TextLocale::fromUnicode(const icu::UnicodeString& text)
{
    return QString::fromUtf16(text.getBuffer(), text.length());
}

} // namespace kestrum
