// The single-valued meters of items, measured in the drawn pixels.

#include "tests/Support/ItemPixels.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

class MeterGeometryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        DrawingFixture::turnReadoutsOff();
        m_readings = std::make_shared<FakeReadings>();
    }

    void gaugeFillsFromTheBottom_data()
    {
        QTest::addColumn<double>("fraction");
        QTest::addColumn<double>("height");
        QTest::addColumn<double>("scale");
        for (const double scale : { 1.0, 2.0, 20.0 }) {
            QTest::addRow("half %g", scale) << 0.5 << 8.0 << scale;
            QTest::addRow("full %g", scale) << 1.0 << 16.0 << scale;
            QTest::addRow("least %g", scale) << 0.0 << 2.0 << scale;
            QTest::addRow("little %g", scale) << 0.05 << 2.0 << scale;
        }
    }
    void gaugeFillsFromTheBottom()
    {
        QFETCH(double, fraction);
        QFETCH(double, height);
        QFETCH(double, scale);
        for (const MonitorSection section : { MonitorSection::memory, MonitorSection::storage }) {
            m_readings->memory = section == MonitorSection::memory ? fraction : 0.33;
            m_readings->storage = section == MonitorSection::storage ? fraction : 0.77;
            for (const char* shape : { "pill", "square" }) {
                DrawingFixture::set("meterShape", shape);
                const ItemPixels item(DrawingFixture::drawn(section, m_readings, scale), scale);
                const double x = meterStart(section);
                const QRectF fill = item.inked(QRectF(x + 1, 2.5, 6, 18), signalColour);
                QVERIFY_NEAR(fill.left(), x + 2, 1 / scale);
                QVERIFY_NEAR(fill.right(), x + 6, 1 / scale);
                QVERIFY_NEAR(fill.top(), 3.5, 1 / scale);
                QVERIFY_NEAR(fill.bottom(), 3.5 + height, 1 / scale);
            }
        }
    }

    void gaugeFrameReachesFourTenthsBeyondItsWidth()
    {
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::memory, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::memory);
        const QRectF ink = item.inked(QRectF(x - 2, 0, 12, 22));
        QVERIFY_NEAR(ink.left(), x - 0.4, 0.05);
        QVERIFY_NEAR(ink.right(), x + 8.4, 0.05);
        // After the meter there is only the item's margin of 1.
        QVERIFY_NEAR(StatusMetricView::itemWidth(MonitorSection::memory), ink.right() + 1, 0.05);
    }

    void memoryMeterShowsUsageWhateverTheReadoutIs()
    {
        DrawingFixture::set("memoryReadout", "pressure");
        m_readings->memory = 0.75;
        m_readings->pressure = 0.1;
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::memory, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::memory);
        QVERIFY_NEAR(item.inked(QRectF(x + 1, 2.5, 6, 18), signalColour).bottom(), 3.5 + 12, 0.05);
    }

    void eachGaugeHasItsOwnAccent()
    {
        DrawingFixture::set("memoryAccent", "indigo");
        const auto colour = [&](MonitorSection section) {
            return ItemPixels(DrawingFixture::drawn(section, m_readings, 20), 20)
                .at(meterStart(section) + 4, 6);
        };
        QCOMPARE(colour(MonitorSection::memory), indigoColour);
        QCOMPARE(colour(MonitorSection::storage), signalColour);
        DrawingFixture::set("storageAccent", "custom:srgb:1.0000,0.0000,0.2000");
        QCOMPARE(colour(MonitorSection::storage), QColor(255, 0, 51));
        DrawingFixture::set("memoryAccent", "Indigo");
        QCOMPARE(colour(MonitorSection::memory), signalColour);
    }

    void metersOfTheProcessorHaveItsAccent()
    {
        for (const char* key : { "cpuFastCoreAccent", "memoryAccent", "storageAccent" })
            DrawingFixture::set(key, "amber");
        DrawingFixture::set("cpuAccent", "indigo");
        m_readings->history = { 1, 1 };
        for (const char* style : { "bars", "wave", "compact" }) {
            DrawingFixture::set("meterStyle", style);
            const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
            // A place inside the third bar, which has three quarters of the full height.
            const QRectF ink
                = item.inked(QRectF(meterStart(MonitorSection::cpu) + 14.5, 9, 3, 4), indigoColour);
            QVERIFY2(ink.width() > 2.9 && ink.height() > 3.9, style);
        }
    }

    void unknownChoicesAreDrawnLikeTheFirstOfTheirKind()
    {
        for (const auto& section : allCases<MonitorSection>()) {
            const QImage first = DrawingFixture::drawn(section.value, m_readings, 2);
            for (const char* key : { "meterStyle", "meterShape", "meterLabelStyle" })
                DrawingFixture::set(key, "Wave");
            QCOMPARE(DrawingFixture::drawn(section.value, m_readings, 2), first);
            for (const char* key : { "meterStyle", "meterShape", "meterLabelStyle" })
                SharedSettings::store().remove(key);
            QCOMPARE(DrawingFixture::drawn(section.value, m_readings, 2), first);
        }
    }

    void compactMeterStandsAtMidHeight_data()
    {
        QTest::addColumn<double>("usage");
        QTest::addColumn<double>("width");
        QTest::newRow("half") << 0.5 << 21.5;
        QTest::newRow("full") << 1.0 << 43.0;
        QTest::newRow("least") << 0.0 << 2.0;
    }
    void compactMeterStandsAtMidHeight()
    {
        QFETCH(double, usage);
        QFETCH(double, width);
        DrawingFixture::set("meterStyle", "compact");
        m_readings->cpu = usage;
        for (const char* shape : { "pill", "square" }) {
            DrawingFixture::set("meterShape", shape);
            for (const double scale : { 1.0, 2.0, 20.0 }) {
                const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, scale), scale);
                const double x = meterStart(MonitorSection::cpu);
                const QRectF frame = item.inked(QRectF(x - 2, 0, 50, 22));
                QVERIFY_NEAR(frame.left(), x - 0.4, 1 / scale);
                QVERIFY_NEAR(frame.right(), x + 46.4, 1 / scale);
                QVERIFY_NEAR(frame.top(), 6 - 0.4, 1 / scale);
                QVERIFY_NEAR(frame.bottom(), 16.4, 1 / scale);
                const QRectF fill = item.inked(QRectF(x + 0.6, 7, 45, 8), signalColour);
                QVERIFY_NEAR(fill.left(), x + 1.5, 1 / scale);
                QVERIFY_NEAR(fill.right(), x + 1.5 + width, 1 / scale);
                QVERIFY_NEAR(fill.top(), 7.5, 1 / scale);
                QVERIFY_NEAR(fill.bottom(), 14.5, 1 / scale);
            }
        }
    }

    void endsOfFillsFollowTheShape_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QPointF>("corner");
        // The fill's lower left corner: x from the meter's start, y from the item's lower edge.
        QTest::newRow("compact") << MonitorSection::cpu << QPointF(1.5, 7.5);
        QTest::newRow("memory") << MonitorSection::memory << QPointF(2, 3.5);
        QTest::newRow("storage") << MonitorSection::storage << QPointF(2, 3.5);
    }
    void endsOfFillsFollowTheShape()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QPointF, corner);
        DrawingFixture::set("meterStyle", "compact");
        const QPointF place(meterStart(section) + corner.x() + 0.2, corner.y() + 0.2);
        const ItemPixels pill(DrawingFixture::drawn(section, m_readings, 20), 20);
        QVERIFY(pill.at(place.x(), place.y()) != signalColour);
        DrawingFixture::set("meterShape", "square");
        const ItemPixels square(DrawingFixture::drawn(section, m_readings, 20), 20);
        QCOMPARE(square.at(place.x(), place.y()), signalColour);
    }

    void waveIsClippedAtBothEnds()
    {
        DrawingFixture::set("meterStyle", "wave");
        m_readings->history = { -2, 0.5, 3, 3, 0.5 };
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        const QRectF wave = item.inked(QRectF(x + 1, 2, 44, 19), signalColour);
        QVERIFY_NEAR(wave.bottom(), 19.5, 0.05);
        QVERIFY_NEAR(wave.top(), 3.5, 0.05);
        QVERIFY_NEAR(wave.right(), x + 44, 0.05);
        // From the third to the fourth sample, the wave has its full height.
        QVERIFY_NEAR(item.at(x + 2 + 26, 19.3).alpha(), 217, 1);
    }

    void waveHasOneStepASampleAndIsTranslucent()
    {
        DrawingFixture::set("meterStyle", "wave");
        m_readings->history = { 0, 1, 0 };
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu) + 2;
        QVERIFY_NEAR(item.at(x + 21, 4).alpha(), 217, 1);
        QVERIFY_NEAR(item.at(x + 21, 4).red(), signalColour.red(), 2);
        QVERIFY_NEAR(item.inked(QRectF(x + 10.4, 3, 0.1, 17), signalColour).bottom(), 3.5 + 8, 0.15);
        QVERIFY_NEAR(item.inked(QRectF(x + 31.5, 3, 0.1, 17), signalColour).bottom(), 3.5 + 8, 0.15);
    }

    void waveFillsTheFrameButTwoPoints()
    {
        DrawingFixture::set("meterStyle", "wave");
        m_readings->history = { 1, 1 };
        for (const double scale : { 1.0, 2.0, 20.0 }) {
            const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, scale), scale);
            const double x = meterStart(MonitorSection::cpu);
            const QRectF wave = item.inked(QRectF(x + 1, 2, 44, 19), signalColour);
            QVERIFY_NEAR(wave.left(), x + 2, 1 / scale);
            QVERIFY_NEAR(wave.right(), x + 44, 1 / scale);
            QVERIFY_NEAR(wave.top(), 3.5, 1 / scale);
            QVERIFY_NEAR(wave.bottom(), 19.5, 1 / scale);
        }
    }

    void waveNeedsTwoSamples_data()
    {
        QTest::addColumn<QList<double>>("history");
        QTest::newRow("none") << QList<double>();
        QTest::newRow("one") << QList<double> { 0.9 };
    }
    void waveNeedsTwoSamples()
    {
        QFETCH(QList<double>, history);
        DrawingFixture::set("meterStyle", "wave");
        m_readings->history = history;
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        QVERIFY(item.inked(QRectF(x, 1.5, 46, 20), signalColour).isNull());
        QVERIFY_NEAR(item.inked(QRectF(x - 1, 0, 48, 22)).bottom(), 21.9, 0.05);
    }

private:
    std::shared_ptr<FakeReadings> m_readings;
};

KESTRUM_TEST_MAIN(QGuiApplication, MeterGeometryTest)
#include "MeterGeometryTest.moc"
