// The labels and readouts of items, measured in the drawn pixels.

#include "KestrumShared/Items/ItemFonts.h"
#include "KestrumShared/Items/ItemSprites.h"
#include "KestrumShared/Raster/PixelPainter.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/ItemFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QSet>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

namespace {

const QColor textColour(0x1D, 0x1D, 0x1F);

} // namespace

class LabelGeometryTest : public ItemFixture {
    Q_OBJECT

    struct Label {
        const char* name;
        MonitorSection section;
        const char* letters;
        const char* symbol;
    };
    struct Meter {
        const char* name;
        MonitorSection section;
        const char* style;
        double width;
    };
    static void labels()
    {
        addRows<Label>({ { "cpu", cpu, "CPU", "cpu" }, { "memory", memory, "RAM", "memorychip" },
            { "storage", storage, "SSD", "internaldrive" }, { "sensors", sensors, "SEN", "sensor" } });
    }

    /// The font Inter, made independently of the fonts that the items use.
    static QFont inter(int pixels, QFont::Weight weight)
    {
        QFont font(QStringLiteral("Inter"));
        font.setPixelSize(pixels);
        font.setWeight(weight);
        return font;
    }

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

private Q_SLOTS:
    void lettersAreStackedAroundTheMiddle()
    {
        set("meterLabelStyle", "letters");
        const ItemFonts& fonts = ItemFonts::current();
        const QFontMetricsF metrics(fonts.letters());
        QVERIFY_NEAR(fonts.letterHeight(), 6.2 * metrics.height() / 62, 0.001);
        const double baseOfBox = metrics.descent() * ItemFonts::letterScale - fonts.letterHeight() / 2;
        const double capHeight = metrics.capHeight() * ItemFonts::letterScale;
        for (const double scale : { 2.0, 20.0 }) {
            const ItemPixels item = drawn(memory, scale);
            // The letters of "RAM" are flat, so each is exactly as high as a capital letter.
            for (const double middle : { 11 + 5.5, 11.0, 11 - 5.5 }) {
                const QRectF letter = item.inked(QRectF(1, middle - 2.7, 6, 5.2), textColour);
                QVERIFY_NEAR(letter.top(), middle + baseOfBox, 0.6 / scale + 0.1);
                QVERIFY_NEAR(letter.height(), capHeight, 1.2 / scale + 0.1);
                QVERIFY_NEAR(letter.left(), 1.3, 0.4);
            }
        }
    }

    void lettersStandEvenlyOnWholePixels_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("distance");
        for (const auto& [scale, distance] : { std::pair(1.0, 6), std::pair(1.25, 7), std::pair(1.5, 8),
                 std::pair(1.75, 10), std::pair(2.0, 11), std::pair(3.0, 17) })
            QTest::addRow("%g", scale) << scale << distance;
    }
    void lettersStandEvenlyOnWholePixels()
    {
        QFETCH(double, scale);
        QFETCH(int, distance);
        set("meterLabelStyle", "letters");
        for (const QPointF& topLeft : { QPointF(0, 0), QPointF(0, 2.3) }) {
            for (const auto& section : allCases<MonitorSection>()) {
                const QImage item
                    = DrawingFixture::drawn(section.value, m_readings, scale, ColourScheme::light, topLeft);
                const QList<int> feet = feetOfLetters(item, int(7 * scale));
                // At least one row without ink separates two letters.
                QCOMPARE(feet.size(), 3);
                // The feet of these three letters are flat. Other letters reach slightly below the baseline.
                if (section.value == memory) {
                    QCOMPARE(feet[1] - feet[0], distance);
                    QCOMPARE(feet[2] - feet[1], distance);
                }
            }
        }
    }

    void everySectionHasItsLetters_data() { labels(); }
    void everySectionHasItsLetters()
    {
        QFETCH(Label, row);
        set("meterLabelStyle", "letters");
        const QImage item = image(row.section);
        // Draws the same letters in another way: 62 pixels high (ten times 6.2), semibold, at scale 2.
        QImage wanted(item.size(), item.format());
        wanted.fill(Qt::transparent);
        QPainter painter(&wanted);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.scale(2, 2);
        painter.setFont(inter(62, QFont::DemiBold));
        painter.setPen(textColour);
        const QFontMetricsF metrics(painter.font());
        for (int i = 0; i < 3; ++i) {
            const double boxBottom = 110 - (1 - i) * 55 + metrics.height() / 2;
            painter.drawText(QPointF(10, boxBottom - metrics.descent()), QChar::fromLatin1(row.letters[i]));
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

    void everySectionHasItsSymbol_data() { labels(); }
    void everySectionHasItsSymbol()
    {
        QFETCH(Label, row);
        for (const double scale : { 1.0, 2.0, 3.0 }) {
            for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                const QColor colour = scheme == ColourScheme::dark ? QColor(0xF2, 0xF2, 0xF4) : textColour;
                QImage symbol = SymbolImage::image(QString::fromLatin1(row.symbol), 12, colour, scale);
                symbol.setDevicePixelRatio(1);
                // The symbol is 14 points high, so it begins 4 points below the item's top.
                QImage label = image(row.section, scale, scheme)
                                   .copy(QRect(QPoint(int(scale), int(4 * scale)), symbol.size()));
                label.setDevicePixelRatio(1);
                QCOMPARE(label, symbol);
            }
        }
    }

    void renderedSymbolsAreKept()
    {
        const auto symbol = [](const char* name, ColourScheme scheme, double points, double scale) {
            return ItemSprites::symbol(QString::fromLatin1(name), points, labelColour(scheme), scale)
                .cacheKey();
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
        set("meterLabelStyle", "letters");
        const QFont usual = QGuiApplication::font();
        const QImage before = image(sensors, 4);
        QGuiApplication::setFont(QFont(QStringLiteral("Inter Display")));
        const QImage after = image(sensors, 4);
        PixelPainter::setKeepsPictures(false);
        const QImage wanted = image(sensors, 4);
        PixelPainter::setKeepsPictures(true);
        QGuiApplication::setFont(usual);
        QCOMPARE(after, wanted);
        QVERIFY(after != before);
        QCOMPARE(image(sensors, 4), before);
    }

    void unknownScaleCountsAsTwo()
    {
        const auto drawnAt = [this](double scale) {
            QImage image(60, 44, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            image.setDevicePixelRatio(2);
            QPainter painter(&image);
            StatusMetricView(sensors, QRectF(0, 0, 30, 22), m_readings)
                .draw(painter, QPointF(0, 0), ColourScheme::light, scale);
            return image;
        };
        QVERIFY(!ItemPixels(drawnAt(0), 2).inked(QRectF(0, 0, 30, 22)).isNull());
        QCOMPARE(drawnAt(0), drawnAt(2));
    }

    void iconIsCentred()
    {
        const QRectF icon = drawn(cpu).inked(QRectF(0, 0, 15, 22));
        QVERIFY_NEAR(icon.center().y(), 11, 0.06);
        QVERIFY_NEAR(icon.center().x(), 1 + StatusMetricView::iconSize(cpu).width() / 2, 0.06);
    }

    void sensorsWithLettersShowTheSymbolAfterThem()
    {
        set("sensorsReadout", "fan");
        const double icon = StatusMetricView::iconSize(sensors).width();
        const ItemPixels plain = drawn(sensors);
        set("meterLabelStyle", "letters");
        const ItemPixels item = drawn(sensors);
        const QRectF alone = plain.inked(QRectF(0, 0, 1 + icon, 22));
        const QRectF second = item.inked(QRectF(10, 0, icon, 22));
        QVERIFY_NEAR(second.left() - 10, alone.left() - 1, 0.051);
        QVERIFY_NEAR(second.width(), alone.width(), 0.051);
        QVERIFY(!item.inked(QRectF(0, 0, 8, 22)).isNull());
        // In both items, the text begins one gap after the symbol.
        QVERIFY_NEAR(item.inked(QRectF(10 + icon, 0, 40, 22)).left() - (10 + icon + 3),
            plain.inked(QRectF(1 + icon, 0, 40, 22)).left() - (1 + icon + 5), 0.051);
    }

    void readoutStandsOnItsBaseLine()
    {
        set("storageReadout", "usage");
        m_readings->storage = 0.22;
        const QFontMetricsF metrics(inter(11, QFont::Medium));
        QVERIFY_NEAR(StatusMetricView::readoutLineHeight(), metrics.height(), 0.001);
        const double x = meterStart(storage) + 8 + 5;
        for (const double scale : { 1.0, 2.0, 20.0 }) {
            // Both digits have flat feet.
            const QRectF digits = drawn(storage, scale).inked(QRectF(x, 0, 13, 22), textColour);
            QVERIFY_NEAR(digits.top(), 11 - metrics.height() / 2 + metrics.descent(), 0.6 / scale + 0.06);
            QVERIFY_NEAR(digits.height(), metrics.capHeight(), 1.2 / scale + 0.1);
            QVERIFY(digits.left() >= x - 0.1 && digits.left() < x + 1.2);
        }
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
        addRows<Meter>(
            { { "bars", cpu, "bars", 26.6 }, { "wave", cpu, "wave", 46 }, { "compact", cpu, "compact", 46 },
                { "memory", memory, "bars", 8 }, { "storage", storage, "bars", 8 } });
    }
    void readoutBeginsAGapBehindTheMeter()
    {
        QFETCH(Meter, row);
        set("meterStyle", row.style);
        for (const char* key : { "cpuReadout", "memoryReadout", "storageReadout" })
            set(key, "usage");
        // Draws only the text at a known place, to measure the small space that the font leaves before a digit's ink.
        QImage alone(60 * 20, 22 * 20, QImage::Format_ARGB32_Premultiplied);
        alone.fill(Qt::transparent);
        QPainter painter(&alone);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.scale(20, 20);
        ItemFonts::current().readout().draw(painter, QPointF(10, 15), QStringLiteral("50%"), textColour);
        painter.end();
        const QRectF wanted = ItemPixels(alone, 20).inked(QRectF(0, 0, 60, 22), textColour);
        for (const char* labels : { "icons", "letters" }) {
            set("meterLabelStyle", labels);
            const double end = meterStart(row.section) + row.width;
            const double gap = StatusMetricView::meterSideGap(row.section);
            const QRectF text = drawn(row.section).inked(QRectF(end + 0.6, 0, 40, 22), textColour);
            QVERIFY_NEAR(text.left(), end + gap + wanted.left() - 10, 0.1);
            QVERIFY_NEAR(text.width(), wanted.width(), 0.1);
        }
    }

    void digitsDoNotJitter()
    {
        set("storageReadout", "usage");
        double end = 0;
        for (const double fraction : { 0.11, 0.18, 0.40, 0.99 }) {
            m_readings->storage = fraction;
            const double right = drawn(storage).inked(QRectF(meterStart(storage) + 10, 0, 40, 22)).right();
            if (end > 0)
                QCOMPARE(right, end);
            end = right;
        }
    }

    void labelsAreLightOnDarkGround()
    {
        set("storageReadout", "usage");
        for (const char* labels : { "icons", "letters" }) {
            set("meterLabelStyle", labels);
            const ItemPixels item = drawn(storage, 20, ColourScheme::dark);
            QVERIFY(!item.inked(QRectF(0, 0, 16, 22), QColor(0xF2, 0xF2, 0xF4)).isNull());
            QVERIFY(item.inked(QRectF(0, 0, 80, 22), textColour).isNull());
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, LabelGeometryTest)
#include "LabelGeometryTest.moc"
