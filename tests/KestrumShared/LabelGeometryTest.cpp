// The labels and the readouts of items, measured in the drawn pixels.

#include "KestrumShared/Items/ItemFonts.h"
#include "KestrumShared/Items/ItemSprites.h"
#include "KestrumShared/Raster/PixelPainter.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/ItemPixels.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QSet>
#include <QTest>

using namespace kestrum;

namespace {

const QColor textColour(0x1D, 0x1D, 0x1F);

} // namespace

class LabelGeometryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        DrawingFixture::turnReadoutsOff();
        m_readings = std::make_shared<FakeReadings>();
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
        DrawingFixture::set("meterLabelStyle", "letters");
        const ItemFonts& fonts = ItemFonts::current();
        const QFontMetricsF metrics(fonts.letters());
        QVERIFY_NEAR(fonts.letterHeight(), 6.2 * QFontMetricsF(fonts.letters()).height() / 62, 0.001);
        const double baseOfBox = metrics.descent() * ItemFonts::letterScale - fonts.letterHeight() / 2;
        const double capHeight = metrics.capHeight() * ItemFonts::letterScale;
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::memory, m_readings, scale), scale);
        // The letters of "RAM" are flat, so each is exactly as high as a capital letter.
        for (int i = 0; i < 3; ++i) {
            const double middle = 11 + (1 - i) * 5.5;
            const QRectF letter = item.inked(QRectF(1, middle - 2.7, 6, 5.2), textColour);
            QVERIFY_NEAR(letter.top(), middle + baseOfBox, 0.6 / scale + 0.1);
            QVERIFY_NEAR(letter.height(), capHeight, 1.2 / scale + 0.1);
            QVERIFY_NEAR(letter.left(), 1.3, 0.4);
        }
    }

    void lettersStandEvenlyOnWholePixels_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("distance");
        QTest::newRow("1") << 1.0 << 6;
        QTest::newRow("1.25") << 1.25 << 7;
        QTest::newRow("1.5") << 1.5 << 8;
        QTest::newRow("1.75") << 1.75 << 10;
        QTest::newRow("2") << 2.0 << 11;
        QTest::newRow("3") << 3.0 << 17;
    }
    void lettersStandEvenlyOnWholePixels()
    {
        QFETCH(double, scale);
        QFETCH(int, distance);
        DrawingFixture::set("meterLabelStyle", "letters");
        for (const QPointF& topLeft : { QPointF(0, 0), QPointF(0, 2.3) }) {
            for (const auto& section : allCases<MonitorSection>()) {
                const QImage item
                    = DrawingFixture::drawn(section.value, m_readings, scale, ColourScheme::light, topLeft);
                const QList<int> feet = feetOfLetters(item, int(7 * scale));
                // At least one row without ink separates two letters.
                QCOMPARE(feet.size(), 3);
                // These three letters are flat. Others reach slightly below the baseline.
                if (section.value == MonitorSection::memory) {
                    QCOMPARE(feet[1] - feet[0], distance);
                    QCOMPARE(feet[2] - feet[1], distance);
                }
            }
        }
    }

    void everySectionHasItsLetters_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QString>("letters");
        QTest::newRow("cpu") << MonitorSection::cpu << QStringLiteral("CPU");
        QTest::newRow("memory") << MonitorSection::memory << QStringLiteral("RAM");
        QTest::newRow("storage") << MonitorSection::storage << QStringLiteral("SSD");
        QTest::newRow("sensors") << MonitorSection::sensors << QStringLiteral("SEN");
    }
    void everySectionHasItsLetters()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QString, letters);
        DrawingFixture::set("meterLabelStyle", "letters");
        const QImage item = DrawingFixture::drawn(section, m_readings, 20);
        // The same letters drawn in another way: 62 pixels high (ten times 6.2), semibold, at scale 2.
        QImage wanted(item.size(), item.format());
        wanted.fill(Qt::transparent);
        QPainter painter(&wanted);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.scale(2, 2);
        QFont font(QStringLiteral("Inter"));
        font.setPixelSize(62);
        font.setWeight(QFont::DemiBold);
        painter.setFont(font);
        painter.setPen(textColour);
        const QFontMetricsF metrics(font);
        for (int i = 0; i < 3; ++i) {
            const double boxBottom = 110 - (1 - i) * 55 + metrics.height() / 2;
            painter.drawText(QPointF(10, boxBottom - metrics.descent()), letters.mid(i, 1));
        }
        painter.end();
        int inked = 0;
        int different = 0;
        for (int y = 0; y < item.height(); ++y) {
            for (int x = 0; x < 7 * 20; ++x) {
                const int alpha = qAlpha(wanted.pixel(x, y));
                inked += alpha > 127;
                different += std::abs(alpha - qAlpha(item.pixel(x, y))) > 127;
            }
        }
        QVERIFY(inked > 5000);
        QVERIFY2(different < inked / 50, qPrintable(QStringLiteral("%1 of %2").arg(different).arg(inked)));
    }

    void everySectionHasItsSymbol_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QString>("name");
        QTest::newRow("cpu") << MonitorSection::cpu << QStringLiteral("cpu");
        QTest::newRow("memory") << MonitorSection::memory << QStringLiteral("memorychip");
        QTest::newRow("storage") << MonitorSection::storage << QStringLiteral("internaldrive");
        QTest::newRow("sensors") << MonitorSection::sensors << QStringLiteral("sensor");
    }
    void everySectionHasItsSymbol()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QString, name);
        for (const double scale : { 1.0, 2.0, 3.0 }) {
            for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                const QColor colour = scheme == ColourScheme::dark ? QColor(0xF2, 0xF2, 0xF4) : textColour;
                QImage symbol = SymbolImage::image(name, 12, colour, scale);
                symbol.setDevicePixelRatio(1);
                // The symbol is 14 points high, so it begins 4 points below the item's top.
                QImage label = DrawingFixture::drawn(section, m_readings, scale, scheme)
                                   .copy(QRect(QPoint(int(scale), int(4 * scale)), symbol.size()));
                label.setDevicePixelRatio(1);
                QCOMPARE(label, symbol);
            }
        }
    }

    void renderedSymbolsAreKept()
    {
        const auto symbol = [](const char* name, ColourScheme scheme, double points, double scale) {
            return ItemSprites::symbol(QString::fromLatin1(name), points, scheme, scale).cacheKey();
        };
        // Each combination has its own picture, and the second round gets the same pictures.
        QSet<qint64> pictures;
        for (int round = 0; round < 2; ++round) {
            for (const char* name : { "cpu", "sensor" }) {
                for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                    for (const double scale : { 1.0, 2.0 })
                        pictures << symbol(name, scheme, 12, scale) << symbol(name, scheme, 16, scale);
                }
            }
            QCOMPARE(pictures.size(), 16);
        }
    }

    void lettersFollowTheApplicationsFont()
    {
        DrawingFixture::set("meterLabelStyle", "letters");
        const QFont inter = QGuiApplication::font();
        const auto drawn = [this](bool keepsPictures) {
            PixelPainter::setKeepsPictures(keepsPictures);
            const QImage item = DrawingFixture::drawn(MonitorSection::sensors, m_readings, 4);
            PixelPainter::setKeepsPictures(true);
            return item;
        };
        const QImage before = drawn(true);
        QGuiApplication::setFont(QFont(QStringLiteral("Inter Display")));
        const QImage after = drawn(true);
        const QImage wanted = drawn(false);
        QGuiApplication::setFont(inter);
        QCOMPARE(after, wanted);
        QVERIFY(after != before);
        QCOMPARE(drawn(true), before);
    }

    void unknownScaleCountsAsTwo()
    {
        QImage images[2];
        for (const double scale : { 0.0, 2.0 }) {
            QImage& image = images[scale > 0];
            image = QImage(60, 44, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            image.setDevicePixelRatio(2);
            QPainter painter(&image);
            StatusMetricView(MonitorSection::sensors, QRectF(0, 0, 30, 22), m_readings)
                .draw(painter, QPointF(0, 0), ColourScheme::light, scale);
        }
        QVERIFY(!ItemPixels(images[0], 2).inked(QRectF(0, 0, 30, 22)).isNull());
        QCOMPARE(images[0], images[1]);
    }

    void iconIsCentred()
    {
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const QRectF icon = item.inked(QRectF(0, 0, 15, 22));
        QVERIFY_NEAR(icon.center().y(), 11, 0.06);
        QVERIFY_NEAR(
            icon.center().x(), 1 + StatusMetricView::iconSize(MonitorSection::cpu).width() / 2, 0.06);
    }

    void sensorsWithLettersShowTheSymbolAfterThem()
    {
        DrawingFixture::set("sensorsReadout", "fan");
        const double icon = StatusMetricView::iconSize(MonitorSection::sensors).width();
        const ItemPixels plain(DrawingFixture::drawn(MonitorSection::sensors, m_readings, 20), 20);
        DrawingFixture::set("meterLabelStyle", "letters");
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::sensors, m_readings, 20), 20);
        const QRectF alone = plain.inked(QRectF(0, 0, 1 + icon, 22));
        const QRectF second = item.inked(QRectF(10, 0, icon, 22));
        QVERIFY_NEAR(second.left() - 10, alone.left() - 1, 0.051);
        QVERIFY_NEAR(second.width(), alone.width(), 0.051);
        QVERIFY(!item.inked(QRectF(0, 0, 8, 22)).isNull());
        // In both items, the text begins one gap after the symbol.
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
        DrawingFixture::set("storageReadout", "usage");
        m_readings->storage = 0.22;
        QFont font(QStringLiteral("Inter"));
        font.setPixelSize(11);
        font.setWeight(QFont::Medium);
        const QFontMetricsF metrics(font);
        QVERIFY_NEAR(StatusMetricView::readoutLineHeight(), metrics.height(), 0.001);
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::storage, m_readings, scale), scale);
        const double x = meterStart(MonitorSection::storage) + 8 + 5;
        // Both digits are flat at the bottom.
        const QRectF digits = item.inked(QRectF(x, 0, 13, 22), textColour);
        QVERIFY_NEAR(digits.top(), 11 - metrics.height() / 2 + metrics.descent(), 0.6 / scale + 0.06);
        QVERIFY_NEAR(digits.height(), metrics.capHeight(), 1.2 / scale + 0.1);
        QVERIFY(digits.left() >= x - 0.1 && digits.left() < x + 1.2);
    }

    void fontsHaveTheirSizesAndWeights()
    {
        const ItemFonts& fonts = ItemFonts::current();
        QCOMPARE(fonts.readout().font().family(), QStringLiteral("Inter"));
        QCOMPARE(fonts.readout().font().pixelSize(), 11);
        QCOMPARE(fonts.readout().font().weight(), QFont::Medium);
        QCOMPARE(fonts.letters().family(), QStringLiteral("Inter"));
        QCOMPARE(fonts.letters().pixelSize() * ItemFonts::letterScale, 6.2);
        QCOMPARE(fonts.letters().weight(), QFont::DemiBold);
    }

    void readoutBeginsAGapBehindTheMeter_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QByteArray>("style");
        QTest::addColumn<double>("meter");
        QTest::newRow("bars") << MonitorSection::cpu << QByteArray("bars") << 26.6;
        QTest::newRow("wave") << MonitorSection::cpu << QByteArray("wave") << 46.0;
        QTest::newRow("compact") << MonitorSection::cpu << QByteArray("compact") << 46.0;
        QTest::newRow("memory") << MonitorSection::memory << QByteArray("bars") << 8.0;
        QTest::newRow("storage") << MonitorSection::storage << QByteArray("bars") << 8.0;
    }
    void readoutBeginsAGapBehindTheMeter()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QByteArray, style);
        QFETCH(double, meter);
        DrawingFixture::set("meterStyle", style);
        for (const char* key : { "cpuReadout", "memoryReadout", "storageReadout" })
            DrawingFixture::set(key, "usage");
        // The text alone at a known place, to measure the small space that the font leaves before a digit's ink.
        QImage alone(60 * 20, 22 * 20, QImage::Format_ARGB32_Premultiplied);
        alone.fill(Qt::transparent);
        QPainter painter(&alone);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.scale(20, 20);
        ItemFonts::current().readout().draw(painter, QPointF(10, 15), QStringLiteral("50%"), textColour);
        painter.end();
        const QRectF wanted = ItemPixels(alone, 20).inked(QRectF(0, 0, 60, 22), textColour);
        for (const char* labels : { "icons", "letters" }) {
            DrawingFixture::set("meterLabelStyle", labels);
            const ItemPixels item(DrawingFixture::drawn(section, m_readings, 20), 20);
            const double end = meterStart(section) + meter;
            const double gap = StatusMetricView::meterSideGap(section);
            const QRectF text = item.inked(QRectF(end + 0.6, 0, 40, 22), textColour);
            QVERIFY_NEAR(text.left(), end + gap + wanted.left() - 10, 0.1);
            QVERIFY_NEAR(text.width(), wanted.width(), 0.1);
        }
    }

    void digitsDoNotJitter()
    {
        DrawingFixture::set("storageReadout", "usage");
        double end = 0;
        for (const double fraction : { 0.11, 0.18, 0.40, 0.99 }) {
            m_readings->storage = fraction;
            const ItemPixels item(DrawingFixture::drawn(MonitorSection::storage, m_readings, 20), 20);
            const double right
                = item.inked(QRectF(meterStart(MonitorSection::storage) + 10, 0, 40, 22)).right();
            if (end > 0)
                QCOMPARE(right, end);
            end = right;
        }
    }

    void labelsAreLightOnDarkGround()
    {
        DrawingFixture::set("storageReadout", "usage");
        for (const char* labels : { "icons", "letters" }) {
            DrawingFixture::set("meterLabelStyle", labels);
            const ItemPixels item(
                DrawingFixture::drawn(MonitorSection::storage, m_readings, 20, ColourScheme::dark), 20);
            QVERIFY(!item.inked(QRectF(0, 0, 16, 22), QColor(0xF2, 0xF2, 0xF4)).isNull());
            QVERIFY(item.inked(QRectF(0, 0, 80, 22), textColour).isNull());
        }
    }

private:
    /// The lowest row of each group of adjacent rows that have ink in the first `columns` columns, from top to bottom.
    static QList<int> feetOfLetters(const QImage& item, int columns)
    {
        QList<int> feet;
        bool wasInked = false;
        for (int y = 0; y < item.height(); ++y) {
            bool isInked = false;
            for (int x = 0; x < columns; ++x)
                isInked |= qAlpha(item.pixel(x, y)) > 64;
            if (wasInked && !isInked)
                feet.append(y - 1);
            wasInked = isInked;
        }
        return feet;
    }

    std::shared_ptr<FakeReadings> m_readings;
};

KESTRUM_TEST_MAIN(QGuiApplication, LabelGeometryTest)
#include "LabelGeometryTest.moc"
