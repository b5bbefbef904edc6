#include "Platform/Store/GlobalDomain.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"

#include <QTest>

using namespace kestrum;

class GlobalDomainTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { setSession("LANG=C.UTF-8"); }

    void languages_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("languages");
        const auto row = [](const char* session, const char* languages) {
            QTest::newRow(*session ? session : "nothing")
                << QByteArray(session) << QString::fromLatin1(languages);
        };
        row("", "");
        row("LANG=de_DE.UTF-8", "de-DE");
        row("LANG=de", "de");
        row("LANG=de_AT.UTF-8@euro", "de-AT");
        row("LANG=sr_RS@latin", "sr-Latn-RS");
        row("LANG=sr_RS.UTF-8@latin", "sr-Latn-RS");
        row("LANG=uz_UZ@cyrillic", "uz-Cyrl-UZ");
        row("LANG=sd_IN@devanagari", "sd-Deva-IN");
        row("LANG=tt_RU@iqtelif", "tt-Latn-RU");
        row("LANG=zh_TW", "zh-TW");
        row("LANG=zh_hans_cn", "zh-Hans-CN");
        row("LANG=ast_ES.UTF-8", "ast-ES");
        row("LANG=es_419", "es-419");
        row("LANG=EN_us", "en-US");

        // Which variable has priority.
        row("LC_ALL=fr_FR LC_MESSAGES=it_IT LANG=de_DE", "fr-FR");
        row("LC_MESSAGES=it_IT LANG=de_DE", "it-IT");
        row("LC_ALL= LC_MESSAGES= LANG=de_DE", "de-DE");
        row("LC_NUMERIC=fr_FR LC_MEASUREMENT=fr_FR", "");

        // The list comes before the locale, and no language is listed twice.
        row("LANGUAGE=fr:en_GB LANG=de_DE.UTF-8", "fr,en-GB,de-DE");
        row("LANGUAGE=de_DE:en:de_DE LANG=de_DE.UTF-8", "de-DE,en");
        row("LANGUAGE= LANG=de_DE.UTF-8", "de-DE");
        row("LANGUAGE=::fr:: LANG=de_DE", "fr,de-DE");

        // The C locale means untranslated texts, even if LANGUAGE is set.
        for (const char* session : { "LANGUAGE=fr", "LANGUAGE=fr LANG=C", "LANGUAGE=fr LANG=POSIX",
                 "LANGUAGE=fr LANG=C.UTF-8", "LANGUAGE=fr LC_ALL=C LANG=de_DE",
                 "LANGUAGE=fr LC_MESSAGES=C.utf8 LANG=de_DE", "LANGUAGE=C LANG=de_DE" })
            row(session, "");
        row("LANGUAGE=fr:C:it LANG=de_DE", "fr");

        // Invalid values.
        for (const char* session : { "LANG=x", "LANG=german", "LANG=../../etc/passwd", "LANG=_DE",
                 "LANG=d1_DE", "LANG=@", "LANG=.", "LANG=\xC3\xBC\xC3_DE" })
            row(session, "");
        for (const char* session : { "LANG=de_D", "LANG=de_12", "LANG=de__@" })
            row(session, "de");
        row("LANGUAGE=%s%n:fr:\x01\x02 LANG=de_DE", "fr,de-DE");
    }
    void languages()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, languages);
        setSession(session);
        QCOMPARE(GlobalDomain::languages().join(u','), languages);
    }

    void environmentIsReadAtEachCall()
    {
        setSession("LANG=de_DE");
        QCOMPARE(GlobalDomain::languages(), QStringList { QStringLiteral("de-DE") });
        QCOMPARE(GlobalDomain::numberRegion(), QStringLiteral("DE"));
        setSession("LANG=fr_CH");
        QCOMPARE(GlobalDomain::languages(), QStringList { QStringLiteral("fr-CH") });
        QCOMPARE(GlobalDomain::numberRegion(), QStringLiteral("CH"));
    }

    void anEndlessListIsCut()
    {
        QByteArray list;
        for (char a = 'a'; a <= 'z'; ++a) {
            for (char b = 'a'; b <= 'z'; ++b)
                list += QByteArray { 1, a } + b + ':';
        }
        setSession("LANGUAGE=" + list.repeated(40) + " LANG=de_DE");
        QCOMPARE(GlobalDomain::languages().size(), 32);
    }

    void regions_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("numbers");
        QTest::addColumn<QString>("measurement");
        const auto row = [](const char* session, const char* numbers, const char* measurement) {
            QTest::newRow(*session ? session : "nothing")
                << QByteArray(session) << QString::fromLatin1(numbers) << QString::fromLatin1(measurement);
        };
        for (const char* session :
            { "", "LANG=C", "LANG=C.UTF-8", "LANG=POSIX", "LANG=de", "LANG=junk_/../_X", "LANG=de_\xC3\xBC" })
            row(session, "", "");
        row("LANG=de_DE.UTF-8", "DE", "DE");
        row("LANG=sr_RS@latin", "RS", "RS");
        row("LANG=zh_Hans_SG", "SG", "SG");
        row("LANG=en_us", "US", "US");
        row("LANG=de_DE LC_NUMERIC=en_US", "US", "DE");
        row("LANG=de_DE LC_MEASUREMENT=en_US", "DE", "US");
        row("LANG=de_DE LC_NUMERIC=fr_FR LC_MEASUREMENT=en_US LC_ALL=it_IT", "IT", "IT");
        row("LANG=de_DE LC_NUMERIC=C", "", "DE");
        row("LANG=de_DE LC_MESSAGES=fr_FR", "DE", "DE");
        row("LANG=de_DE LC_ALL=", "DE", "DE");
    }
    void regions()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, numbers);
        QFETCH(QString, measurement);
        setSession(session);
        QCOMPARE(GlobalDomain::numberRegion(), numbers);
        QCOMPARE(GlobalDomain::measurementRegion(), measurement);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, GlobalDomainTest)
#include "GlobalDomainTest.moc"
