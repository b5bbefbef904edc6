#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QJsonArray>

using namespace kestrum;

namespace {

const QByteArray english = "{ CFBundleIdentifier = com.orvale.test; CFBundleDevelopmentRegion = en; }";

void choose(const char* language)
{
    QVERIFY(Setting { Keys::language }.set(QString::fromLatin1(language)));
}

// The codes as one text, separated by commas.
QString listed(const QStringList& codes)
{
    return codes.join(u',');
}

QString processLanguages()
{
    const QJsonValue value
        = UserDefaults::standard().storedDictionary().value(QLatin1StringView("AppleLanguages"));
    return value.isUndefined() ? text("absent") : listed(value.toVariant().toStringList());
}

} // namespace

class AppLanguageTest : public QObject {
    Q_OBJECT

    struct Bundled {
        const char* name;
        QByteArray info;
        QList<QByteArray> localizations;
        const char* session;
        const char* expected;
    };
    struct Named {
        const char* name;
        const char* code;
        const char* language;
    };

private Q_SLOTS:
    void init()
    {
        setSession("LANG=C.UTF-8");
        SharedSettings::store().remove(Keys::language.name);
    }

    // This test must run first: a recorded launch code remains until the process ends.
    void withoutALaunchCodeTheProcessIsNotStale()
    {
        const TestBundle bundle(english, { "en", "de" });
        QCOMPARE(AppLanguage::launchedCode(), QString());
        QVERIFY(!AppLanguage::processIsStale());
        choose("de");
        QCOMPARE(AppLanguage::code(), text("de"));
        QVERIFY(!AppLanguage::processIsStale());
    }

    void theEnvironmentOverridesTheStoredChoiceAsItStands()
    {
        const TestBundle bundle(english, { "en", "de", "fr" });
        choose("fr");
        QCOMPARE(AppLanguage::choice(), text("fr"));
        QCOMPARE(AppLanguage::code(), text("fr"));
        for (const auto& [choice, code] : { std::pair("de", "de"), std::pair("system", "en"),
                 std::pair("", "en"), std::pair(" de", "en"), std::pair("DE", "en") }) {
            qputenv("KESTRUM_LANGUAGE", choice);
            QCOMPARE(AppLanguage::choice(), text(choice));
            QCOMPARE(AppLanguage::code(), text(code));
        }
    }

    void withoutAChoiceTheSystemIsFollowed()
    {
        const TestBundle bundle(english, { "en", "de" });
        QCOMPARE(AppLanguage::choice(), text("system"));
        setSession("LANG=de_DE.UTF-8");
        QCOMPARE(AppLanguage::code(), text("de"));
        // A stored value that is not a text counts as absent.
        QVERIFY(SharedSettings::store().set(Keys::language.name, 3));
        QCOMPARE(AppLanguage::choice(), text("system"));
    }

    void theChoiceIsReadAnewAtEachCall()
    {
        const TestBundle bundle(english, { "en", "de", "fr" });
        for (const char* language : { "de", "fr", "de", "system" }) {
            choose(language);
            const QString expected = QLatin1StringView(language) == QLatin1StringView("system")
                ? text("en")
                : QString::fromLatin1(language);
            QCOMPARE(AppLanguage::code(), expected);
            QCOMPARE(AppLanguage::string("Memory"),
                expected == QLatin1StringView("en") ? text("Memory") : expected);
        }
    }

    void valuesTakeTheirPlacesInAText()
    {
        QCOMPARE(AppLanguage::string("%@ and %@.", { text("a"), text("b") }), text("a and b."));
        // A placeholder inside an inserted value is not replaced.
        QCOMPARE(AppLanguage::string("%@ and %@.", { text("%@"), text("b") }), text("%@ and b."));
        QCOMPARE(AppLanguage::string("%@ and %@.", { text("a") }), text("a and %@."));
        QCOMPARE(AppLanguage::string("%2 of %1: %2 %", { text("%2"), text("b") }), text("b of %2: b %"));
        QCOMPARE(AppLanguage::string("%1 and %2.", { text("a") }), text("a and %2."));
        QCOMPARE(AppLanguage::string("Nothing", { text("a") }), text("Nothing"));
    }

    void aChoiceThatIsNotShippedBehavesLikeSystem()
    {
        const TestBundle bundle(english, { "en", "de" });
        setSession("LANGUAGE=fr:de LANG=en");
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QVERIFY(processLanguages() != text("absent"));
        choose("fr");
        QCOMPARE(AppLanguage::code(), text("de"));
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), text("absent"));
        // A variant of a shipped language does not count as shipped.
        choose("en-GB");
        QCOMPARE(AppLanguage::code(), text("de"));
    }

    void theChoiceLeadsTheProcessesLanguagesUntilTheSystemIsFollowed()
    {
        const TestBundle bundle(english, { "en", "de" });
        setSession("LANGUAGE=fr:de LANG=en");
        QCOMPARE(listed(AppLanguage::systemLanguages()), text("fr,de,en"));
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), text("de,fr,en"));
        // Only the code that equals the choice is removed from the rest of the list.
        setSession("LANGUAGE=de_AT LANG=de_DE");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), text("de,de-AT,de-DE"));
        // The choice "system" removes the list.
        choose("system");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), text("absent"));
    }

    void theProcessesLanguagesAreNotTheSharedStores()
    {
        const TestBundle bundle(english, { "en", "de" });
        choose("de");
        AppLanguage::applyChoiceToProcessDefaults();
        QCOMPARE(processLanguages(), text("de,en"));
        QVERIFY(!SharedSettings::store().storedDictionary().contains(QLatin1StringView("AppleLanguages")));
        // When the session's languages are read again, they do not come from the stored list.
        setSession("LANG=fr_FR");
        QCOMPARE(listed(AppLanguage::systemLanguages()), text("fr-FR"));
    }

    void codeInEffect_data()
    {
        QTest::addColumn<Bundled>("row");
        const auto add = [](const Bundled& row) { QTest::newRow(row.name) << row; };
        const auto row = [&](const char* session, const char* code) {
            add({ session, english, { "de", "en", "fr", "pt-BR", "zh-Hans", "zh-Hant" }, session, code });
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
        // The first shipped language of the list is used.
        row("LANGUAGE=ja:fr:de LANG=en_US", "fr");
        row("LANGUAGE=de:fr LANG=en_US", "de");
        row("LANGUAGE=ja LANG=de_DE", "de");
        // A variant of a shipped language counts as a match, even if a later language is shipped exactly.
        row("LANGUAGE=pt_PT:fr LANG=en_US", "pt-BR");
        // No shipped language is close, so the language is English.
        row("LANG=ja_JP", "en");
        row("LANGUAGE=ja:ko LANG=th_TH", "en");

        const QByteArray french = "CFBundleDevelopmentRegion = fr;";
        add({ "development language where nothing comes close", french, { "de", "fr" }, "LANG=ja_JP", "fr" });
        add({ "no development language", {}, { "de" }, "LANG=ja_JP", "en" });
        add({ "no development language, one that fits", {}, { "de" }, "LANG=de_DE", "de" });
        add({ "no languages at all", {}, {}, "LANG=de_DE", "en" });
        add({ "folders that name no language", english, { "Base", "_", "12345678901234567890" }, "LANG=ja_JP",
            "en" });
        add({ "a folder that names no language is nobody's", french, { "_" }, "LANG=en_US", "fr" });
        add({ "nothing close is not the first that is shipped", "CFBundleDevelopmentRegion = _;", { "de" },
            "LANG=ja_JP", "_" });
        add({ "underscores", english, { "pt_BR", "zh_TW" }, "LANG=zh_HK", "zh_TW" });
    }
    void codeInEffect()
    {
        QFETCH(Bundled, row);
        const TestBundle bundle(row.info, row.localizations);
        setSession(row.session);
        QCOMPARE(AppLanguage::code(), text(row.expected));
        // The second call uses the cached match.
        QCOMPARE(AppLanguage::code(), text(row.expected));
    }

    void shippedBeginsWithTheDevelopmentLanguage_data()
    {
        addRows<Bundled>({ { "repeated by a folder", english, { "de", "en", "fr" }, "", "en,de,fr" },
            { "not repeated", english, { "fr", "de" }, "", "en,de,fr" },
            { "another", "CFBundleDevelopmentRegion = fr;", { "de", "en", "fr" }, "", "fr,de,en" },
            { "none named", {}, { "de" }, "", "en,de" },
            { "Base is no language", english, { "Base", "de" }, "", "en,de" } });
    }
    void shippedBeginsWithTheDevelopmentLanguage()
    {
        QFETCH(Bundled, row);
        const TestBundle bundle(row.info, row.localizations);
        QCOMPARE(listed(AppLanguage::shipped()), text(row.expected));
    }

    void systemLanguagesAreTheSessions()
    {
        setSession("LANGUAGE=sr@latin LANG=de_AT.UTF-8");
        QCOMPARE(listed(AppLanguage::systemLanguages()), text("sr-Latn,de-AT"));
        setSession("LANG=C.UTF-8");
        QCOMPARE(listed(AppLanguage::systemLanguages()), text("en"));
    }

    void textsComeInTheLanguageInEffect()
    {
        const TestBundle bundle(english, { "en" });
        bundle.writeTable("de", "\"Menu Bar\" = \"Menüleiste\";");
        choose("de");
        QCOMPARE(AppLanguage::string("Menu Bar"), text("Menüleiste"));
        QCOMPARE(AppLanguage::string(text("Menu Bar")), text("Menüleiste"));
        QCOMPARE(AppLanguage::string("Popovers"), text("Popovers"));
        QCOMPARE(AppLanguage::string("Größe"), text("Größe"));
    }

    void theDevelopmentLanguageNeedsNoTable()
    {
        // The bundle has an English table with other texts, but the table is not used.
        const TestBundle bundle(english, { "en", "de" });
        choose("en");
        QCOMPARE(AppLanguage::string("Memory"), text("Memory"));
        const TestBundle unnamed({}, { "en", "de" });
        QCOMPARE(AppLanguage::string("Memory"), text("Memory"));
        const TestBundle french("CFBundleDevelopmentRegion = fr;", { "en", "fr" });
        choose("fr");
        QCOMPARE(AppLanguage::string("Memory"), text("Memory"));
        choose("en");
        QCOMPARE(AppLanguage::string("Memory"), text("en"));
    }

    void aMissingFolderGivesTheKeys()
    {
        const TestBundle bundle(english, { "en", "de" });
        choose("de");
        QCOMPARE(AppLanguage::code(), text("de"));
        bundle.removeFolder("de");
        QCOMPARE(AppLanguage::code(), text("de"));
        QCOMPARE(AppLanguage::string("Memory"), text("Memory"));
    }

    void languagesAreNamedByThemselves_data()
    {
        addRows<Named>({
            { "German", "de", "Deutsch" },
            { "French", "fr", "Français" },
            { "Japanese", "ja", "日本語" },
            { "Russian", "ru", "Русский" },
            { "Turkish, by its own capitals", "tr", "Türkçe" },
            { "Zulu, with a capital inside", "zu", "IsiZulu" },
            { "with a script", "zh-Hans", "简体中文" },
            { "with another script", "zh-Hant", "繁體中文" },
            { "with a region", "pt-BR", "Português (Brasil)" },
            { "with a region behind an underscore", "pt_BR", "Português (Brasil)" },
            { "of two words", "nb", "Norsk Bokmål" },
            { "no own name", "la", "la" },
            { "unknown", "xx", "xx" },
            { "no language", "12", "12" },
        });
    }
    void languagesAreNamedByThemselves()
    {
        QFETCH(Named, row);
        const TestBundle bundle(english, { row.code });
        // The session's language has no effect.
        setSession("LANG=de_DE.UTF-8");
        QVERIFY2(AppLanguage::available().contains(std::pair(text(row.code), text(row.language))),
            qPrintable(AppLanguage::available().constLast().second));
    }

    void languagesAreSortedByName()
    {
        // The list is sorted by name, where "Č" comes after all ASCII letters. Sorted by code, it would begin with cs.
        const TestBundle bundle(english, { "cs", "de", "es", "fr", "ja", "xx", "yy" });
        QStringList names;
        for (const auto& [code, name] : AppLanguage::available())
            names.append(name);
        QCOMPARE(names.join(u','), text("Deutsch,English,Español,Français,xx,yy,Čeština,日本語"));
        QCOMPARE(AppLanguage::available().constFirst().first, text("de"));
    }

    void equalNamesKeepTheirOrder()
    {
        // The bundle has many spellings of two languages, so that an unstable sort does not keep the order by chance.
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
        QCOMPARE(AppLanguage::launchedCode(), text("de"));
        QVERIFY(!AppLanguage::processIsStale());
        // The choice is different, but the language in effect is the same.
        choose("de");
        QVERIFY(!AppLanguage::processIsStale());
        choose("en");
        QVERIFY(AppLanguage::processIsStale());
        QCOMPARE(AppLanguage::launchedCode(), text("de"));
        choose("system");
        QVERIFY(!AppLanguage::processIsStale());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppLanguageTest)
#include "AppLanguageTest.moc"
