// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>

namespace kestrum {

/// The locale of all numbers that people see: words, digits and unit symbols follow the interface language, decimal and
/// grouping separators the user's region.
namespace TextLocale {

/// The locale of a language code as bundles and people write it, "pt-BR" or "pt_BR"; the neutral one when `code` is
/// not understood.
icu::Locale ofLanguage(const QString& code);

/// A number formatter for `language` (a code such as "de") and `region` (such as "US", may be empty).
icu::number::LocalizedNumberFormatter formatter(
    const QString& language, const QString& region, const icu::number::UnlocalizedNumberFormatter& settings);

/// The same text as Qt holds it.
QString fromUnicode(const icu::UnicodeString& text);

} // namespace TextLocale
} // namespace kestrum
