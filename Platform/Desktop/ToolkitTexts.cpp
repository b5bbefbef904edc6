// SPDX-License-Identifier: MIT
#include "Platform/Desktop/ToolkitTexts.h"

#include "Platform/Store/GlobalDomain.h"
#include "Platform/Store/UserDefaults.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QLibraryInfo>
#include <QPointer>
#include <QTranslator>

namespace kestrum {

namespace {

QString wantedLanguage()
{
    const QString own = UserDefaults::standard().object("AppleLanguages").toArray().first().toString();
    return own.isEmpty() ? GlobalDomain::languages().value(0, QStringLiteral("en")) : own;
}

} // namespace

void ToolkitTexts::install()
{
    const QString language = wantedLanguage();
    QLocale::setDefault(locale(language));
    // The application object owns the translator.
    static QPointer<QTranslator> installed;
    delete installed;
    installed = new QTranslator(QCoreApplication::instance());
    // The session's region is not used here: with it, Brazilian Portuguese in Switzerland would find no translation.
    if (installed->load(QLocale(language), QStringLiteral("qtbase"), QStringLiteral("_"),
            QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(installed);
}

QLocale ToolkitTexts::locale(const QString& code)
{
    return locale(code, GlobalDomain::numberRegion());
}

QLocale ToolkitTexts::locale(const QString& code, const QString& region)
{
    const QLocale language(code);
    if (region.isEmpty())
        return language;
    // The region replaces the region in the language's code, which a code such as that of Brazilian Portuguese has.
    return QLocale(language.language(), language.script(), QLocale::codeToTerritory(region));
}

} // namespace kestrum
