#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

namespace {

struct Row {
    const char* name;
    MonitorSection section;
    const char* key; ///< set to `value`, unless null
    const char* value;
    double withIcons; ///< item's width without the icon's width
    double withLetters;
};

constexpr double bars4 = 3 + 4 * 4.9 + 4;
constexpr MonitorSection cpu = MonitorSection::cpu;
constexpr MonitorSection memory = MonitorSection::memory;
constexpr MonitorSection storage = MonitorSection::storage;
constexpr MonitorSection sensors = MonitorSection::sensors;

// Label + 1 + side gap + meter + readout + 1, in points. The test adds the label's width. The gap is 5 with icons, 3 with
// letters.
const Row rows[] = {
    { "bars and a temperature, the factory's", cpu, nullptr, nullptr, 1 + 5 + bars4 + 32 + 1,
        1 + 3 + bars4 + 30 + 1 },
    { "bars", cpu, "meterStyle", "bars", 1 + 5 + bars4 + 32 + 1, 1 + 3 + bars4 + 30 + 1 },
    { "unknown style", cpu, "meterStyle", "Wave", 1 + 5 + bars4 + 32 + 1, 1 + 3 + bars4 + 30 + 1 },
    { "wave", cpu, "meterStyle", "wave", 1 + 5 + 46 + 32 + 1, 1 + 3 + 46 + 30 + 1 },
    { "compact", cpu, "meterStyle", "compact", 1 + 5 + 46 + 32 + 1, 1 + 3 + 46 + 30 + 1 },
    { "cpu off", cpu, "cpuReadout", "off", 1 + 5 + bars4 + 1, 1 + 3 + bars4 + 1 },
    { "cpu usage", cpu, "cpuReadout", "usage", 1 + 5 + bars4 + 38 + 1, 1 + 3 + bars4 + 36 + 1 },
    { "cpu power", cpu, "cpuReadout", "power", 1 + 5 + bars4 + 38 + 1, 1 + 3 + bars4 + 36 + 1 },
    { "cpu temperature", cpu, "cpuReadout", "temperature", 1 + 5 + bars4 + 32 + 1, 1 + 3 + bars4 + 30 + 1 },
    { "cpu unknown", cpu, "cpuReadout", "None", 1 + 5 + bars4 + 32 + 1, 1 + 3 + bars4 + 30 + 1 },
    { "memory missing, legacy on", memory, nullptr, nullptr, 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "memory unknown, legacy on", memory, "memoryReadout", "?", 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "memory usage", memory, "memoryReadout", "usage", 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "memory pressure", memory, "memoryReadout", "pressure", 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "memory swap", memory, "memoryReadout", "swap", 1 + 5 + 8.4 + 35 + 1, 1 + 3 + 8.4 + 33 + 1 },
    { "memory off", memory, "memoryReadout", "off", 1 + 5 + 8.4 + 1, 1 + 3 + 8.4 + 1 },
    { "storage missing, legacy on", storage, nullptr, nullptr, 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "storage unknown, legacy on", storage, "storageReadout", "swap", 1 + 5 + 8.4 + 38 + 1,
        1 + 3 + 8.4 + 36 + 1 },
    { "storage usage", storage, "storageReadout", "usage", 1 + 5 + 8.4 + 38 + 1, 1 + 3 + 8.4 + 36 + 1 },
    { "storage free", storage, "storageReadout", "free", 1 + 5 + 8.4 + 35 + 1, 1 + 3 + 8.4 + 33 + 1 },
    { "storage off", storage, "storageReadout", "off", 1 + 5 + 8.4 + 1, 1 + 3 + 8.4 + 1 },
    { "sensors power, the factory's", sensors, nullptr, nullptr, 1 + 38 + 1, 1 + 36 + 1 },
    { "sensors power", sensors, "sensorsReadout", "power", 1 + 38 + 1, 1 + 36 + 1 },
    { "sensors unknown", sensors, "sensorsReadout", "", 1 + 38 + 1, 1 + 36 + 1 },
    { "sensors hottest", sensors, "sensorsReadout", "hottest", 1 + 32 + 1, 1 + 30 + 1 },
    { "sensors gpu", sensors, "sensorsReadout", "gpu", 1 + 32 + 1, 1 + 30 + 1 },
    { "sensors fan", sensors, "sensorsReadout", "fan", 1 + 34 + 1, 1 + 32 + 1 },
    { "sensors off", sensors, "sensorsReadout", "off", 1 + 0 + 1, 1 + 0 + 1 },
};

} // namespace

class ItemWidthTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void widthsFollowTheTable_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < int(std::size(rows)); ++row)
            QTest::newRow(rows[row].name) << row;
    }
    void widthsFollowTheTable()
    {
        QFETCH(int, row);
        const Row& wanted = rows[row];
        if (wanted.key)
            DrawingFixture::set(wanted.key, wanted.value);
        const double icon = StatusMetricView::iconSize(wanted.section).width();
        QCOMPARE(StatusMetricView::itemWidth(wanted.section), icon + wanted.withIcons);
        DrawingFixture::set("meterLabelStyle", "letters");
        // The sensors item also shows its symbol after the letters, with a gap of its own.
        const double symbol = wanted.section == sensors ? 3 + icon : 0;
        QCOMPARE(StatusMetricView::itemWidth(wanted.section), 6 + symbol + wanted.withLetters);
    }

    void legacySwitchDecidesWhatIsMissing_data()
    {
        QTest::addColumn<QJsonValue>("legacy");
        QTest::addColumn<bool>("shows");
        QTest::newRow("on") << QJsonValue(true) << true;
        QTest::newRow("off") << QJsonValue(false) << false;
        QTest::newRow("of another type") << QJsonValue(1) << false;
    }
    void legacySwitchDecidesWhatIsMissing()
    {
        QFETCH(QJsonValue, legacy);
        QFETCH(bool, shows);
        SharedSettings::store().set("showMemoryPercent", legacy);
        for (const MonitorSection section : { memory, storage }) {
            const double base = StatusMetricView::iconSize(section).width() + 1 + 5 + 8.4 + 1;
            QCOMPARE(StatusMetricView::itemWidth(section), base + (shows ? 38 : 0));
        }
        // The CPU's readout does not depend on the old switch.
        DrawingFixture::set("cpuReadout", "?");
        QCOMPARE(StatusMetricView::cpuReadoutWidth(), 32.0);
    }

    void barsMeterGrowsWithTheCores_data()
    {
        QTest::addColumn<int>("cores");
        QTest::addColumn<double>("width");
        QTest::newRow("none counts as one") << 0 << 8.9;
        QTest::newRow("1") << 1 << 8.9;
        QTest::newRow("2") << 2 << 14.8;
        QTest::newRow("8") << 8 << 50.2;
        QTest::newRow("12") << 12 << 73.8;
        QTest::newRow("64") << 64 << 380.6;
    }
    void barsMeterGrowsWithTheCores()
    {
        QFETCH(int, cores);
        QFETCH(double, width);
        CoreTopology::useTiers({ { QStringLiteral("Level 0"), cores } });
        const double rest = StatusMetricView::iconSize(cpu).width() + 1 + 5 + 32 + 1;
        QCOMPARE(StatusMetricView::itemWidth(cpu), rest + width);
    }

    void labelAndGapFollowTheLabelStyle()
    {
        for (const auto& section : allCases<MonitorSection>()) {
            DrawingFixture::set("meterLabelStyle", "icons");
            QCOMPARE(StatusMetricView::labelWidth(section.value),
                StatusMetricView::iconSize(section.value).width());
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 5.0);
            DrawingFixture::set("meterLabelStyle", "letters");
            QCOMPARE(StatusMetricView::labelWidth(section.value), 6.0);
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 3.0);
            DrawingFixture::set("meterLabelStyle", "Letters");
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 5.0);
        }
    }

    void everySectionHasASymbol()
    {
        for (const auto& section : allCases<MonitorSection>()) {
            const QSizeF size = StatusMetricView::iconSize(section.value);
            QVERIFY(size.width() >= 12 && size.width() <= 16);
            QVERIFY(size.height() >= 12 && size.height() <= 16);
        }
    }

    void missingSymbolTakesThirteenPoints()
    {
        QCOMPARE(StatusMetricView::symbolSize(QStringLiteral("no.such.symbol")), QSizeF(13, 13));
    }

    void absentTemperatureKeepsItsRoom()
    {
        FakeReadings readings;
        readings.cpuCelsius.reset();
        QVERIFY(!StatusMetricView::cpuReadoutText(readings));
        QCOMPARE(StatusMetricView::cpuReadoutWidth(), 27.0 + 5);
    }

    void longestTextsFitTheirRoom_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("room");
        QTest::newRow("full") << QStringLiteral("100%") << 33.0;
        QTest::newRow("watts") << QStringLiteral("888W") << 33.0;
        QTest::newRow("degrees") << QStringLiteral("108°") << 27.0;
        QTest::newRow("bytes") << QStringLiteral("8.8G") << 30.0;
        QTest::newRow("many bytes") << QStringLiteral("888G") << 30.0;
        QTest::newRow("fan") << QStringLiteral("8888") << 29.0;
    }
    void longestTextsFitTheirRoom()
    {
        QFETCH(QString, text);
        QFETCH(double, room);
        // The text may also use the margin of 1 at the item's end.
        QFont font = QGuiApplication::font();
        font.setPixelSize(11);
        font.setWeight(QFont::Medium);
        QVERIFY(QFontMetricsF(font).horizontalAdvance(text) <= room + 1);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ItemWidthTest)
#include "ItemWidthTest.moc"
