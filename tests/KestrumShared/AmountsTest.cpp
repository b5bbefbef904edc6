#include "KestrumShared/Popover/Amounts.h"
#include "KestrumShared/Settings/Keys.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QElapsedTimer>
#include <QTest>
#include <limits>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

constexpr double GB = 1073741824;
constexpr double MB = 1048576;

/// All kinds of texts of a popover in one line.
QString allTexts()
{
    const Amounts amounts;
    return withPlainBlanks(QStringList {
        amounts.percent(0.49),
        amounts.memory(6.75 * GB),
        amounts.space(69.4e9),
        amounts.temperature(48.2),
        amounts.watts(12.4),
        amounts.clock(3.42e9),
        amounts.count(2310),
        amounts.number(5.24, 2),
        amounts.duration(76h),
        amounts.duration(4h + 12min),
        amounts.age(107),
    }
                               .join(QStringLiteral(" | ")));
}

} // namespace

class AmountsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init()
    {
        forgetSettings();
        setSession("LANG=en_GB.UTF-8");
    }

    void textsFollowLanguageAndRegion_data()
    {
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("texts");
        const auto row = [](const char* session, const char* texts) {
            QTest::newRow(session) << QByteArray(session) << text(texts);
        };
        row("KESTRUM_LANGUAGE=en LANG=en_GB",
            "49 % | 6.75 GB | 69.4 GB | 48°C | 12 W | 3.42 GHz | 2,310 | 5.24 | 3 d 4 h | 4 h 12 min | 1:47");
        row("KESTRUM_LANGUAGE=de LANG=de_DE",
            "49 % | 6,75 GB | 69,4 GB | 48 °C | 12 W | 3,42 GHz | 2.310 | 5,24 | 3 Tg., 4 Std. | 4 Std., 12 "
            "Min. | "
            "1:47");
        row("KESTRUM_LANGUAGE=de LANG=en_US",
            "49 % | 6.75 GB | 69.4 GB | 119 °F | 12 W | 3.42 GHz | 2,310 | 5.24 | 3 Tg., 4 Std. | 4 Std., 12 "
            "Min. | "
            "1:47");
        row("KESTRUM_LANGUAGE=fr LANG=fr_FR",
            "49 % | 6,75 Go | 69,4 Go | 48 °C | 12 W | 3,42 GHz | 2 310 | 5,24 | 3 j 4 h | 4 h 12 min | "
            "1:47");
        row("KESTRUM_LANGUAGE=ar LANG=ar_EG",
            "٤٩ ٪ | ٦٫٧٥ غ.ب | ٦٩٫٤ غ.ب | ٤٨°م | ١٢ واط | ٣٫٤٢ غ هرتز | ٢٬٣١٠ | ٥٫٢٤ | ٣ أيام و٤ س | ٤ س و١٢ "
            "د | ١:٤٧");
        row("KESTRUM_LANGUAGE=ja LANG=ja_JP",
            "49 % | 6.75 GB | 69.4 GB | 48°C | 12 W | 3.42 GHz | 2,310 | 5.24 | 3 日4 時間 | 4 時間12 分 | "
            "1:47");
    }
    void textsFollowLanguageAndRegion()
    {
        QFETCH(QByteArray, session);
        QFETCH(QString, texts);
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de", "fr", "ar", "ja" });
        bundle.writeTable("de", R"("%@°C" = "%@ °C"; "%@°F" = "%@ °F";)");
        bundle.writeTable("fr", R"("%@°C" = "%@ °C";)");
        bundle.writeTable("ar", R"("%@°C" = "%@°م";)");
        setSession(session);
        QCOMPARE(allTexts(), texts);
    }

    void textsOfALanguageAreNotThoseOfTheLastOne()
    {
        const TestBundle bundle("CFBundleDevelopmentRegion = en;", { "en", "de" });
        setSession("KESTRUM_LANGUAGE=de LANG=de_DE");
        const QString german = allTexts();
        setSession("KESTRUM_LANGUAGE=en LANG=en_GB");
        QVERIFY(allTexts() != german);
        setSession("KESTRUM_LANGUAGE=de LANG=de_DE");
        QCOMPARE(allTexts(), german);
    }

    void bytesOfVolumesHaveSteadyDecimals_data()
    {
        steadyRows({
            { 0, "0 kB" },
            { 499, "0 kB" },
            { 400e3, "400 kB" },
            { 999'499, "999 kB" },
            { 999'500, "1.0 MB" },
            { 6.2e6, "6.2 MB" },
            { 38e6, "38.0 MB" },
            { 38.1e6, "38.1 MB" },
            { 99.94e6, "99.9 MB" },
            { 99.96e6, "100 MB" },
            { 412e6, "412 MB" },
            { 999.4e6, "999 MB" },
            { 999.6e6, "1.00 GB" },
            { 1.2e9, "1.20 GB" },
            { 9.994e9, "9.99 GB" },
            { 9.996e9, "10.0 GB" },
            { 69.4e9, "69.4 GB" },
            { 412e9, "412 GB" },
            { 2.76e12, "2.76 TB" },
            { 5e18, "1,000 PB" },
            { -5, "0 kB" },
            { std::numeric_limits<double>::quiet_NaN(), "0 kB" },
        });
    }
    void bytesOfVolumesHaveSteadyDecimals()
    {
        QFETCH(double, bytes);
        QTEST(Amounts().space(bytes), "text");
    }

    void bytesOfMemoryHaveTwoDecimalsUpToAHundredGigabytes_data()
    {
        steadyRows({
            { 0, "0 kB" },
            { 301 * MB, "301 MB" },
            { 38 * MB, "38.0 MB" },
            { 612 * MB, "612 MB" },
            { 1023.4 * MB, "1,023 MB" },
            { 1023.6 * MB, "1.00 GB" },
            { 6.75 * GB, "6.75 GB" },
            { 10.24 * GB, "10.24 GB" },
            { 16 * GB, "16.00 GB" },
            { 99.994 * GB, "99.99 GB" },
            { 99.996 * GB, "100 GB" },
            { 1536 * GB, "1.50 TB" },
        });
    }
    void bytesOfMemoryHaveTwoDecimalsUpToAHundredGigabytes()
    {
        QFETCH(double, bytes);
        QTEST(Amounts().memory(bytes), "text");
    }

    void theSizeOfTheMemoryHasNoZeros() { QCOMPARE(Amounts().wholeMemory(16 * GB), text("16 GB")); }

    void ratesAreSteadyAndScalesAreShort()
    {
        QCOMPARE(Amounts().rate(38e6), text("38.0 MB/s"));
        QCOMPARE(Amounts().scale(50e6), text("50 MB/s"));
        QCOMPARE(Amounts().scale(1e6), text("1 MB/s"));
    }

    void numbersAreRoundedAsInTheItems()
    {
        QCOMPARE(withPlainBlanks(Amounts().percent(0.025)), text("3 %"));
        QCOMPARE(withPlainBlanks(Amounts().percent(-1)), text("0 %"));
        QCOMPARE(withPlainBlanks(Amounts().percent(std::numeric_limits<double>::infinity())), text("0 %"));
        QCOMPARE(withPlainBlanks(Amounts().watts(24.5)), text("25 W"));
        QCOMPARE(Amounts().temperature(48.5), text("49°C"));
        QCOMPARE(Amounts().temperature(-0.4), text("0°C"));
        QCOMPARE(Amounts().temperature(-5), text("-5°C"));
    }

    void temperaturesHaveTheUnitOfTheGivenSettings()
    {
        SharedSettings::store().set(Keys::temperatureUnit.name, QStringLiteral("fahrenheit"));
        const Amounts amounts(SharedSettings::store().snapshot());
        SharedSettings::store().set(Keys::temperatureUnit.name, QStringLiteral("celsius"));
        QCOMPARE(amounts.temperature(48), text("118°F"));
        QCOMPARE(Amounts().temperature(48), text("48°C"));
    }

    void durationsHaveTheirTwoLargestUnits_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("text");
        const auto row = [](std::chrono::seconds time, const char* shown) {
            QTest::newRow(shown) << int(time.count()) << text(shown);
        };
        row(-1s, "0 min");
        row(59s, "0 min");
        row(12min + 59s, "12 min");
        row(1h, "1 h");
        row(4h + 12min, "4 h 12 min");
        row(24h + 59min, "1 d");
        row(76h + 30min, "3 d 4 h");
        row(9600h, "400 d");
    }
    void durationsHaveTheirTwoLargestUnits()
    {
        QFETCH(int, seconds);
        QTEST(Amounts().duration(std::chrono::seconds(seconds)), "text");
    }

    void anEstimateIsNotToTheMinuteFromAnHourOn()
    {
        QCOMPARE(Amounts().estimate(58min), text("58 min"));
        QCOMPARE(Amounts().estimate(62min), text("1 h"));
        QCOMPARE(Amounts().estimate(63min), text("1 h 5 min"));
        QCOMPARE(Amounts().estimate(3h + 12min), text("3 h 10 min"));
    }

    void anAgeHasTwoDigitsOfSeconds()
    {
        QCOMPARE(Amounts().age(0), text("0:00"));
        QCOMPARE(Amounts().age(62.4), text("1:02"));
        QCOMPARE(Amounts().age(299.6), text("5:00"));
    }

    void aMomentOfTodayIsATimeAndAnotherADate()
    {
        const auto now = std::chrono::system_clock::now();
        const auto clock
            = std::chrono::system_clock::from_time_t(QDate::currentDate().startOfDay().toSecsSinceEpoch());
        QCOMPARE(Amounts().moment(clock + 9h + 5min), text("09:05"));
        QVERIFY(!Amounts().moment(now - 72h).contains(u':'));
    }

    void theTextsOfAPanelTakeLittleTime()
    {
        allTexts(); // reads tables and makes the formatters
        QElapsedTimer timer;
        qint64 shortest = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 20; ++i) {
            timer.start();
            for (int j = 0; j < 4; ++j) // 44 texts, as many as a popover has
                allTexts();
            shortest = std::min(shortest, timer.nsecsElapsed());
        }
        // Formatters that are made anew would take ten times as long.
        QVERIFY2(shortest < 1'000'000, QByteArray::number(shortest).constData());
        qInfo("%.3f ms", double(shortest) / 1e6);
    }

private:
    struct Row {
        double bytes;
        const char* text;
    };
    static void steadyRows(std::initializer_list<Row> all)
    {
        QTest::addColumn<double>("bytes");
        QTest::addColumn<QString>("text");
        for (const auto& [bytes, text] : all)
            QTest::newRow(qPrintable(QString::number(bytes, 'g', 12))) << bytes << QString::fromLatin1(text);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AmountsTest)
#include "AmountsTest.moc"
