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
    // The language is used without the session's region: there is no translation for Brazilian Portuguese in Switzerland.
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
    // `region` replaces a region in `code`, such as "BR" in "pt-BR".
    return QLocale(language.language(), language.script(), QLocale::codeToTerritory(region));
}

} // namespace kestrum
