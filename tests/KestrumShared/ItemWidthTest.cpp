#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class ItemWidthTest : public QObject {
    Q_OBJECT

    struct Width {
        const char* name;
        MonitorSection section;
        const char* key; ///< the setting that gets `value`, unless null
        const char* value;
        double meter; ///< the meter's width, with the room reserved beside it
        double readout;
    };
    struct Legacy {
        const char* name;
        QJsonValue value;
        double readout;
    };

private Q_SLOTS:
    void init() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void widthsFollowTheTable_data()
    {
        constexpr double bars = 3 + 4 * 4.9 + 4;
        addRows<Width>({
            { "bars and a temperature, the factory's", cpu, nullptr, nullptr, bars, 27 },
            { "bars", cpu, "meterStyle", "bars", bars, 27 },
            { "unknown style", cpu, "meterStyle", "Wave", bars, 27 },
            { "wave", cpu, "meterStyle", "wave", 46, 27 },
            { "compact", cpu, "meterStyle", "compact", 46, 27 },
            { "cpu off", cpu, "cpuReadout", "off", bars, 0 },
            { "cpu usage", cpu, "cpuReadout", "usage", bars, 33 },
            { "cpu power", cpu, "cpuReadout", "power", bars, 33 },
            { "cpu temperature", cpu, "cpuReadout", "temperature", bars, 27 },
            { "cpu unknown", cpu, "cpuReadout", "None", bars, 27 },
            { "memory missing, legacy on", memory, nullptr, nullptr, 8.4, 33 },
            { "memory unknown, legacy on", memory, "memoryReadout", "?", 8.4, 33 },
            { "memory usage", memory, "memoryReadout", "usage", 8.4, 33 },
            { "memory pressure", memory, "memoryReadout", "pressure", 8.4, 33 },
            { "memory swap", memory, "memoryReadout", "swap", 8.4, 30 },
            { "memory off", memory, "memoryReadout", "off", 8.4, 0 },
            { "storage missing, legacy on", storage, nullptr, nullptr, 8.4, 33 },
            { "storage unknown, legacy on", storage, "storageReadout", "swap", 8.4, 33 },
            { "storage usage", storage, "storageReadout", "usage", 8.4, 33 },
            { "storage free", storage, "storageReadout", "free", 8.4, 30 },
            { "storage off", storage, "storageReadout", "off", 8.4, 0 },
            { "sensors power, the factory's", sensors, nullptr, nullptr, 0, 33 },
            { "sensors power", sensors, "sensorsReadout", "power", 0, 33 },
            { "sensors unknown", sensors, "sensorsReadout", "", 0, 33 },
            { "sensors hottest", sensors, "sensorsReadout", "hottest", 0, 27 },
            { "sensors gpu", sensors, "sensorsReadout", "gpu", 0, 27 },
            { "sensors fan", sensors, "sensorsReadout", "fan", 0, 29 },
            { "sensors off", sensors, "sensorsReadout", "off", 0, 0 },
        });
    }
    void widthsFollowTheTable()
    {
        QFETCH(Width, row);
        if (row.key)
            set(row.key, row.value);
        // A gap precedes the meter, and another gap precedes the readout. The item has a margin of 1 at both ends.
        const auto width = [&row](double label, double gap, double meter) {
            return 1 + label + (meter > 0 ? gap + meter : 0) + (row.readout > 0 ? gap + row.readout : 0) + 1;
        };
        const double icon = StatusMetricView::iconSize(row.section).width();
        QCOMPARE(StatusMetricView::itemWidth(row.section), width(icon, 5, row.meter));
        set("meterLabelStyle", "letters");
        // The sensors item also shows its symbol after the letters.
        QCOMPARE(
            StatusMetricView::itemWidth(row.section), width(6, 3, row.section == sensors ? icon : row.meter));
    }

    void legacySwitchDecidesWhatIsMissing_data()
    {
        addRows<Legacy>({ { "on", true, 38 }, { "off", false, 0 }, { "of another type", 1, 0 } });
    }
    void legacySwitchDecidesWhatIsMissing()
    {
        QFETCH(Legacy, row);
        SharedSettings::store().set("showMemoryPercent", row.value);
        for (const MonitorSection section : { memory, storage }) {
            const double base = StatusMetricView::iconSize(section).width() + 1 + 5 + 8.4 + 1;
            QCOMPARE(StatusMetricView::itemWidth(section), base + row.readout);
        }
        // The old switch has no effect on the CPU's readout.
        set("cpuReadout", "?");
        QCOMPARE(StatusMetricView::cpuReadoutWidth(), 32.0);
    }

    void barsMeterGrowsWithTheCores()
    {
        const double rest = StatusMetricView::iconSize(cpu).width() + 1 + 5 + 32 + 1;
        // A count of 0 cores is treated as one core.
        for (const auto& [cores, width] : { std::pair(0, 8.9), std::pair(1, 8.9), std::pair(2, 14.8),
                 std::pair(8, 50.2), std::pair(12, 73.8), std::pair(64, 380.6) }) {
            CoreTopology::useTiers({ { QStringLiteral("Level 0"), cores } });
            QCOMPARE(StatusMetricView::itemWidth(cpu), rest + width);
        }
    }

    void everySectionHasASymbolAndFollowsTheLabelStyle()
    {
        for (const auto& section : allCases<MonitorSection>()) {
            const QSizeF icon = StatusMetricView::iconSize(section.value);
            QVERIFY(icon.width() >= 12 && icon.width() <= 16);
            QVERIFY(icon.height() >= 12 && icon.height() <= 16);
            set("meterLabelStyle", "icons");
            QCOMPARE(StatusMetricView::labelWidth(section.value), icon.width());
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 5.0);
            set("meterLabelStyle", "letters");
            QCOMPARE(StatusMetricView::labelWidth(section.value), 6.0);
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 3.0);
            set("meterLabelStyle", "Letters");
            QCOMPARE(StatusMetricView::meterSideGap(section.value), 5.0);
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

    void longestTextsFitTheirRoom()
    {
        QFont font = QGuiApplication::font();
        font.setPixelSize(11);
        font.setWeight(QFont::Medium);
        // The text may also use the margin of 1 at the item's end.
        for (const auto& [text, room] : { std::pair("100%", 33), std::pair("888W", 33), std::pair("108°", 27),
                 std::pair("8.8G", 30), std::pair("888G", 30), std::pair("8888", 29) })
            QVERIFY2(QFontMetricsF(font).horizontalAdvance(QString::fromUtf8(text)) <= room + 1, text);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ItemWidthTest)
#include "ItemWidthTest.moc"
