#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Bundle/PropertyList.h"
#include "tests/Support/SourceTexts.h"
#include "tests/Support/StringsTable.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <map>

using namespace kestrum;

/// Compares the translation tables with the sources that use them.
class TranslationTablesTest : public QObject {
    Q_OBJECT

    static QString source(const QString& path)
    {
        return qEnvironmentVariable("KESTRUM_SOURCE") + u'/' + path;
    }
    static QString tablePath(const QString& code)
    {
        return source(QStringLiteral("Resources/%1.lproj/Localizable.strings").arg(code));
    }
    static QStringList codes()
    {
        QStringList result = QDir(source(QStringLiteral("Resources")))
                                 .entryList({ QStringLiteral("*.lproj") }, QDir::Dirs, QDir::Name);
        for (QString& name : result)
            name.chop(6);
        return result;
    }
    static QStringList translations()
    {
        QStringList result = codes();
        result.removeAll(QStringLiteral("en"));
        return result;
    }

    /// All display texts of the programs.
    static QSet<QString> used()
    {
        QSet<QString> result = SourceTexts(source(QStringLiteral("Kestrum"))).display();
        result.unite(SourceTexts(source(QStringLiteral("KestrumShared"))).display());
        // The agent's other texts come from the kernel's files.
        result.unite(SourceTexts(source(QStringLiteral("KestrumAgent"))).lookedUp());
        // The program's name is the same in all languages.
        result.subtract({ QStringLiteral("Kestrum"), QStringLiteral("Kestrum ") });
        // These display texts come from the Platform folder.
        const QSet<QString> fromPlatform { QStringLiteral("Performance"), QStringLiteral("Efficiency") };
        if (SourceTexts(source(QStringLiteral("Platform"))).all().contains(fromPlatform))
            result.unite(fromPlatform);
        return result;
    }

    static QStringList placeholders(const QString& text)
    {
        static const QRegularExpression placeholder(QStringLiteral("%(?:@|\\d)"));
        QStringList result;
        for (auto found = placeholder.globalMatch(text); found.hasNext();)
            result.append(found.next().captured());
        result.sort();
        return result;
    }

    static QString sorted(const QSet<QString>& texts)
    {
        QStringList list(texts.begin(), texts.end());
        list.sort();
        return list.join(QStringLiteral(" | "));
    }

    /// The texts whose translation equals the English text.
    static QSet<QString> sameAsEnglish(const QString& code)
    {
        static const std::map<QByteArray, const char*> words {
            { "de",
                "Cache CPU Celsius Container Fahrenheit GPU Indigo Kernel Performance SSD Signal System "
                "Updates Version %1/s" },
            { "es", "CPU Celsius Chipset Fahrenheit GPU General Kernel SSD Wi-Fi %1/s" },
            { "fr",
                "Application Cache Celsius Chipset Compact Fahrenheit GPU Graphite Indigo Interface Opaque "
                "Pages SSD Signal VOLUMES Version Wi-Fi %1/s" },
            { "it", "Cache CPU Celsius Chipset Container Fahrenheit GPU Kernel SSD SWAP Swap Wi-Fi %1/s" },
            { "ja", "CPU GPU SSD Wi-Fi %@°C %@°F" },
            { "nl",
                "Amber CORES Cache Celsius Chipset Compact Container Cores Fahrenheit GPU Indigo Interface "
                "Kernel Letters Meter SSD Updates VOLUMES %1/s %@°C %@°F" },
            { "pl", "Chipset Fahrenheit GPU SSD Wi-Fi %1/s %@°F" },
            { "pt-BR",
                "Cache CPU Celsius Chipset Fahrenheit GPU Interface Kernel SSD SWAP Swap VOLUMES Wi-Fi "
                "%1/s" },
            { "uk", "GPU SSD Wi-Fi" },
            { "zh-Hans", "CPU GPU SSD Wi-Fi %@°C %@°F" },
            { "ar", "SSD" },
        };
        const auto found = words.find(code.toLatin1());
        const QStringList list
            = text(found == words.end() ? "" : found->second).split(u' ', Qt::SkipEmptyParts);
        return { list.begin(), list.end() };
    }

    /// Adds one row per translated language.
    static void eachTranslation()
    {
        QTest::addColumn<QString>("code");
        for (const QString& code : translations())
            QTest::newRow(qPrintable(code)) << code;
    }

private Q_SLOTS:
    void theBundleHasEveryLanguageByItsOwnName()
    {
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        QCOMPARE(Bundle::main().localizations(), codes());
        QStringList names;
        for (const auto& [code, name] : AppLanguage::available())
            names.append(name);
        QCOMPARE(names.join(u'|'),
            QStringLiteral("Deutsch|English|Español|Français|Italiano|Nederlands|Polski|Português (Brasil)|"
                           "Українська|العربية|日本語|简体中文"));
    }

    void sourcesAreRead()
    {
        const QSet<QString> texts = used();
        // One text of each use: looked up, row, heading, title in an enumeration's table, separate name, from Platform.
        for (const char* text : { "Off", "Refresh interval", "Sampling", "Graphite", "Custom", "Efficiency",
                 "APT's answer is not understood.", "Kestrum %1 is available.",
                 "Move Kestrum to your Applications folder first." })
            QVERIFY2(texts.contains(QString::fromUtf8(text)), text);
    }

    void everyTextIsTranslatedOnceAndNoneInVain_data() { eachTranslation(); }
    void everyTextIsTranslatedOnceAndNoneInVain()
    {
        QFETCH(QString, code);
        const StringsTable table(tablePath(code));
        QCOMPARE(table.strangeLines.join(u'|'), QString());
        const QSet<QString> keys(table.keys.begin(), table.keys.end());
        QCOMPARE(sorted(used() - keys), QString());
        QCOMPARE(sorted(keys - used()), QString());
        QStringList repeated = table.keys;
        for (const QString& key : keys)
            repeated.removeOne(key);
        QCOMPARE(repeated.join(u'|'), QString());
        // The program's own reader finds the same keys.
        const auto list = PropertyList::fromFile(tablePath(code));
        QVERIFY(list);
        const QStringList read = list->keys();
        QCOMPARE(QSet<QString>(read.begin(), read.end()), keys);
    }

    void allTablesAreInTheSameOrder()
    {
        const QStringList order = StringsTable(tablePath(translations().constFirst())).keys;
        for (const QString& code : translations())
            QCOMPARE(StringsTable(tablePath(code)).keys, order);
    }

    void everyTranslationKeepsThePlaceholders_data() { eachTranslation(); }
    void everyTranslationKeepsThePlaceholders()
    {
        QFETCH(QString, code);
        const StringsTable table(tablePath(code));
        for (const QString& key : table.keys)
            QVERIFY2(placeholders(key) == placeholders(table.values[key]), qPrintable(key));
    }

    void whatIsNotTranslatedIsTheSameWord_data() { eachTranslation(); }
    void whatIsNotTranslatedIsTheSameWord()
    {
        QFETCH(QString, code);
        const StringsTable table(tablePath(code));
        QSet<QString> same;
        for (const QString& key : table.keys) {
            if (table.values[key] == key)
                same.insert(key);
        }
        QCOMPARE(sorted(same), sorted(sameAsEnglish(code)));
    }

    void amberIsOneColourToEveryText_data() { eachTranslation(); }
    void amberIsOneColourToEveryText()
    {
        QFETCH(QString, code);
        StringsTable table(tablePath(code));
        QString colour = table.values[QStringLiteral("Amber")];
        // Only in Ukrainian, the word has another ending within the sentence.
        if (code == QLatin1StringView("uk"))
            colour.chop(2);
        const QString sentence = table.values[QStringLiteral("The readout turns amber at %@ and red at %@.")];
        QVERIFY2(sentence.contains(colour, Qt::CaseInsensitive), qPrintable(sentence));
    }

    void translationsBeginAndEndLikeTheText_data() { eachTranslation(); }
    void translationsBeginAndEndLikeTheText()
    {
        QFETCH(QString, code);
        const StringsTable table(tablePath(code));
        const std::map<QChar, QString> ends { { u'.', QStringLiteral(".。") },
            { u':', QStringLiteral(":：") }, { u'…', QStringLiteral("…") } };
        for (const QString& key : table.keys) {
            const QString text = table.values[key];
            QVERIFY2(!text.isEmpty() && text == text.trimmed(), qPrintable(key));
            const auto end = ends.find(key.back());
            if (end != ends.end())
                QVERIFY2(end->second.contains(text.back()), qPrintable(text));
            else
                QVERIFY2(!QStringLiteral(".。:：…").contains(text.back()), qPrintable(text));
        }
    }

    void translationsAreSetLikeTheirLanguage_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("mistake");
        for (const QString& code : translations())
            QTest::addRow("%s: typewriter's marks", qPrintable(code))
                << code << QStringLiteral("['\"]|\\.\\.\\.|  ");
        QTest::newRow("fr: no space that holds")
            << QStringLiteral("fr") << QStringLiteral("[^\u00a0][:;?!»]|«[^\u00a0]");
        QTest::newRow("de: no space before the dots") << QStringLiteral("de") << QStringLiteral("[^ ]…");
        for (const char* code : { "ja", "zh-Hans" })
            QTest::addRow("%s: half-width marks", code)
                << QString::fromUtf8(code) << QStringLiteral("[,;:?!]|[^\\x00-\\x7f]\\.");
        QTest::newRow("ar: Latin marks") << QStringLiteral("ar") << QStringLiteral("[,;?]");
    }
    void translationsAreSetLikeTheirLanguage()
    {
        QFETCH(QString, code);
        QFETCH(QString, mistake);
        const QRegularExpression pattern(mistake);
        QVERIFY(pattern.isValid());
        const StringsTable table(tablePath(code));
        for (const QString& key : table.keys)
            QVERIFY2(!table.values[key].contains(pattern), qPrintable(table.values[key]));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, TranslationTablesTest)
#include "TranslationTablesTest.moc"
