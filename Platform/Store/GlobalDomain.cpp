// SPDX-License-Identifier: MIT
#include "Platform/Store/GlobalDomain.h"

#include <QByteArray>
#include <QList>
#include <algorithm>
#include <initializer_list>

// Locale names are "language[_REGION][.encoding][@modifier]", such as "sr_RS.UTF-8@latin". The names come from the environment
// and may be invalid. Invalid names are skipped.

namespace kestrum {
namespace {

struct LocaleName {
    QByteArray language;
    QByteArray script;
    QByteArray region;
};

// No user lists this many languages. The limit bounds the work if the variable is very long.
constexpr int maximumLanguages = 32;

bool isLetters(const QByteArray& text, qsizetype length)
{
    return text.size() == length && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    });
}

bool isRegion(const QByteArray& part)
{
    return isLetters(part, 2) || (part.size() == 3 && std::all_of(part.begin(), part.end(), [](char c) {
        return c >= '0' && c <= '9';
    }));
}

QByteArray scriptOfModifier(const QByteArray& modifier)
{
    if (modifier == "latin" || modifier == "iqtelif")
        return "Latn";
    if (modifier == "cyrillic")
        return "Cyrl";
    if (modifier == "devanagari")
        return "Deva";
    return {};
}

QByteArray upTo(const QByteArray& text, char end)
{
    const qsizetype position = text.indexOf(end);
    return position < 0 ? text : text.left(position);
}

LocaleName parsed(const QByteArray& name)
{
    LocaleName result;
    const QByteArray withoutModifier = upTo(name, '@');
    result.script = scriptOfModifier(name.mid(withoutModifier.size() + 1));
    QList<QByteArray> parts = upTo(withoutModifier, '.').replace('-', '_').split('_');

    if (!isLetters(parts.constFirst(), 2) && !isLetters(parts.constFirst(), 3))
        return {};
    result.language = parts.takeFirst().toLower();
    // Locale names of the C library contain no script, but some users write "zh_Hans_CN".
    if (!parts.isEmpty() && isLetters(parts.constFirst(), 4)) {
        const QByteArray script = parts.takeFirst().toLower();
        result.script = script.left(1).toUpper() + script.mid(1);
    }
    if (!parts.isEmpty() && isRegion(parts.constFirst()))
        result.region = parts.constFirst().toUpper();
    return result;
}

// Whether `name` is empty or stands for the "C" locale. "C.UTF-8" is "C" with an encoding.
bool namesNoLanguage(const QByteArray& name)
{
    const QByteArray base = upTo(name, '.');
    return base.isEmpty() || base == "C" || base == "POSIX";
}

// The value of the first variable that is not empty; empty if all are empty.
QByteArray firstSet(std::initializer_list<const char*> variables)
{
    for (const char* variable : variables) {
        if (const QByteArray value = qgetenv(variable); !value.isEmpty())
            return value;
    }
    return {};
}

QStringList codesOf(const QByteArray& list)
{
    QStringList result;
    for (const QByteArray& name : list.split(':')) {
        if (name.isEmpty())
            continue;
        // "C" means untranslated texts. The user prefers these to the languages after "C", so the list ends here.
        if (namesNoLanguage(name) || result.size() == maximumLanguages)
            break;
        const LocaleName locale = parsed(name);
        if (locale.language.isEmpty())
            continue;
        QByteArray code = locale.language;
        for (const QByteArray& part : { locale.script, locale.region }) {
            if (!part.isEmpty())
                code += '-' + part;
        }
        if (const QString text = QString::fromLatin1(code); !result.contains(text))
            result.append(text);
    }
    return result;
}

} // namespace

QStringList GlobalDomain::languages()
{
    const QByteArray messages = firstSet({ "LC_ALL", "LC_MESSAGES", "LANG" });
    // Scripts and build machines set the "C" locale to get untranslated texts. If the desktop has set LANGUAGE, this variable
    // must not override the "C" locale.
    if (namesNoLanguage(messages))
        return {};

    const QByteArray list = qgetenv("LANGUAGE") + ':' + messages;
    // This function is called for every displayed text, and the list rarely changes. So the last result is cached.
    struct Reading {
        QByteArray list;
        QStringList codes;
    };
    thread_local Reading last;
    if (last.list != list)
        last = { list, codesOf(list) };
    return last.codes;
}

QString GlobalDomain::numberRegion()
{
    return QString::fromLatin1(parsed(firstSet({ "LC_ALL", "LC_NUMERIC", "LANG" })).region);
}

QString GlobalDomain::measurementRegion()
{
    return QString::fromLatin1(parsed(firstSet({ "LC_ALL", "LC_MEASUREMENT", "LANG" })).region);
}

} // namespace kestrum
