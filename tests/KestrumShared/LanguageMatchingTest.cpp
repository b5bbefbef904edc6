#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"

#include <unicode/localematcher.h>
#include <unicode/locid.h>
#include <utility>
#include <vector>

using namespace kestrum;

class LanguageMatchingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The program must choose the same language as ICU's matcher, even when the program decides without ICU.
    void allLanguagesOfTheWorldGetTheNearestShippedOne_data()
    {
        QTest::addColumn<QList<QByteArray>>("localizations");
        QTest::newRow("the program's") << QList<QByteArray> { "en", "ar", "de", "es", "fr", "it", "ja", "nl",
            "pl", "pt-BR", "uk", "zh-Hans" };
        QTest::newRow("in several forms")
            << QList<QByteArray> { "en", "en-GB", "de", "fr", "fr-CA", "pt", "pt_BR", "zh-Hant", "zh" };
        QTest::newRow("in several scripts")
            << QList<QByteArray> { "en", "sr", "uz", "pa", "az", "ff", "ks", "sd", "zh", "yue" };
    }
    void allLanguagesOfTheWorldGetTheNearestShippedOne()
    {
        QFETCH(const QList<QByteArray>, localizations);
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", localizations);
        const QStringList shipped = AppLanguage::shipped();
        UErrorCode status = U_ZERO_ERROR;
        icu::LocaleMatcher::Builder builder;
        for (const QString& code : shipped)
            builder.addSupportedLocale(TextLocale::ofLanguage(code));
        const icu::LocaleMatcher matcher = builder.build(status);
        QVERIFY(U_SUCCESS(status));

        int32_t count = 0;
        const icu::Locale* all = icu::Locale::getAvailableLocales(count);
        QVERIFY(count > 500);
        // In these locales, the region writes the language in another script than most regions do.
        QList<QByteArray> names { "zh_TW", "zh_HK", "uz_AF", "pa_PK", "az_IR", "sr_ME", "sd_IN", "yue_CN" };
        for (int32_t i = 0; i < count; ++i)
            names.append(all[i].getName());
        const qsizetype once = names.size();
        for (qsizetype i = 0; i < 2 * once; ++i) {
            // Later languages in the list must have no effect, even if they are shipped exactly.
            setSession("LANG=en_US.UTF-8 LANGUAGE=" + names[i % once]
                + (i < once ? ":fr" : ":" + localizations.last()));
            const QStringList wanted = AppLanguage::systemLanguages();
            QVERIFY(wanted.size() > 1);
            std::vector<icu::Locale> desired;
            for (const QString& code : wanted)
                desired.push_back(TextLocale::ofLanguage(code));
            icu::Locale::RangeIterator<std::vector<icu::Locale>::const_iterator> iterator(
                desired.cbegin(), desired.cend());
            const int best = matcher.getBestMatchResult(iterator, status).getSupportedIndex();
            QVERIFY2(AppLanguage::code() == (best < 0 ? QStringLiteral("en") : shipped[best]),
                qPrintable(wanted.join(u',') + u' ' + AppLanguage::code() + u' ' + QString::number(best)));
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LanguageMatchingTest)
#include "LanguageMatchingTest.moc"
