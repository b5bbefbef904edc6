#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QLocale>
#include <QTest>
#include <limits>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class ReadoutTextTest : public QObject {
    Q_OBJECT

    struct Absent {
        const char* name;
        std::optional<double> reading;
    };

    static constexpr double endless = std::numeric_limits<double>::infinity();
    static constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

    static QString shown(const std::optional<QString>& text)
    {
        return text.value_or(QStringLiteral("(none)"));
    }
    static QString shown(MonitorSection section, const MenuBarReadings& readings)
    {
        return shown(StatusMetricView::readoutText(section, readings));
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        set("temperatureUnit", "celsius");
    }

    void percentages_data()
    {
        QTest::addColumn<double>("fraction");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, double fraction, const char* shown) {
            QTest::newRow(name) << fraction << text(shown);
        };
        row("0.42", 0.42, "42%");
        row("full", 1, "100%");
        row("above full", 1.7, "100%");
        row("nothing", 0, "0%");
        row("below nothing", -0.3, "0%");
        row("half up", 0.125, "13%");
        row("half at the bottom", 0.005, "1%");
        row("below a half", 0.0049, "0%");
        row("nearly full", 0.996, "100%");
        row("infinite", endless, "100%");
        row("no number", noNumber, "0%");
    }
    void percentages()
    {
        QFETCH(double, fraction);
        QTEST(StatusMetricView::percentText(fraction), "text");
    }

    void byteCounts_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, double bytes, const char* shown) {
            QTest::newRow(name) << qint64(bytes) << text(shown);
        };
        constexpr double gibibyte = 1073741824;
        row("nothing", 0, "0.0G");
        row("sample swap", 1288490189, "1.2G");
        row("sample storage", 442381631488, "412G");
        // Counts that are exact halves round to the even digit, as in C's printf().
        row("1.25 GiB", 1.25 * gibibyte, "1.2G");
        row("1.75 GiB", 1.75 * gibibyte, "1.8G");
        row("10.5 GiB", 10.5 * gibibyte, "10G");
        row("11.5 GiB", 11.5 * gibibyte, "12G");
        row("2.25 TiB", 2304 * gibibyte, "2.2T");
        row("9.94 GiB", 9.94 * gibibyte, "9.9G");
        row("just below 9.95 GiB", 9.95 * gibibyte, "9.9G");
        row("9.95 GiB", std::ceil(9.95 * gibibyte), "10G");
        row("just below 999.5 GiB", 999.5 * gibibyte - 1, "999G");
        row("999.5 GiB", 999.5 * gibibyte, "1.0T");
        row("1023.6 GiB", 1023.6 * gibibyte, "1.0T");
        row("2.5 TiB", 2560 * gibibyte, "2.5T");
    }
    void byteCounts()
    {
        QFETCH(qint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(shown(StatusMetricView::bytesText(std::optional(bytes))), text);
        QCOMPARE(shown(StatusMetricView::bytesText(std::optional(quint64(bytes)))), text);
    }

    void noCountGivesNoText()
    {
        QVERIFY(!StatusMetricView::bytesText(std::optional<qint64>()));
        QVERIFY(!StatusMetricView::bytesText(std::optional<quint64>()));
    }

    void countsHaveAPointInEveryLanguage()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
        const QString shownText = shown(StatusMetricView::bytesText(std::optional<qint64>(1288490189)));
        QLocale::setDefault(before);
        QCOMPARE(shownText, text("1.2G"));
    }

    void countsBeyondTheSignedOnesStayPositive()
    {
        QCOMPARE(shown(StatusMetricView::bytesText(std::optional(std::numeric_limits<quint64>::max()))),
            text("16777216.0T"));
    }

    void readouts_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("ofZeros");
        const auto row
            = [](MonitorSection section, const char* value, const char* shown, const char* ofZeros) {
                  const QByteArray key = rawValue(section).toLatin1() + "Readout";
                  QTest::addRow("%s %s", key.constData(), value)
                      << section << key << QByteArray(value) << text(shown) << text(ofZeros);
              };
        row(cpu, "off", "(none)", "(none)");
        row(cpu, "usage", "42%", "0%");
        row(cpu, "temperature", "48°", "0°");
        row(cpu, "Usage", "48°", "0°");
        row(cpu, "power", "12W", "0W");
        row(memory, "off", "(none)", "(none)");
        row(memory, "usage", "64%", "0%");
        row(memory, "pressure", "31%", "0%");
        row(memory, "swap", "1.2G", "0.0G");
        row(memory, "free", "64%", "0%");
        row(storage, "off", "(none)", "(none)");
        row(storage, "usage", "58%", "0%");
        row(storage, "free", "412G", "0.0G");
        row(storage, "swap", "58%", "0%");
        row(sensors, "off", "(none)", "(none)");
        row(sensors, "power", "24W", "0W");
        row(sensors, "?", "24W", "0W");
        row(sensors, "hottest", "52°", "0°");
        row(sensors, "gpu", "41°", "0°");
        row(sensors, "fan", "1240", "0");
    }
    void readouts()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, value);
        set(key, value);
        FakeReadings readings;
        readings.cpu = 0.42;
        readings.memory = 0.64;
        readings.storage = 0.58;
        QTEST(shown(section, readings), "text");
        // A reading of 0 is shown, unlike an absent one.
        readings.cpu = readings.memory = readings.pressure = readings.storage = 0;
        readings.swap = 0;
        readings.freeBytes = 0;
        readings.cpuCelsius = readings.cpuPower = readings.gpuCelsius = readings.hottest = readings.fan
            = readings.power = 0;
        QTEST(shown(section, readings), "ofZeros");
    }

    void missingReadoutsFollowTheLegacySwitch()
    {
        const FakeReadings readings;
        QCOMPARE(shown(StatusMetricView::memoryReadoutText(readings)), text("50%"));
        QCOMPARE(shown(StatusMetricView::storageReadoutText(readings)), text("50%"));
        SharedSettings::store().set("showMemoryPercent", false);
        QVERIFY(!StatusMetricView::memoryReadoutText(readings));
        QVERIFY(!StatusMetricView::storageReadoutText(readings));
    }

    void absentReadingsGiveNoText_data()
    {
        addRows<Absent>({ { "absent", std::nullopt }, { "no number", noNumber }, { "infinite", endless },
            { "too large to be shown", 1e300 }, { "too small to be shown", -1e300 } });
    }
    void absentReadingsGiveNoText()
    {
        QFETCH(Absent, row);
        FakeReadings readings;
        readings.cpuCelsius = readings.cpuPower = readings.gpuCelsius = readings.hottest = row.reading;
        readings.fan = readings.power = row.reading;
        for (const char* readout : { "temperature", "power" }) {
            set("cpuReadout", readout);
            QVERIFY2(!StatusMetricView::cpuReadoutText(readings), readout);
        }
        for (const char* readout : { "power", "hottest", "gpu", "fan" }) {
            set("sensorsReadout", readout);
            QVERIFY2(!StatusMetricView::sensorsReadoutText(readings), readout);
        }
    }

    void wattsAndFanSpeedsAreRoundedAwayFromZero()
    {
        FakeReadings readings;
        readings.power = 23.5;
        QCOMPARE(shown(sensors, readings), text("24W"));
        readings.power = 0.49;
        QCOMPARE(shown(sensors, readings), text("0W"));
        set("cpuReadout", "power");
        readings.cpuPower = 12.5;
        QCOMPARE(shown(cpu, readings), text("13W"));
        set("sensorsReadout", "fan");
        readings.fan = 1239.5;
        QCOMPARE(shown(sensors, readings), text("1240"));
    }

    void temperaturesFollowTheUnit()
    {
        set("temperatureUnit", "fahrenheit");
        QCOMPARE(shown(cpu, FakeReadings()), text("118°"));
    }

    void descriptionsNameTheSectionsInTheInterfaceLanguage()
    {
        const auto descriptions = [] {
            QStringList texts;
            for (const MonitorSection section : { cpu, memory, storage, sensors })
                texts.append(StatusMetricView::description(section));
            return texts.join(u' ');
        };
        QCOMPARE(descriptions(), text("CPU Memory SSD Sensors"));
        const TestBundle bundle("{ CFBundleDevelopmentRegion = en; }", { "en", "de" });
        bundle.writeTable(
            "de", R"("CPU" = "Kern"; "Memory" = "Speicher"; "SSD" = "Platte"; "Sensors" = "Sensoren";)");
        qputenv("KESTRUM_LANGUAGE", "de");
        const QString german = descriptions();
        qunsetenv("KESTRUM_LANGUAGE");
        QCOMPARE(german, text("Kern Speicher Platte Sensoren"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ReadoutTextTest)
#include "ReadoutTextTest.moc"
