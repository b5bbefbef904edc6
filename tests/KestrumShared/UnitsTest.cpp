#include "KestrumShared/Text/Units.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/TextLocale.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QSet>
#include <limits>
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>
#include <utility>

using namespace kestrum;

namespace {

void choose(const char* unit)
{
    QVERIFY(SharedSettings::store().set(Keys::temperatureUnit.name, QString::fromLatin1(unit)));
}

/// Sets ICU's default locale of the process while this object exists.
class DefaultLocale {
public:
    explicit DefaultLocale(const char* name) { set(icu::Locale(name)); }
    ~DefaultLocale() { set(m_before); }
    Q_DISABLE_COPY_MOVE(DefaultLocale)

private:
    static void set(const icu::Locale& locale)
    {
        UErrorCode status = U_ZERO_ERROR;
        icu::Locale::setDefault(locale, status);
        QVERIFY(U_SUCCESS(status));
    }
    const icu::Locale m_before = icu::Locale::getDefault();
};

} // namespace

class UnitsTest : public QObject {
    Q_OBJECT

    struct Choice {
        const char* name;
        QJsonValue stored;
        Units::TemperatureChoice choice = Units::TemperatureChoice::system;
    };

    /// The full text of a temperature, with ordinary blanks.
    static QString temperature(double celsius) { return withPlainBlanks(Units::temperature(celsius, 1)); }

private Q_SLOTS:
    void init()
    {
        setSession("LANG=C.UTF-8");
        SharedSettings::store().remove(Keys::temperatureUnit.name);
    }

    void choiceIsMatchedExactly_data()
    {
        using enum Units::TemperatureChoice;
        addRows<Choice>({ { "absent", QJsonValue::Undefined }, { "celsius", text("celsius"), celsius },
            { "fahrenheit", text("fahrenheit"), fahrenheit }, { "system", text("system") },
            { "capital", text("Celsius") }, { "blank", text("fahrenheit ") }, { "empty", QString() },
            { "number", 1 } });
    }
    void choiceIsMatchedExactly()
    {
        QFETCH(Choice, row);
        QVERIFY(SharedSettings::store().set(Keys::temperatureUnit.name, row.stored));
        QCOMPARE(Units::temperatureChoice(), row.choice);
    }

    void unknownChoiceBehavesAsSystem()
    {
        choose("Celsius");
        setSession("LANG=en_US.UTF-8");
        QCOMPARE(Units::degrees(0), text("32°"));
        choose("celsius");
        QCOMPARE(Units::degrees(0), text("0°"));
    }

    void unitOfTheSystem_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("zeroDegrees");
        const auto row = [](const char* session, const char* zero) {
            QTest::newRow(*session ? session : "nothing") << QByteArray(session) << text(zero);
        };
        row("LANG=en_US.UTF-8", "32°");
        row("LANG=es_US", "32°");
        row("LANG=de_DE.UTF-8", "0°");
        row("LANG=en_GB.UTF-8", "0°");
        row("LANG=ja_JP", "0°");
        row("LANG=de_DE LC_MEASUREMENT=en_US", "32°");
        row("LANG=en_US LC_MEASUREMENT=de_DE", "0°");
        row("LANG=en_US LC_NUMERIC=de_DE", "32°");
        row("LANG=en", "0°");
        row("LANG=C.UTF-8", "0°");
        row("LANG=en_ZZ", "0°");
        row("", "0°");
    }
    void unitOfTheSystem()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, zeroDegrees);
        setSession(session);
        QCOMPARE(Units::degrees(0), zeroDegrees);
        choose("celsius");
        QCOMPARE(Units::temperatureUnit(), Units::TemperatureUnit::celsius);
        choose("fahrenheit");
        QCOMPARE(Units::temperatureUnit(), Units::TemperatureUnit::fahrenheit);
    }

    void degreesAreWholeNumbers_data()
    {
        QTest::addColumn<double>("celsius");
        QTest::addColumn<QString>("inCelsius");
        QTest::addColumn<QString>("inFahrenheit");
        const auto row = [](double celsius, const char* inCelsius, const char* inFahrenheit) {
            QTest::addRow("%g", celsius) << celsius << text(inCelsius) << text(inFahrenheit);
        };
        row(64.6, "65°", "148°");
        row(0, "0°", "32°");
        row(-0.0, "0°", "32°");
        row(-0.4, "0°", "31°");
        row(-0.5, "-1°", "31°");
        row(0.5, "1°", "33°");
        row(1.5, "2°", "35°");
        row(2.5, "3°", "37°");
        row(-2.5, "-3°", "28°");  // 27.5 in Fahrenheit
        row(12.5, "13°", "55°");  // 54.5 in Fahrenheit
        row(-18.0, "-18°", "0°"); // -0.4 in Fahrenheit
        row(0.49999999999999994, "0°", "33°");
        row(-40, "-40°", "-40°");
        row(1234567.0, "1234567°", "2222253°");
    }
    void degreesAreWholeNumbers()
    {
        QFETCH(double, celsius);
        QFETCH(QString, inCelsius);
        QFETCH(QString, inFahrenheit);
        choose("celsius");
        QCOMPARE(Units::degrees(celsius), inCelsius);
        choose("fahrenheit");
        QCOMPARE(Units::degrees(celsius), inFahrenheit);
    }

    void degreesAreThePlainDigitsInAnyLanguage()
    {
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "ar" });
        setSession("KESTRUM_LANGUAGE=ar LANG=ar_EG.UTF-8");
        QCOMPARE(Units::degrees(-1234.6), QStringLiteral("-1235°"));
    }

    void fullTextByLanguageAndRegion_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("celsius");
        QTest::addColumn<QString>("fahrenheit");
        const auto row = [](const char* session, const char* celsius, const char* fahrenheit) {
            QTest::newRow(session) << QByteArray(session) << text(celsius) << text(fahrenheit);
        };
        // The language decides words, digits and unit symbols; the region decides the separators.
        row("KESTRUM_LANGUAGE=en LANG=en_US", "1,021.3°C", "1,870.3°F");
        row("KESTRUM_LANGUAGE=de LANG=en_US", "1,021.3 °C", "1,870.3 °F");
        row("KESTRUM_LANGUAGE=de LANG=de_DE", "1.021,3 °C", "1.870,3 °F");
        row("KESTRUM_LANGUAGE=en LANG=de_DE", "1.021,3°C", "1.870,3°F");
        row("KESTRUM_LANGUAGE=fr LANG=fr_FR", "1 021,3 °C", "1 870,3 °F");
        row("KESTRUM_LANGUAGE=en LANG=fr_FR", "1 021,3°C", "1 870,3°F");
        row("KESTRUM_LANGUAGE=ar LANG=ar_EG", "١٬٠٢١٫٣°م", "١٬٨٧٠٫٣°ف");
        // Arabic separators appear only between Arabic digits.
        row("KESTRUM_LANGUAGE=en LANG=ar_EG", "1,021.3°C", "1,870.3°F");
        row("KESTRUM_LANGUAGE=ja LANG=ja_JP", "1,021.3°C", "1,870.3°F");
        row("KESTRUM_LANGUAGE=de LANG=de_CH", "1’021.3 °C", "1’870.3 °F");
        // In Switzerland, French has its own separators. Japanese uses those of the country's main language.
        row("KESTRUM_LANGUAGE=fr LANG=de_CH", "1 021,3 °C", "1 870,3 °F");
        row("KESTRUM_LANGUAGE=ja LANG=de_CH", "1’021.3°C", "1’870.3°F");
        // The session's region replaces the region of the language code. This code may contain an underscore.
        row("KESTRUM_LANGUAGE=fr-CA LANG=de_CH", "1 021,3 °C", "1 870,3 °F");
        row("KESTRUM_LANGUAGE=fr_CA LANG=de_CH", "1 021,3 °C", "1 870,3 °F");
        // Without a region, the language's own separators are used.
        row("KESTRUM_LANGUAGE=en LANG=C", "1,021.3°C", "1,870.3°F");
        row("KESTRUM_LANGUAGE=de LANG=C", "1.021,3 °C", "1.870,3 °F");
        row("KESTRUM_LANGUAGE=fr_CA LANG=C", "1 021,3 °C", "1 870,3 °F");
        row("KESTRUM_LANGUAGE=de LANG=en_ZZ", "1,021.3 °C", "1,870.3 °F");
        // LC_NUMERIC decides the region, not LANG or LC_MEASUREMENT.
        row("KESTRUM_LANGUAGE=de LANG=de_DE LC_NUMERIC=en_US LC_MEASUREMENT=de_DE", "1,021.3 °C",
            "1,870.3 °F");
    }
    void fullTextByLanguageAndRegion()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, celsius);
        QFETCH(QString, fahrenheit);
        const TestBundle bundle(
            "CFBundleDevelopmentRegion = en;", { "en", "de", "fr", "fr-CA", "fr_CA", "ar", "ja" });
        setSession(session);
        choose("celsius");
        QCOMPARE(temperature(1021.28), celsius);
        choose("fahrenheit");
        QCOMPARE(temperature(1021.28), fahrenheit);
    }

    void germanInTheUSAShowsFahrenheitWithAPoint()
    {
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de" });
        setSession("KESTRUM_LANGUAGE=de LANG=en_US.UTF-8");
        choose("system");
        QCOMPARE(temperature(21.25), text("70.2 °F"));
    }

    void separatorsAreThoseOfTheRegion_data()
    {
        QTest::addColumn<QString>("celsius");
        const auto rows
            = [](const char* regions, const char* celsius) { QTest::newRow(regions) << text(celsius); };
        // The separators are those of the region, or of the state to which the territory belongs.
        rows("US GB IE IN JP CN KR MX NZ PK", "1,021.3 °C");
        rows("DE NL IT ES GR TR BR AR DK ID", "1.021,3 °C");
        rows("FR SE FI PL CZ UA RU NO ZA AT", "1 021,3 °C");
        rows("CH LI", "1’021.3 °C");
        // ICU does not know the main language of these regions, but it knows another language of the region.
        rows("AS DJ LS MV PG PW TK TV VU WS", "1,021.3 °C");
        rows("BQ CW PY", "1.021,3 °C");
        // These regions have no permanent inhabitants.
        rows("AQ BV GS HM", "1,021.3 °C");
    }
    void separatorsAreThoseOfTheRegion()
    {
        QFETCH(QString, celsius);
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de" });
        choose("celsius");
        for (const QByteArray& region : QByteArray(QTest::currentDataTag()).split(' ')) {
            setSession("KESTRUM_LANGUAGE=de LANG=en_" + region);
            // ICU uses its default locale for unknown locales. This default must have no effect.
            for (const char* processDefault : { "en_US", "de_DE" }) {
                const DefaultLocale set(processDefault);
                QVERIFY2(temperature(1021.28) == celsius, region.constData());
            }
        }
    }

    void noRegionTakesSeparatorsFromTheProcess()
    {
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de" });
        choose("celsius");
        int regions = 0;
        for (const char* const* region = uloc_getISOCountries(); *region; ++region, ++regions) {
            setSession("KESTRUM_LANGUAGE=de LANG=en_" + QByteArray(*region));
            QStringList texts;
            for (const char* processDefault : { "en_US", "de_DE", "fr_FR" }) {
                const DefaultLocale set(processDefault);
                texts.append(Units::temperature(1021.28, 1));
            }
            texts.removeDuplicates();
            QVERIFY2(texts.size() == 1, qPrintable(QLatin1StringView(*region) + texts.join(u'|')));
        }
        QVERIFY(regions > 200);
    }

    void decimalsAreAsManyAsAskedForAndZeroHasNoSign()
    {
        setSession("LANG=en_US");
        choose("celsius");
        QCOMPARE(Units::temperature(-0.04, 1), QStringLiteral("0.0°C"));
        QCOMPARE(Units::temperature(-0.06, 1), QStringLiteral("-0.1°C"));
        QCOMPARE(Units::temperature(21, 0), QStringLiteral("21°C"));
        QCOMPARE(Units::temperature(21, 2), QStringLiteral("21.00°C"));
        QCOMPARE(Units::temperature(21.256, 2), QStringLiteral("21.26°C"));
        QCOMPARE(Units::temperature(21.6, -1), QStringLiteral("22°C"));
        QVERIFY(
            Units::temperature(21, std::numeric_limits<int>::max()).startsWith(QLatin1StringView("21.000")));
    }

    void everyRegionMeasuresAsTheFormattersLibrarySays()
    {
        choose("system");
        int inFahrenheit = 0;
        for (const char* const* region = uloc_getISOCountries(); *region; ++region) {
            setSession("LANG=en_" + QByteArray(*region) + ".UTF-8");
            UErrorCode status = U_ZERO_ERROR;
            const auto system
                = ulocdata_getMeasurementSystem(("und_" + QByteArray(*region)).constData(), &status);
            QVERIFY(U_SUCCESS(status));
            const bool isFahrenheit = Units::temperatureUnit() == Units::TemperatureUnit::fahrenheit;
            QVERIFY2(isFahrenheit == (system == UMS_US), *region);
            inFahrenheit += isFahrenheit ? 1 : 0;
        }
        QVERIFY(inFahrenheit > 0);
    }

    void wholeDegreesAreWrittenAsByTheFormattersLibrary_data()
    {
        QTest::addColumn<QString>("language");
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        const QStringList languages = AppLanguage::shipped();
        QVERIFY(languages.size() >= 12);
        for (const QString& language : languages)
            QTest::newRow(qPrintable(language)) << language;
    }
    void wholeDegreesAreWrittenAsByTheFormattersLibrary()
    {
        QFETCH(QString, language);
        // Other regions give the same texts as a missing region.
        QSet<QByteArray> regions { "", "US", "DE" };
        const QByteArray itself = TextLocale::ofLanguage(language).getLanguage();
        int32_t count = 0;
        const icu::Locale* all = icu::Locale::getAvailableLocales(count);
        for (int32_t i = 0; i < count; ++i) {
            if (itself == all[i].getLanguage())
                regions.insert(all[i].getCountry());
        }
        for (const bool isFahrenheit : { false, true }) {
            choose(isFahrenheit ? "fahrenheit" : "celsius"); // not in the inner loop: each choice is a save
            const auto settings
                = icu::number::NumberFormatter::with()
                      .unit(isFahrenheit ? icu::MeasureUnit::getFahrenheit() : icu::MeasureUnit::getCelsius())
                      .unitWidth(UNUM_UNIT_WIDTH_SHORT);
            for (const QByteArray& region : std::as_const(regions)) {
                setSession("KESTRUM_LANGUAGE=" + language.toLatin1()
                    + " LANG=" + (region.isEmpty() ? QByteArray("C") : "en_" + region) + ".UTF-8");
                const auto formatter = TextLocale::formatter(language, QString::fromLatin1(region), settings);
                for (const int degrees : { 0, 1, 2, 5, 11, 85, 999, 1200 }) {
                    if (isFahrenheit && degrees % 5 != 0)
                        continue; // not a whole number in Fahrenheit
                    UErrorCode status = U_ZERO_ERROR;
                    const auto written
                        = formatter.formatDouble(isFahrenheit ? degrees * 9.0 / 5 + 32 : degrees, status);
                    QCOMPARE(Units::temperature(degrees, 0),
                        TextLocale::fromUnicode(written.toString(status)).replace(u' ', QChar::Nbsp));
                }
            }
        }
    }

    void aTemperatureIsNeverBrokenIntoLines_data() { wholeDegreesAreWrittenAsByTheFormattersLibrary_data(); }
    void aTemperatureIsNeverBrokenIntoLines()
    {
        QFETCH(QString, language);
        setSession("KESTRUM_LANGUAGE=" + language.toLatin1() + " LANG=C.UTF-8");
        for (const char* unit : { "celsius", "fahrenheit" }) {
            choose(unit);
            for (const int fraction : { 0, 1 }) {
                const QString text = Units::temperature(95, fraction);
                QVERIFY2(!text.contains(u' '), qPrintable(text));
            }
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UnitsTest)
#include "UnitsTest.moc"
