// The meters that show a single value, measured in the drawn pixels.

#include "tests/Support/ItemFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class MeterGeometryTest : public ItemFixture {
    Q_OBJECT

    struct Fill {
        const char* name;
        double share;
        double length;
    };

    ItemPixels drawnWave(const QList<double>& history, double scale = 20)
    {
        set("meterStyle", "wave");
        m_readings->history = history;
        return drawn(cpu, scale);
    }

private Q_SLOTS:
    void gaugeFillsFromTheBottom_data()
    {
        addRows<Fill>({ { "half", 0.5, 8 }, { "full", 1, 16 }, { "least", 0, 2 }, { "little", 0.05, 2 } });
    }
    void gaugeFillsFromTheBottom()
    {
        QFETCH(Fill, row);
        for (const MonitorSection section : { memory, storage }) {
            m_readings->memory = section == memory ? row.share : 0.33;
            m_readings->storage = section == storage ? row.share : 0.77;
            const double x = meterStart(section);
            for (const char* shape : { "pill", "square" }) {
                set("meterShape", shape);
                for (const double scale : { 1.0, 2.0, 20.0 })
                    QVERIFY_EDGES(drawn(section, scale).inked(QRectF(x + 1, 2.5, 6, 18), signalColour), x + 2,
                        3.5, x + 6, 3.5 + row.length, 1 / scale);
            }
        }
    }

    void gaugeFrameReachesFourTenthsBeyondItsWidth()
    {
        const double x = meterStart(memory);
        const QRectF ink = drawn(memory).inked(QRectF(x - 2, 0, 12, 22));
        QVERIFY_NEAR(ink.left(), x - 0.4, 0.05);
        QVERIFY_NEAR(ink.right(), x + 8.4, 0.05);
        // After the meter, the item has only its margin of 1.
        QVERIFY_NEAR(StatusMetricView::itemWidth(memory), ink.right() + 1, 0.05);
    }

    void memoryMeterShowsUsageWhateverTheReadoutIs()
    {
        set("memoryReadout", "pressure");
        m_readings->memory = 0.75;
        m_readings->pressure = 0.1;
        const QRectF fill = drawn(memory).inked(QRectF(meterStart(memory) + 1, 2.5, 6, 18), signalColour);
        QVERIFY_NEAR(fill.bottom(), 3.5 + 12, 0.05);
    }

    void eachGaugeHasItsOwnAccent()
    {
        const auto colour
            = [this](MonitorSection section) { return drawn(section).at(meterStart(section) + 4, 6); };
        set("memoryAccent", "indigo");
        QCOMPARE(colour(memory), indigoColour);
        QCOMPARE(colour(storage), signalColour);
        set("storageAccent", "custom:srgb:1.0000,0.0000,0.2000");
        QCOMPARE(colour(storage), QColor(255, 0, 51));
        set("memoryAccent", "Indigo");
        QCOMPARE(colour(memory), signalColour);
    }

    void metersOfTheProcessorHaveItsAccent()
    {
        for (const char* key : { "cpuFastCoreAccent", "memoryAccent", "storageAccent" })
            set(key, "amber");
        set("cpuAccent", "indigo");
        m_readings->history = { 1, 1 };
        for (const char* style : { "bars", "wave", "compact" }) {
            set("meterStyle", style);
            // A place inside the third bar, which has three quarters of the full height.
            const QRectF ink = drawn(cpu).inked(QRectF(meterStart(cpu) + 14.5, 9, 3, 4), indigoColour);
            QVERIFY2(ink.width() > 2.9 && ink.height() > 3.9, style);
        }
    }

    void unknownChoicesAreDrawnLikeTheFirstOfTheirKind()
    {
        for (const auto& section : allCases<MonitorSection>()) {
            const QImage first = image(section.value, 2);
            for (const char* key : { "meterStyle", "meterShape", "meterLabelStyle" })
                set(key, "Wave");
            QCOMPARE(image(section.value, 2), first);
            for (const char* key : { "meterStyle", "meterShape", "meterLabelStyle" })
                SharedSettings::store().remove(key);
            QCOMPARE(image(section.value, 2), first);
        }
    }

    void compactMeterStandsAtMidHeight_data()
    {
        addRows<Fill>({ { "half", 0.5, 21.5 }, { "full", 1, 43 }, { "least", 0, 2 } });
    }
    void compactMeterStandsAtMidHeight()
    {
        QFETCH(Fill, row);
        set("meterStyle", "compact");
        m_readings->cpu = row.share;
        const double x = meterStart(cpu);
        for (const char* shape : { "pill", "square" }) {
            set("meterShape", shape);
            for (const double scale : { 1.0, 2.0, 20.0 }) {
                const ItemPixels item = drawn(cpu, scale);
                QVERIFY_EDGES(
                    item.inked(QRectF(x - 2, 0, 50, 22)), x - 0.4, 6 - 0.4, x + 46.4, 16.4, 1 / scale);
                QVERIFY_EDGES(item.inked(QRectF(x + 0.6, 7, 45, 8), signalColour), x + 1.5, 7.5,
                    x + 1.5 + row.length, 14.5, 1 / scale);
            }
        }
    }

    void endsOfFillsFollowTheShape()
    {
        set("meterStyle", "compact");
        // The lower left corners of the fills, relative to the meter's start and the item's lower edge.
        for (const auto& [section, corner] : { std::pair(cpu, QPointF(1.5, 7.5)),
                 std::pair(memory, QPointF(2, 3.5)), std::pair(storage, QPointF(2, 3.5)) }) {
            const QPointF place = corner + QPointF(meterStart(section) + 0.2, 0.2);
            set("meterShape", "pill");
            QVERIFY2(drawn(section).at(place.x(), place.y()) != signalColour, qPrintable(rawValue(section)));
            set("meterShape", "square");
            QCOMPARE(drawn(section).at(place.x(), place.y()), signalColour);
        }
    }

    void waveIsClippedAtBothEnds()
    {
        const ItemPixels item = drawnWave({ -2, 0.5, 3, 3, 0.5 });
        const double x = meterStart(cpu);
        const QRectF wave = item.inked(QRectF(x + 1, 2, 44, 19), signalColour);
        QVERIFY_NEAR(wave.bottom(), 19.5, 0.05);
        QVERIFY_NEAR(wave.top(), 3.5, 0.05);
        QVERIFY_NEAR(wave.right(), x + 44, 0.05);
        // From the third to the fourth sample, the wave has its full height.
        QVERIFY_NEAR(item.at(x + 2 + 26, 19.3).alpha(), 217, 1);
    }

    void waveHasOneStepASampleAndIsTranslucent()
    {
        const ItemPixels item = drawnWave({ 0, 1, 0 });
        const double x = meterStart(cpu) + 2;
        QVERIFY_NEAR(item.at(x + 21, 4).alpha(), 217, 1);
        QVERIFY_NEAR(item.at(x + 21, 4).red(), signalColour.red(), 2);
        for (const double quarter : { 10.4, 31.5 })
            QVERIFY_NEAR(item.inked(QRectF(x + quarter, 3, 0.1, 17), signalColour).bottom(), 3.5 + 8, 0.15);
    }

    void waveFillsTheFrameButTwoPoints()
    {
        const double x = meterStart(cpu);
        for (const double scale : { 1.0, 2.0, 20.0 })
            QVERIFY_EDGES(drawnWave({ 1, 1 }, scale).inked(QRectF(x + 1, 2, 44, 19), signalColour), x + 2,
                3.5, x + 44, 19.5, 1 / scale);
    }

    void waveNeedsTwoSamples()
    {
        const double x = meterStart(cpu);
        for (const QList<double>& history : { QList<double>(), QList<double> { 0.9 } }) {
            const ItemPixels item = drawnWave(history);
            QVERIFY(item.inked(QRectF(x, 1.5, 46, 20), signalColour).isNull());
            QVERIFY_NEAR(item.inked(QRectF(x - 1, 0, 48, 22)).bottom(), 21.9, 0.05);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, MeterGeometryTest)
#include "MeterGeometryTest.moc"
