#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QLocale>
#include <QTest>
#include <limits>

using namespace kestrum;

namespace {

constexpr double gibibyte = 1073741824;

QString shown(const std::optional<QString>& text)
{
    return text.value_or(QStringLiteral("(none)"));
}

} // namespace

class ReadoutTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        DrawingFixture::set("temperatureUnit", "celsius");
    }

    void percentages_data()
    {
        QTest::addColumn<double>("fraction");
        QTest::addColumn<QString>("text");
        QTest::newRow("0.42") << 0.42 << QStringLiteral("42%");
        QTest::newRow("full") << 1.0 << QStringLiteral("100%");
        QTest::newRow("above full") << 1.7 << QStringLiteral("100%");
        QTest::newRow("nothing") << 0.0 << QStringLiteral("0%");
        QTest::newRow("below nothing") << -0.3 << QStringLiteral("0%");
        QTest::newRow("half up") << 0.125 << QStringLiteral("13%");
        QTest::newRow("half at the bottom") << 0.005 << QStringLiteral("1%");
        QTest::newRow("below a half") << 0.0049 << QStringLiteral("0%");
        QTest::newRow("nearly full") << 0.996 << QStringLiteral("100%");
        QTest::newRow("infinite") << std::numeric_limits<double>::infinity() << QStringLiteral("100%");
        QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << QStringLiteral("0%");
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
        QTest::newRow("nothing") << qint64(0) << QStringLiteral("0.0G");
        QTest::newRow("sample swap") << qint64(1288490189) << QStringLiteral("1.2G");
        QTest::newRow("sample storage") << qint64(442381631488) << QStringLiteral("412G");
        // Counts that are exact halves round to the even digit, as in C's printf().
        QTest::newRow("1.25 GiB") << qint64(1.25 * gibibyte) << QStringLiteral("1.2G");
        QTest::newRow("1.75 GiB") << qint64(1.75 * gibibyte) << QStringLiteral("1.8G");
        QTest::newRow("10.5 GiB") << qint64(10.5 * gibibyte) << QStringLiteral("10G");
        QTest::newRow("11.5 GiB") << qint64(11.5 * gibibyte) << QStringLiteral("12G");
        QTest::newRow("2.25 TiB") << qint64(2304 * gibibyte) << QStringLiteral("2.2T");
        QTest::newRow("9.94 GiB") << qint64(9.94 * gibibyte) << QStringLiteral("9.9G");
        QTest::newRow("just below 9.95 GiB") << qint64(9.95 * gibibyte) << QStringLiteral("9.9G");
        QTest::newRow("9.95 GiB") << qint64(std::ceil(9.95 * gibibyte)) << QStringLiteral("10G");
        QTest::newRow("just below 999.5 GiB") << qint64(999.5 * gibibyte) - 1 << QStringLiteral("999G");
        QTest::newRow("999.5 GiB") << qint64(999.5 * gibibyte) << QStringLiteral("1.0T");
        QTest::newRow("1023.6 GiB") << qint64(1023.6 * gibibyte) << QStringLiteral("1.0T");
        QTest::newRow("2.5 TiB") << qint64(2560 * gibibyte) << QStringLiteral("2.5T");
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
        const QString text = shown(StatusMetricView::bytesText(std::optional<qint64>(1288490189)));
        QLocale::setDefault(before);
        QCOMPARE(text, QStringLiteral("1.2G"));
    }

    void countsBeyondTheSignedOnesStayPositive()
    {
        QCOMPARE(shown(StatusMetricView::bytesText(std::optional(std::numeric_limits<quint64>::max()))),
            QStringLiteral("16777216.0T"));
    }

    void readouts_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("text");
        const auto row = [](MonitorSection section, const char* key, const char* value, const char* text) {
            QTest::addRow("%s %s", key, value)
                << section << QByteArray(key) << QByteArray(value) << QString::fromUtf8(text);
        };
        row(MonitorSection::cpu, "cpuReadout", "off", "(none)");
        row(MonitorSection::cpu, "cpuReadout", "usage", "42%");
        row(MonitorSection::cpu, "cpuReadout", "temperature", "48°");
        row(MonitorSection::cpu, "cpuReadout", "Usage", "48°");
        row(MonitorSection::cpu, "cpuReadout", "power", "12W");
        row(MonitorSection::memory, "memoryReadout", "off", "(none)");
        row(MonitorSection::memory, "memoryReadout", "usage", "64%");
        row(MonitorSection::memory, "memoryReadout", "pressure", "31%");
        row(MonitorSection::memory, "memoryReadout", "swap", "1.2G");
        row(MonitorSection::memory, "memoryReadout", "free", "64%");
        row(MonitorSection::storage, "storageReadout", "off", "(none)");
        row(MonitorSection::storage, "storageReadout", "usage", "58%");
        row(MonitorSection::storage, "storageReadout", "free", "412G");
        row(MonitorSection::storage, "storageReadout", "swap", "58%");
        row(MonitorSection::sensors, "sensorsReadout", "off", "(none)");
        row(MonitorSection::sensors, "sensorsReadout", "power", "24W");
        row(MonitorSection::sensors, "sensorsReadout", "?", "24W");
        row(MonitorSection::sensors, "sensorsReadout", "hottest", "52°");
        row(MonitorSection::sensors, "sensorsReadout", "gpu", "41°");
        row(MonitorSection::sensors, "sensorsReadout", "fan", "1240");
    }
    void readouts()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, value);
        DrawingFixture::set(key, value);
        FakeReadings readings;
        readings.cpu = 0.42;
        readings.memory = 0.64;
        readings.storage = 0.58;
        QTEST(shown(StatusMetricView::readoutText(section, readings)), "text");
    }

    void missingReadoutsFollowTheLegacySwitch()
    {
        const FakeReadings readings;
        QCOMPARE(shown(StatusMetricView::memoryReadoutText(readings)), QStringLiteral("50%"));
        QCOMPARE(shown(StatusMetricView::storageReadoutText(readings)), QStringLiteral("50%"));
        SharedSettings::store().set("showMemoryPercent", false);
        QVERIFY(!StatusMetricView::memoryReadoutText(readings));
        QVERIFY(!StatusMetricView::storageReadoutText(readings));
    }

    void absentReadingsGiveNoText_data()
    {
        QTest::addColumn<std::optional<double>>("reading");
        QTest::newRow("absent") << std::optional<double>();
        QTest::newRow("no number") << std::optional(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinite") << std::optional(std::numeric_limits<double>::infinity());
    }
    void absentReadingsGiveNoText()
    {
        QFETCH(std::optional<double>, reading);
        FakeReadings readings;
        readings.cpuCelsius = readings.cpuPower = readings.gpuCelsius = readings.hottest = reading;
        readings.fan = readings.power = reading;
        for (const char* readout : { "temperature", "power" }) {
            DrawingFixture::set("cpuReadout", readout);
            QVERIFY2(!StatusMetricView::cpuReadoutText(readings), readout);
        }
        for (const char* readout : { "power", "hottest", "gpu", "fan" }) {
            DrawingFixture::set("sensorsReadout", readout);
            QVERIFY2(!StatusMetricView::sensorsReadoutText(readings), readout);
        }
    }

    void wattsAndFanSpeedsAreRoundedAwayFromZero()
    {
        FakeReadings readings;
        readings.power = 23.5;
        QCOMPARE(shown(StatusMetricView::sensorsReadoutText(readings)), QStringLiteral("24W"));
        DrawingFixture::set("cpuReadout", "power");
        readings.cpuPower = 12.5;
        QCOMPARE(shown(StatusMetricView::cpuReadoutText(readings)), QStringLiteral("13W"));
        readings.power = 0.49;
        QCOMPARE(shown(StatusMetricView::sensorsReadoutText(readings)), QStringLiteral("0W"));
        DrawingFixture::set("sensorsReadout", "fan");
        readings.fan = 1239.5;
        QCOMPARE(shown(StatusMetricView::sensorsReadoutText(readings)), QStringLiteral("1240"));
    }

    void temperaturesFollowTheUnit()
    {
        DrawingFixture::set("temperatureUnit", "fahrenheit");
        QCOMPARE(shown(StatusMetricView::cpuReadoutText(FakeReadings())), QStringLiteral("118°"));
    }

    void descriptionsNameTheSections()
    {
        QCOMPARE(StatusMetricView::description(MonitorSection::cpu), QStringLiteral("CPU"));
        QCOMPARE(StatusMetricView::description(MonitorSection::memory), QStringLiteral("Memory"));
        QCOMPARE(StatusMetricView::description(MonitorSection::storage), QStringLiteral("SSD"));
        QCOMPARE(StatusMetricView::description(MonitorSection::sensors), QStringLiteral("Sensors"));
    }

    void descriptionsAreInTheInterfaceLanguage()
    {
        const TestBundle bundle("{ CFBundleDevelopmentRegion = en; }", { "en", "de" });
        bundle.writeTable(
            "de", R"("CPU" = "Kern"; "Memory" = "Speicher"; "SSD" = "Platte"; "Sensors" = "Sensoren";)");
        qputenv("KESTRUM_LANGUAGE", "de");
        QStringList descriptions;
        for (const auto& section : allCases<MonitorSection>())
            descriptions.append(StatusMetricView::description(section.value));
        qunsetenv("KESTRUM_LANGUAGE");
        descriptions.sort();
        QCOMPARE(descriptions.join(QLatin1Char(' ')), QStringLiteral("Kern Platte Sensoren Speicher"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ReadoutTextTest)
#include "ReadoutTextTest.moc"
