// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/AppLanguage.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Store/GlobalDomain.h"
#include "Platform/Store/UserDefaults.h"

#include <QJsonArray>
#include <QLocale>
#include <algorithm>
#include <iterator>
#include <memory>
#include <unicode/localematcher.h>
#include <unicode/locdspnm.h>
#include <unicode/locid.h>
#include <unicode/stringoptions.h>
#include <unicode/uloc.h>
#include <vector>

namespace kestrum {
namespace {

constexpr char processLanguagesKey[] = "AppleLanguages";

QString launched;

QString developmentLanguage()
{
    return Bundle::main().developmentLocalization().value_or(QStringLiteral("en"));
}

// Finds `wanted` in `shipped` without ICU, whose matching loads tables of all languages and would slow every start down.
// Returns `wanted`, or the language of `wanted` without the region if `shipped` has no other form of this language and both
// codes have the same script. Otherwise empty: ICU's matching is then needed.
QString plainMatch(const QStringList& shipped, const QString& wanted)
{
    if (shipped.contains(wanted))
        return wanted;
    const QStringList parts = wanted.split(u'-');
    const QString& language = parts.constFirst();
    const auto isFormOf = [&language](const QString& code) {
        return code.startsWith(language + u'-') || code.startsWith(language + u'_');
    };
    const bool isLanguageAndRegion = parts.size() == 2 && parts.constLast().size() == 2;
    if (!isLanguageAndRegion || !shipped.contains(language)
        || std::any_of(shipped.begin(), shipped.end(), isFormOf)
        || QLocale(wanted).script() != QLocale(language).script())
        return {};
    return language;
}

// The best match for the languages `wanted` in `shipped`; empty when no code is close.
QString bestMatch(const QStringList& shipped, const QStringList& wanted)
{
    if (const QString plain = plainMatch(shipped, wanted.constFirst()); !plain.isEmpty())
        return plain;
    UErrorCode status = U_ZERO_ERROR;
    icu::LocaleMatcher::Builder builder;
    for (const QString& code : shipped)
        builder.addSupportedLocale(TextLocale::ofLanguage(code));
    const icu::LocaleMatcher matcher = builder.build(status);

    std::vector<icu::Locale> desired;
    for (const QString& code : wanted)
        desired.push_back(TextLocale::ofLanguage(code));
    icu::Locale::RangeIterator<std::vector<icu::Locale>::const_iterator> iterator(
        desired.cbegin(), desired.cend());
    const auto result = matcher.getBestMatchResult(iterator, status);
    // Without a match, the index is invalid, but the result's locale is the first one of the list. So the index is used.
    return U_SUCCESS(status) ? shipped.value(result.getSupportedIndex()) : QString();
}

// Like `bestMatch`, but caches the last result with its arguments: matching is too slow for a page with many texts.
QString preferred(const QStringList& shipped, const QStringList& wanted)
{
    struct Match {
        QStringList shipped;
        QStringList wanted;
        QString code;
    };
    thread_local Match last;
    if (last.shipped != shipped || last.wanted != wanted)
        last = { shipped, wanted, bestMatch(shipped, wanted) };
    return last.code;
}

// The language's name in that language, each word with a capital: "Deutsch", "Norsk Bokmål", "日本語".
QString ownName(const QString& code)
{
    const icu::Locale locale = TextLocale::ofLanguage(code);
    UErrorCode status = U_ZERO_ERROR;
    UChar language[256];
    uloc_getDisplayLanguage(
        locale.getName(), locale.getName(), language, int32_t(std::size(language)), &status);
    // The warning means that ICU does not know the language's own name. The result is then the code, or a name in the
    // session's language.
    if (status == U_USING_DEFAULT_WARNING)
        return code;
    // With dialect names, a name is "简体中文" instead of "中文（简体）".
    const std::unique_ptr<icu::LocaleDisplayNames> names(
        icu::LocaleDisplayNames::createInstance(locale, ULDN_DIALECT_NAMES));
    icu::UnicodeString name;
    names->localeDisplayName(locale, name);
    // Without the option, ICU would change capitals inside a name ("isiZulu").
    name.toTitle(nullptr, locale, U_TITLECASE_NO_LOWERCASE);
    return TextLocale::fromUnicode(name);
}

} // namespace

QString AppLanguage::choice()
{
    static constexpr char override[] = "KESTRUM_LANGUAGE";
    if (qEnvironmentVariableIsSet(override))
        return QString::fromUtf8(qgetenv(override));
    return Setting { Keys::language }.value();
}

QString AppLanguage::code()
{
    const QString wish = choice();
    const QStringList languages = shipped();
    if (wish != QLatin1StringView(systemChoice) && languages.contains(wish))
        return wish;
    const QString match = preferred(languages, systemLanguages());
    return match.isEmpty() ? developmentLanguage() : match;
}

QString AppLanguage::launchedCode()
{
    return launched;
}

void AppLanguage::recordLaunchedCode()
{
    launched = code();
}

QString AppLanguage::string(const char* key)
{
    return string(QString::fromUtf8(key));
}

QString AppLanguage::string(const QString& key)
{
    const QString language = code();
    if (language == developmentLanguage())
        return key;
    return Bundle::main().localizedString(key, language);
}

QString AppLanguage::string(const char* key, const QStringList& values)
{
    const QString pattern = string(key);
    QString text;
    qsizetype next = 0;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const char16_t mark = pattern[i] == u'%' && i + 1 < pattern.size() ? pattern[i + 1].unicode() : u'\0';
        const qsizetype place = mark == u'@' ? next++ : mark >= u'1' && mark <= u'9' ? mark - u'1' : -1;
        if (place >= 0 && place < values.size()) {
            text += values[place];
            ++i;
        } else {
            text += pattern[i];
        }
    }
    return text;
}

QStringList AppLanguage::shipped()
{
    const QString development = developmentLanguage();
    QStringList result { development };
    for (const QString& name : Bundle::main().localizations()) {
        if (name != QLatin1StringView("Base") && name != development)
            result.append(name);
    }
    return result;
}

QStringList AppLanguage::systemLanguages()
{
    const QStringList languages = GlobalDomain::languages();
    return languages.isEmpty() ? QStringList { QStringLiteral("en") } : languages;
}

QList<std::pair<QString, QString>> AppLanguage::available()
{
    QList<std::pair<QString, QString>> result;
    for (const QString& code : shipped())
        result.append({ code, ownName(code) });
    std::stable_sort(result.begin(), result.end(),
        [](const auto& left, const auto& right) { return left.second < right.second; });
    return result;
}

void AppLanguage::applyChoiceToProcessDefaults()
{
    const QString wish = choice();
    auto& defaults = UserDefaults::standard();
    if (wish == QLatin1StringView(systemChoice) || !shipped().contains(wish)) {
        defaults.remove(processLanguagesKey);
        return;
    }
    QStringList languages = systemLanguages();
    languages.removeAll(wish);
    languages.prepend(wish);
    defaults.set(processLanguagesKey, QJsonArray::fromStringList(languages));
}

bool AppLanguage::processIsStale()
{
    return !launched.isEmpty() && code() != launched;
}

} // namespace kestrum
