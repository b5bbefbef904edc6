// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>

namespace kestrum {

/// Locales for displayed numbers. Words, digits and unit symbols follow the interface language. Decimal and grouping
/// separators follow the user's region.
namespace TextLocale {

/// The locale of a language code, written as "pt-BR" or "pt_BR"; the neutral locale when `code` is not understood.
icu::Locale ofLanguage(const QString& code);

/// A number formatter for `language` (a code such as "de") and `region` (such as "US"; may be empty).
icu::number::LocalizedNumberFormatter formatter(
    const QString& language, const QString& region, const icu::number::UnlocalizedNumberFormatter& settings);

/// How a number is written: with exactly so many decimals and at least so many digits before them, and with the unit's short
/// symbol, if there is a unit.
struct NumberForm {
    icu::MeasureUnit (*unit)() = nullptr;
    int decimals = 0;
    int leastDigits = 1;
    bool operator==(const NumberForm&) const = default;
};

/// `value` in `form`, with no sign of a negative zero. For texts that change often: making a formatter takes hundreds of times as
/// long as using it, so each thread keeps the formatters that it has used.
QString number(double value, const NumberForm& form, const QString& language, const QString& region);

QString fromUnicode(const icu::UnicodeString& text);

} // namespace TextLocale
} // namespace kestrum
