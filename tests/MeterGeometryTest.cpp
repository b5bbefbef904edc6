// The single-valued meters and the texts of items, measured in the drawn pixels.

#include "KestrumShared/Drawing/ItemFonts.h"
#include "tests/ItemPixels.h"
#include "tests/TestHome.h"

#include <QFontMetricsF>
#include <QTest>

using namespace kestrum;

namespace {

const QColor signalColour(69, 184, 153);
const QColor indigoColour(107, 107, 242);
const QColor textColour(0x1D, 0x1D, 0x1F);

double meterStart(MonitorSection section)
{
    return 1 + StatusMetricView::labelWidth(section) + StatusMetricView::meterSideGap(section);
}

} // namespace

#define QVERIFY_NEAR(actual, expected, tolerance)                                                            \
    QVERIFY2(std::abs((actual) - (expected)) <= (tolerance),                                                 \
        qPrintable(QStringLiteral("%1 instead of %2").arg(actual).arg(expected)))

class MeterGeometryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingStage::prepare(), "the font Inter (package fonts-inter) is missing");
        for (const char* key : { "cpuReadout", "memoryReadout", "storageReadout", "sensorsReadout" })
            DrawingStage::set(key, "off");
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
        m_readings->memory = m_readings->storage = fraction;
        for (const MonitorSection section : { MonitorSection::memory, MonitorSection::storage }) {
            for (const char* shape : { "pill", "square" }) {
                DrawingStage::set("meterShape", shape);
                const ItemPixels item(DrawingStage::drawn(section, m_readings, scale), scale);
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
        const ItemPixels item(DrawingStage::drawn(MonitorSection::memory, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::memory);
        const QRectF ink = item.inked(QRectF(x - 2, 0, 12, 22));
        QVERIFY_NEAR(ink.left(), x - 0.4, 0.05);
        QVERIFY_NEAR(ink.right(), x + 8.4, 0.05);
        // Then comes the margin, and that is all of the item.
        QVERIFY_NEAR(StatusMetricView::itemWidth(MonitorSection::memory), ink.right() + 1, 0.05);
    }

    void memoryMeterShowsUsageWhateverTheReadoutIs()
    {
        DrawingStage::set("memoryReadout", "pressure");
        m_readings->memory = 0.75;
        m_readings->pressure = 0.1;
        const ItemPixels item(DrawingStage::drawn(MonitorSection::memory, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::memory);
        QVERIFY_NEAR(item.inked(QRectF(x + 1, 2.5, 6, 18), signalColour).bottom(), 3.5 + 12, 0.05);
    }

    void eachGaugeHasItsOwnAccent()
    {
        DrawingStage::set("memoryAccent", "indigo");
        const auto colour = [&](MonitorSection section) {
            return ItemPixels(DrawingStage::drawn(section, m_readings, 20), 20)
                .at(meterStart(section) + 4, 6);
        };
        QCOMPARE(colour(MonitorSection::memory), indigoColour);
        QCOMPARE(colour(MonitorSection::storage), signalColour);
        DrawingStage::set("storageAccent", "custom:srgb:1.0000,0.0000,0.2000");
        QCOMPARE(colour(MonitorSection::storage), QColor(255, 0, 51));
        DrawingStage::set("memoryAccent", "Indigo");
        QCOMPARE(colour(MonitorSection::memory), signalColour);
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
        DrawingStage::set("meterStyle", "compact");
        m_readings->cpu = usage;
        for (const char* shape : { "pill", "square" }) {
            DrawingStage::set("meterShape", shape);
            for (const double scale : { 1.0, 2.0, 20.0 }) {
                const ItemPixels item(DrawingStage::drawn(MonitorSection::cpu, m_readings, scale), scale);
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

    void waveIsClippedAtBothEnds()
    {
        DrawingStage::set("meterStyle", "wave");
        m_readings->history = { -2, 0.5, 3, 3, 0.5 };
        const ItemPixels item(DrawingStage::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        const QRectF wave = item.inked(QRectF(x + 1, 2, 44, 19), signalColour);
        QVERIFY_NEAR(wave.bottom(), 19.5, 0.05);
        QVERIFY_NEAR(wave.top(), 3.5, 0.05);
        QVERIFY_NEAR(wave.right(), x + 44, 0.05);
        // From the third sample to the fourth it is full.
        QVERIFY_NEAR(item.at(x + 2 + 26, 19.3).alpha(), 217, 1);
    }

    void waveHasOneStepASampleAndIsTranslucent()
    {
        DrawingStage::set("meterStyle", "wave");
        m_readings->history = { 0, 1, 0 };
        const ItemPixels item(DrawingStage::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu) + 2;
        QVERIFY_NEAR(item.at(x + 21, 4).alpha(), 217, 1);
        QVERIFY_NEAR(item.at(x + 21, 4).red(), signalColour.red(), 2);
        QVERIFY_NEAR(item.inked(QRectF(x + 10.4, 3, 0.1, 17), signalColour).bottom(), 3.5 + 8, 0.15);
        QVERIFY_NEAR(item.inked(QRectF(x + 31.5, 3, 0.1, 17), signalColour).bottom(), 3.5 + 8, 0.15);
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
        DrawingStage::set("meterStyle", "wave");
        m_readings->history = history;
        const ItemPixels item(DrawingStage::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        QVERIFY(item.inked(QRectF(x, 1.5, 46, 20), signalColour).isNull());
        QVERIFY_NEAR(item.inked(QRectF(x - 1, 0, 48, 22)).bottom(), 21.9, 0.05);
    }

    void lettersAreStackedAroundTheMiddle_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : { 2.0, 20.0 })
            QTest::addRow("%g", scale) << scale;
    }
    void lettersAreStackedAroundTheMiddle()
    {
        QFETCH(double, scale);
        DrawingStage::set("meterLabelStyle", "letters");
        const ItemFonts& fonts = ItemFonts::current();
        const QFontMetricsF metrics(fonts.letters());
        QVERIFY_NEAR(fonts.letterHeight(), 6.2 * QFontMetricsF(fonts.letters()).height() / 62, 0.001);
        const double baseOfBox = metrics.descent() * ItemFonts::letterScale - fonts.letterHeight() / 2;
        const double capHeight = metrics.capHeight() * ItemFonts::letterScale;
        const ItemPixels item(DrawingStage::drawn(MonitorSection::memory, m_readings, scale), scale);
        // "RAM": flat letters, so that their ink is as high as capitals are.
        for (int i = 0; i < 3; ++i) {
            const double middle = 11 + (1 - i) * 5.5;
            const QRectF letter = item.inked(QRectF(1, middle - 2.7, 6, 5.2), textColour);
            QVERIFY_NEAR(letter.top(), middle + baseOfBox, 0.6 / scale + 0.1);
            QVERIFY_NEAR(letter.height(), capHeight, 1.2 / scale + 0.1);
            QVERIFY_NEAR(letter.left(), 1.3, 0.4);
        }
    }

    void iconIsCentred()
    {
        const ItemPixels item(DrawingStage::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const QRectF icon = item.inked(QRectF(0, 0, 15, 22));
        QVERIFY_NEAR(icon.center().y(), 11, 0.06);
        QVERIFY_NEAR(
            icon.center().x(), 1 + StatusMetricView::iconSize(MonitorSection::cpu).width() / 2, 0.06);
    }

    void sensorsWithLettersShowTheSymbolAfterThem()
    {
        DrawingStage::set("sensorsReadout", "fan");
        const double icon = StatusMetricView::iconSize(MonitorSection::sensors).width();
        const ItemPixels plain(DrawingStage::drawn(MonitorSection::sensors, m_readings, 20), 20);
        DrawingStage::set("meterLabelStyle", "letters");
        const ItemPixels item(DrawingStage::drawn(MonitorSection::sensors, m_readings, 20), 20);
        const QRectF alone = plain.inked(QRectF(0, 0, 1 + icon, 22));
        const QRectF second = item.inked(QRectF(10, 0, icon, 22));
        QVERIFY_NEAR(second.left() - 10, alone.left() - 1, 0.051);
        QVERIFY_NEAR(second.width(), alone.width(), 0.051);
        QVERIFY(!item.inked(QRectF(0, 0, 8, 22)).isNull());
        // The text begins a gap behind each.
        QVERIFY_NEAR(item.inked(QRectF(10 + icon, 0, 40, 22)).left() - (10 + icon + 3),
            plain.inked(QRectF(1 + icon, 0, 40, 22)).left() - (1 + icon + 5), 0.051);
    }

    void readoutStandsOnItsBaseLine_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : { 1.0, 2.0, 20.0 })
            QTest::addRow("%g", scale) << scale;
    }
    void readoutStandsOnItsBaseLine()
    {
        QFETCH(double, scale);
        DrawingStage::set("storageReadout", "usage");
        m_readings->storage = 0.22;
        const QFontMetricsF metrics(ItemFonts::current().readout().font());
        QVERIFY_NEAR(StatusMetricView::readoutLineHeight(), metrics.height(), 0.001);
        const ItemPixels item(DrawingStage::drawn(MonitorSection::storage, m_readings, scale), scale);
        const double x = meterStart(MonitorSection::storage) + 8 + 5;
        // The two digits have flat feet.
        const QRectF digits = item.inked(QRectF(x, 0, 13, 22), textColour);
        QVERIFY_NEAR(digits.top(), 11 - metrics.height() / 2 + metrics.descent(), 0.6 / scale + 0.06);
        QVERIFY_NEAR(digits.height(), metrics.capHeight(), 1.2 / scale + 0.1);
        QVERIFY(digits.left() >= x - 0.1 && digits.left() < x + 1.2);
    }

    void digitsDoNotJitter()
    {
        DrawingStage::set("storageReadout", "usage");
        double end = 0;
        for (const double fraction : { 0.11, 0.18, 0.40, 0.99 }) {
            m_readings->storage = fraction;
            const ItemPixels item(DrawingStage::drawn(MonitorSection::storage, m_readings, 20), 20);
            const double right
                = item.inked(QRectF(meterStart(MonitorSection::storage) + 10, 0, 40, 22)).right();
            if (end > 0)
                QCOMPARE(right, end);
            end = right;
        }
    }

    void labelsAreLightOnDarkGround()
    {
        DrawingStage::set("storageReadout", "usage");
        for (const char* labels : { "icons", "letters" }) {
            DrawingStage::set("meterLabelStyle", labels);
            const ItemPixels item(
                DrawingStage::drawn(MonitorSection::storage, m_readings, 20, ColourScheme::dark), 20);
            QVERIFY(!item.inked(QRectF(0, 0, 16, 22), QColor(0xF2, 0xF2, 0xF4)).isNull());
            QVERIFY(item.inked(QRectF(0, 0, 80, 22), textColour).isNull());
        }
    }

private:
    std::shared_ptr<FakeReadings> m_readings;
};

KESTRUM_TEST_MAIN(QGuiApplication, MeterGeometryTest)
#include "MeterGeometryTest.moc"
