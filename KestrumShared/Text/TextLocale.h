// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <unicode/locid.h>
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

QString fromUnicode(const icu::UnicodeString& text);

} // namespace TextLocale
} // namespace kestrum
