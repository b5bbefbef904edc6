#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"

#include <QJsonArray>

using namespace kestrum;

namespace {

const QByteArray english = "{ CFBundleIdentifier = com.orvale.test; CFBundleDevelopmentRegion = en; }";

void choose(const char* language)
{
    QVERIFY(Setting { Keys::language }.set(QString::fromLatin1(language)));
}

// The codes as one text, with commas between them.
QString listed(const QStringList& codes)
{
    return codes.join(u',');
}

QString processLanguages()
{
    const QJsonValue value
        = UserDefaults::standard().storedDictionary().value(QLatin1StringView("AppleLanguages"));
    return value.isUndefined() ? QStringLiteral("absent") : listed(value.toVariant().toStringList());
}

} // namespace

class AppLanguageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        setSession("LANG=C.UTF-8");
        SharedSettings::store().remove(Keys::language.name);
    }

    // This test must run first: a recorded launch code stays until the process ends.
    void withoutALaunchCodeTheProcessIsNotStale()
    {
        const TestBundle bundle(english, { "en", "de" });
        QCOMPARE(AppLanguage::launchedCode(), QString());
        QVERIFY(!AppLanguage::processIsStale());
        choose("de");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        QVERIFY(!AppLanguage::processIsStale());
    }

    void theEnvironmentOverridesTheStoredChoice()
    {
        const TestBundle bundle(english, { "en", "de", "fr" });
        choose("fr");
        QCOMPARE(AppLanguage::choice(), QStringLiteral("fr"));
        QCOMPARE(AppLanguage::code(), QStringLiteral("fr"));
        qputenv("KESTRUM_LANGUAGE", "de");
        QCOMPARE(AppLanguage::choice(), QStringLiteral("de"));
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        qputenv("KESTRUM_LANGUAGE", "system");
        QCOMPARE(AppLanguage::choice(), QStringLiteral("system"));
        QCOMPARE(AppLanguage::code(), QStringLiteral("en"));
    }

    void theEnvironmentIsTakenAsItStands()
    {
        const TestBundle bundle(english, { "en", "de", "fr" });
        choose("fr");
        qputenv("KESTRUM_LANGUAGE", "");
        QCOMPARE(AppLanguage::choice(), QString());
        QCOMPARE(AppLanguage::code(), QStringLiteral("en"));
        qputenv("KESTRUM_LANGUAGE", " de");
        QCOMPARE(AppLanguage::code(), QStringLiteral("en"));
        qputenv("KESTRUM_LANGUAGE", "DE");
        QCOMPARE(AppLanguage::code(), QStringLiteral("en"));
    }

    void withoutAChoiceTheSystemIsFollowed()
    {
        const TestBundle bundle(english, { "en", "de" });
        QCOMPARE(AppLanguage::choice(), QStringLiteral("system"));
        setSession("LANG=de_DE.UTF-8");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        // A stored value that is not a text counts as absent.
        QVERIFY(SharedSettings::store().set(Keys::language.name, 3));
        QCOMPARE(AppLanguage::choice(), QStringLiteral("system"));
    }

    void theChoiceIsReadAnewAtEachCall()
    {
        const TestBundle bundle(english, { "en", "de", "fr" });
        for (const char* language : { "de", "fr", "de", "system" }) {
            choose(language);
            const QString expected = QLatin1StringView(language) == QLatin1StringView("system")
                ? QStringLiteral("en")
                : QString::fromLatin1(language);
            QCOMPARE(AppLanguage::code(), expected);
            QCOMPARE(AppLanguage::string("Memory"),
                expected == QLatin1StringView("en") ? QStringLiteral("Memory") : expected);
        }
    }

    void valuesTakeTheirPlacesInAText()
    {
        const auto shown
            = [](const char* text, const QStringList& values) { return AppLanguage::string(text, values); };
        QCOMPARE(
            shown("%@ and %@.", { QStringLiteral("a"), QStringLiteral("b") }), QStringLiteral("a and b."));
        // A placeholder within a value is not replaced.
        QCOMPARE(
            shown("%@ and %@.", { QStringLiteral("%@"), QStringLiteral("b") }), QStringLiteral("%@ and b."));
        QCOMPARE(shown("%@ and %@.", { QStringLiteral("a") }), QStringLiteral("a and %@."));
        QCOMPARE(shown("Nothing", { QStringLiteral("a") }), QStringLiteral("Nothing"));
    }

    void aChoiceThatIsNotShippedBehavesLikeSystem()
    {
        const TestBundle bundle(english, { "en", "de" });
        setSession("LANGUAGE=fr:de LANG=en");
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QVERIFY(processLanguages() != QStringLiteral("absent"));
        choose("fr");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), QStringLiteral("absent"));
        // A variant of a shipped language is not shipped either.
        choose("en-GB");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
    }

    void theChoiceLeadsTheProcessesLanguages()
    {
        const TestBundle bundle(english, { "en", "de" });
        setSession("LANGUAGE=fr:de LANG=en");
        QCOMPARE(listed(AppLanguage::systemLanguages()), QStringLiteral("fr,de,en"));
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), QStringLiteral("de,fr,en"));
        // Only the code that equals the choice is removed from the rest of the list.
        setSession("LANGUAGE=de_AT LANG=de_DE");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), QStringLiteral("de,de-AT,de-DE"));
    }

    void followingTheSystemRemovesTheProcessesLanguages()
    {
        const TestBundle bundle(english, { "en", "de" });
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), QStringLiteral("de,en"));
        choose("system");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), QStringLiteral("absent"));
    }

    void theProcessesLanguagesAreNotTheSharedStores()
    {
        const TestBundle bundle(english, { "en", "de" });
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QVERIFY(!SharedSettings::store().storedDictionary().contains(QLatin1StringView("AppleLanguages")));
        // The stored list does not replace the session's languages when they are read again.
        setSession("LANG=fr_FR");
        QCOMPARE(listed(AppLanguage::systemLanguages()), QStringLiteral("fr-FR"));
    }

    void codeInEffect_data()
    {
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<QList<QByteArray>>("localizations");
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("code");
        const QList<QByteArray> several { "de", "en", "fr", "pt-BR", "zh-Hans", "zh-Hant" };
        const auto row = [&](const char* session, const char* code) {
            QTest::newRow(session) << english << several << QByteArray(session) << QString::fromLatin1(code);
        };
        row("LANG=C", "en");
        row("LANG=de_DE", "de");
        row("LANG=de_AT.UTF-8@euro", "de");
        row("LANG=fr_CA", "fr");
        row("LANG=pt_PT", "pt-BR");
        row("LANG=zh_TW", "zh-Hant");
        row("LANG=zh_HK", "zh-Hant");
        row("LANG=zh_CN", "zh-Hans");
        row("LANG=zh_SG", "zh-Hans");
        row("LANG=en_GB", "en");
        // The first language of the list that is shipped.
        row("LANGUAGE=ja:fr:de LANG=en_US", "fr");
        row("LANGUAGE=de:fr LANG=en_US", "de");
        row("LANGUAGE=ja LANG=de_DE", "de");
        // A variant of a shipped language counts, even if a later language is shipped exactly.
        row("LANGUAGE=pt_PT:fr LANG=en_US", "pt-BR");
        // No shipped language is close.
        row("LANG=ja_JP", "en");
        row("LANGUAGE=ja:ko LANG=th_TH", "en");

        QTest::newRow("development language where nothing comes close")
            << QByteArray("CFBundleDevelopmentRegion = fr;") << QList<QByteArray> { "de", "fr" }
            << QByteArray("LANG=ja_JP") << "fr";
        QTest::newRow("no development language")
            << QByteArray() << QList<QByteArray> { "de" } << QByteArray("LANG=ja_JP") << "en";
        QTest::newRow("no development language, one that fits")
            << QByteArray() << QList<QByteArray> { "de" } << QByteArray("LANG=de_DE") << "de";
        QTest::newRow("no languages at all")
            << QByteArray() << QList<QByteArray>() << QByteArray("LANG=de_DE") << "en";
        QTest::newRow("folders that name no language")
            << english << QList<QByteArray> { "Base", "_", "12345678901234567890" }
            << QByteArray("LANG=ja_JP") << "en";
        QTest::newRow("a folder that names no language is nobody's")
            << QByteArray("CFBundleDevelopmentRegion = fr;") << QList<QByteArray> { "_" }
            << QByteArray("LANG=en_US") << "fr";
        QTest::newRow("nothing close is not the first that is shipped")
            << QByteArray("CFBundleDevelopmentRegion = _;") << QList<QByteArray> { "de" }
            << QByteArray("LANG=ja_JP") << "_";
        QTest::newRow("underscores") << english << QList<QByteArray> { "pt_BR", "zh_TW" }
                                     << QByteArray("LANG=zh_HK") << "zh_TW";
    }
    void codeInEffect()
    {
        QFETCH(QByteArray, info);
        QFETCH(QList<QByteArray>, localizations);
        QFETCH(QByteArray, session);
        QFETCH(QString, code);
        const TestBundle bundle(info, localizations);
        setSession(session);
        QCOMPARE(AppLanguage::code(), code);
        // The second call uses the cached match.
        QCOMPARE(AppLanguage::code(), code);
    }

    void shippedBeginsWithTheDevelopmentLanguage_data()
    {
        QTest::addColumn<QByteArray>("info");
        QTest::addColumn<QList<QByteArray>>("localizations");
        QTest::addColumn<QString>("shipped");
        QTest::newRow("repeated by a folder")
            << english << QList<QByteArray> { "de", "en", "fr" } << "en,de,fr";
        QTest::newRow("not repeated") << english << QList<QByteArray> { "fr", "de" } << "en,de,fr";
        QTest::newRow("another") << QByteArray("CFBundleDevelopmentRegion = fr;")
                                 << QList<QByteArray> { "de", "en", "fr" } << "fr,de,en";
        QTest::newRow("none named") << QByteArray() << QList<QByteArray> { "de" } << "en,de";
        QTest::newRow("Base is no language") << english << QList<QByteArray> { "Base", "de" } << "en,de";
    }
    void shippedBeginsWithTheDevelopmentLanguage()
    {
        QFETCH(QByteArray, info);
        QFETCH(QList<QByteArray>, localizations);
        QFETCH(QString, shipped);
        const TestBundle bundle(info, localizations);
        QCOMPARE(listed(AppLanguage::shipped()), shipped);
    }

    void systemLanguagesAreTheSessions()
    {
        setSession("LANGUAGE=sr@latin LANG=de_AT.UTF-8");
        QCOMPARE(listed(AppLanguage::systemLanguages()), QStringLiteral("sr-Latn,de-AT"));
        setSession("LANG=C.UTF-8");
        QCOMPARE(listed(AppLanguage::systemLanguages()), QStringLiteral("en"));
    }

    void textsComeInTheLanguageInEffect()
    {
        const TestBundle bundle(english, { "en" });
        bundle.writeTable("de", "\"Menu Bar\" = \"Menüleiste\";");
        choose("de");
        QCOMPARE(AppLanguage::string("Menu Bar"), QStringLiteral("Menüleiste"));
        QCOMPARE(AppLanguage::string(QStringLiteral("Menu Bar")), QStringLiteral("Menüleiste"));
        QCOMPARE(AppLanguage::string("Popovers"), QStringLiteral("Popovers"));
        QCOMPARE(AppLanguage::string("Größe"), QStringLiteral("Größe"));
    }

    void theDevelopmentLanguageNeedsNoTable()
    {
        // There is a table with other texts, but it is not used.
        const TestBundle bundle(english, { "en", "de" });
        choose("en");
        QCOMPARE(AppLanguage::string("Memory"), QStringLiteral("Memory"));
        const TestBundle unnamed({}, { "en", "de" });
        QCOMPARE(AppLanguage::string("Memory"), QStringLiteral("Memory"));
        const TestBundle french("CFBundleDevelopmentRegion = fr;", { "en", "fr" });
        choose("fr");
        QCOMPARE(AppLanguage::string("Memory"), QStringLiteral("Memory"));
        choose("en");
        QCOMPARE(AppLanguage::string("Memory"), QStringLiteral("en"));
    }

    void aMissingFolderGivesTheKeys()
    {
        const TestBundle bundle(english, { "en", "de" });
        choose("de");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        bundle.removeFolder("de");
        QCOMPARE(AppLanguage::code(), QStringLiteral("de"));
        QCOMPARE(AppLanguage::string("Memory"), QStringLiteral("Memory"));
    }

    void languagesAreNamedByThemselves_data()
    {
        QTest::addColumn<QByteArray>("code");
        QTest::addColumn<QString>("name");
        QTest::newRow("German") << QByteArray("de") << QStringLiteral("Deutsch");
        QTest::newRow("French") << QByteArray("fr") << QStringLiteral("Français");
        QTest::newRow("Japanese") << QByteArray("ja") << QStringLiteral("日本語");
        QTest::newRow("Russian") << QByteArray("ru") << QStringLiteral("Русский");
        QTest::newRow("Turkish, by its own capitals") << QByteArray("tr") << QStringLiteral("Türkçe");
        QTest::newRow("Zulu, with a capital inside") << QByteArray("zu") << QStringLiteral("IsiZulu");
        QTest::newRow("with a script") << QByteArray("zh-Hans") << QStringLiteral("简体中文");
        QTest::newRow("with another script") << QByteArray("zh-Hant") << QStringLiteral("繁體中文");
        QTest::newRow("with a region") << QByteArray("pt-BR") << QStringLiteral("Português (Brasil)");
        QTest::newRow("with a region behind an underscore")
            << QByteArray("pt_BR") << QStringLiteral("Português (Brasil)");
        QTest::newRow("of two words") << QByteArray("nb") << QStringLiteral("Norsk Bokmål");
        QTest::newRow("no own name") << QByteArray("la") << QStringLiteral("la");
        QTest::newRow("unknown") << QByteArray("xx") << QStringLiteral("xx");
        QTest::newRow("no language") << QByteArray("12") << QStringLiteral("12");
    }
    void languagesAreNamedByThemselves()
    {
        QFETCH(QByteArray, code);
        QFETCH(QString, name);
        const TestBundle bundle(english, { code });
        // The session's language makes no difference.
        setSession("LANG=de_DE.UTF-8");
        const QPair<QString, QString> expected { QString::fromUtf8(code), name };
        QVERIFY2(AppLanguage::available().contains(expected),
            qPrintable(AppLanguage::available().constLast().second));
    }

    void languagesAreSortedByName()
    {
        // Sorted by code, the list would begin with cs. "Č" comes after all ASCII letters.
        const TestBundle bundle(english, { "cs", "de", "es", "fr", "ja", "xx", "yy" });
        QStringList names;
        for (const auto& [code, name] : AppLanguage::available())
            names.append(name);
        QCOMPARE(names.join(u','), QStringLiteral("Deutsch,English,Español,Français,xx,yy,Čeština,日本語"));
        QCOMPARE(AppLanguage::available().constFirst().first, QStringLiteral("de"));
    }

    void equalNamesKeepTheirOrder()
    {
        // Many spellings of two languages, so that an unstable sort does not keep the order by chance.
        QList<QByteArray> spellings;
        for (const QByteArray& code : QList<QByteArray> { "de", "deu", "fr", "fra" }) {
            for (int capitals = 0; capitals < 1 << code.size(); ++capitals) {
                QByteArray spelling = code;
                for (int letter = 0; letter < code.size(); ++letter) {
                    if (capitals & 1 << letter)
                        spelling[letter] = char(code[letter] - 'a' + 'A');
                }
                spellings.append(spelling);
            }
        }
        const TestBundle bundle(english, spellings);
        for (const char* name : { "Deutsch", "Français" }) {
            const bool isGerman = *name == 'D';
            QStringList expected;
            for (const QString& code : AppLanguage::shipped()) {
                if (code.startsWith(isGerman ? u'd' : u'f', Qt::CaseInsensitive))
                    expected.append(code);
            }
            QStringList codes;
            for (const auto& [code, ownName] : AppLanguage::available()) {
                if (ownName == QString::fromUtf8(name))
                    codes.append(code);
            }
            QCOMPARE(codes.size(), 12);
            QCOMPARE(codes, expected);
        }
    }

    void theProcessIsStaleWhenAnotherLanguageIsInEffect()
    {
        const TestBundle bundle(english, { "en", "de" });
        setSession("LANG=de_DE");
        AppLanguage::recordLaunchedCode();
        QCOMPARE(AppLanguage::launchedCode(), QStringLiteral("de"));
        QVERIFY(!AppLanguage::processIsStale());
        // The choice is different, but the language in effect is the same.
        choose("de");
        QVERIFY(!AppLanguage::processIsStale());
        choose("en");
        QVERIFY(AppLanguage::processIsStale());
        QCOMPARE(AppLanguage::launchedCode(), QStringLiteral("de"));
        choose("system");
        QVERIFY(!AppLanguage::processIsStale());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppLanguageTest)
#include "AppLanguageTest.moc"
