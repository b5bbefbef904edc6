#include "KestrumShared/Popover/CompactHeader.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/PanelDivider.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PanelText.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const QColor headerLight = QColor::fromRgbF(0.05F, 0.38F, 0.72F);
/// The headers' colour in each scheme.
const std::pair<ColourScheme, QColor> tints[]
    = { { light, headerLight }, { dark, QColor::fromRgbF(0.39F, 0.70F, 1.0F) } };

/// A part that fills its rectangle, to test the parts that contain other parts.
struct Block {
    double points;
    QColor colour;
    double height(const PanelEnvironment&) const { return points; }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment&) const
    {
        painter.fillRect(rect, colour);
    }
};

/// Whether the pixels of `picture` at `place` are exactly those of `text`.
bool hasText(const PanelPixels& picture, const QRectF& place, const PanelText& text, ColourScheme scheme)
{
    const PanelPixels expected(
        picture.image().deviceIndependentSize(),
        [&](QPainter& painter) { text.draw(painter, place, in(scheme)); },
        scheme == dark ? Qt::black : Qt::white);
    const QRect pixels = QRectF(place.topLeft() * 2, place.size() * 2).toAlignedRect();
    return picture.image().copy(pixels) == expected.image().copy(pixels);
}

/// A semibold font that is made without the environment that the parts use. `size` is in pixels.
QFont semibold(int size)
{
    QFont font(QGuiApplication::font().families());
    font.setPixelSize(size);
    font.setWeight(QFont::DemiBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace

class PopoverPartsTest : public QObject {
    Q_OBJECT

    const CompactHeader m_header { QStringLiteral("Memory"), QStringLiteral("memorychip") };

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void metricsHaveTheirDefaultsInEveryPanelAndAreEqualWhenAllFourAre()
    {
        const PanelMetrics metrics = PanelEnvironment().metrics;
        QCOMPARE(metrics.usageGraphHeight, 70.0);
        QCOMPARE(metrics.loadGraphHeight, 72.0);
        QCOMPARE(metrics.sectionPadding, 9.0);
        QCOMPARE(metrics.rowSpacing, 7.0);
        QVERIFY((metrics == PanelMetrics { 70, 72, 9, 7 }));
        for (const PanelMetrics& other : { PanelMetrics { 71, 72, 9, 7 }, PanelMetrics { 70, 71, 9, 7 },
                 PanelMetrics { 70, 72, 8, 7 }, PanelMetrics { 70, 72, 9, 6 } })
            QVERIFY(metrics != other);
    }

    void aHeaderHasItsHeightAndPadding()
    {
        QCOMPARE(m_header.height(in(light)), 38.0);
        const PanelPixels pixels = drawn(m_header, in(light));
        const QRectF ink = pixels.drawn(everywhere);
        QVERIFY(ink.top() >= 12 && ink.bottom() <= 26);
        QVERIFY(ink.left() >= 12);
        // The symbol and the title are centred vertically.
        QVERIFY_NEAR(pixels.drawn(QRectF(0, 0, 26, 38)).center().y(), 19.0, 1.0);
        QVERIFY_NEAR(pixels.drawn(QRectF(30, 0, 170, 38)).center().y(), 19.5, 1.5);
    }

    void aHeadersTitleStandsEightAfterItsSymbol()
    {
        const double symbol = SymbolImage::size(m_header.icon, 10).width();
        QVERIFY(symbol > 10);
        const QRectF title = drawn(m_header, in(light)).drawn(QRectF(12 + symbol, 0, 190, 38));
        const QFontMetricsF metrics(PanelEnvironment::systemFont(12, QFont::DemiBold));
        QVERIFY_NEAR(title.left(), 12 + symbol + 8 + metrics.leftBearing(QLatin1Char('M')), 0.6);
        const double ink = metrics.horizontalAdvance(m_header.title) - metrics.leftBearing(u'M')
            - metrics.rightBearing(u'y');
        QVERIFY_NEAR(title.width(), ink, 1.5);
    }

    void aHeadersSymbolIsTintedAndItsTitleIsNot()
    {
        const CompactHeader header { QStringLiteral("MMMM"), QStringLiteral("macwindow") };
        for (const auto& [scheme, tint] : tints) {
            const PanelPixels pixels = drawn(header, in(scheme));
            const QRectF symbol = pixels.drawn(everywhere, tint);
            QVERIFY(!symbol.isNull());
            QVERIFY(symbol.right() < 27);
            const QRectF title = pixels.drawn(everywhere, in(scheme).textColour());
            QVERIFY(title.left() > 30);
            const double start = 12 + SymbolImage::size(header.icon, 10).width() + 8;
            QVERIFY(hasText(pixels, QRectF(start, 12, 200 - 12 - start, 14),
                { header.title, semibold(12), in(scheme).textColour() }, scheme));
        }
    }

    void aHeadersTitleEndsTwelveBeforeTheTrailingEdge()
    {
        const CompactHeader header { QString(40, u'H'), QStringLiteral("memorychip") };
        const QRectF ink = drawn(header, in(light)).drawn(everywhere);
        QVERIFY(ink.right() <= 188 && ink.right() > 170);
    }

    void aHeadersSymbolHasTheSizeOfTheTextAroundIt()
    {
        const CompactHeader header { QString(), QStringLiteral("memorychip") };
        PanelEnvironment environment = in(light);
        const double small = drawn(header, environment).drawn(everywhere).width();
        environment.font = PanelEnvironment::systemFont(20);
        QVERIFY_NEAR(drawn(header, environment).drawn(everywhere).width() / small, 2.0, 0.15);
    }

    void aHeaderIsMirrored()
    {
        const PanelPixels pixels = drawn(m_header, in(light, Qt::RightToLeft));
        const QRectF ink = pixels.drawn(everywhere);
        QVERIFY(ink.left() > 100 && ink.right() <= 188);
        QVERIFY(pixels.drawn(everywhere, headerLight).left() > 170);
    }

    void aHeaderWithoutASymbolThatExistsShowsItsTitle()
    {
        const PanelPixels pixels
            = drawn(CompactHeader { QStringLiteral("Memory"), QStringLiteral("none") }, in(light));
        QVERIFY(pixels.drawn(everywhere).width() > 30);
    }

    void aSectionPadsAndSpacesItsContentByTheMetricsOfItsPanel()
    {
        PanelEnvironment environment = in(light);
        const DenseSection section { std::nullopt, { Block { 20, Qt::red }, Block { 30, Qt::green } } };
        const auto compare = [&](double padding, double spacing) {
            QCOMPARE(section.height(environment), padding + 20 + spacing + 30 + padding);
            const PanelPixels pixels = drawn(section, environment);
            QCOMPARE(pixels.drawn(everywhere, Qt::red), QRectF(12, padding, 176, 20));
            QCOMPARE(pixels.drawn(everywhere, Qt::green), QRectF(12, padding + 20 + spacing, 176, 30));
        };
        compare(9, 7);
        environment.metrics = { .sectionPadding = 3, .rowSpacing = 15 };
        compare(3, 15);
    }

    void aSectionsTitleStandsAboveItsContent()
    {
        const DenseSection section { QStringLiteral("HIHI"), { Block { 20, Qt::red } } };
        const QFontMetricsF metrics(PanelEnvironment::systemFont(10, QFont::DemiBold));
        const double line = std::round(metrics.height());
        for (const auto& [scheme, tint] : tints) {
            QCOMPARE(section.height(in(scheme)), 9 + line + 7 + 20 + 9);
            const PanelPixels pixels = drawn(section, in(scheme));
            QCOMPARE(pixels.drawn(everywhere, Qt::red), QRectF(12, 9 + line + 7, 176, 20));
            QVERIFY(!pixels.drawn(everywhere, tint).isNull());
            const QRectF title = pixels.drawn(QRectF(0, 0, 200, 9 + line));
            QVERIFY_NEAR(title.left(), 12 + metrics.leftBearing(u'H'), 0.8);
            QVERIFY_NEAR(title.height(), metrics.capHeight(), 1.0);
            QVERIFY(title.top() > 9 && title.bottom() < 9 + line);
            QVERIFY(
                hasText(pixels, QRectF(12, 9, 176, line), { *section.title, semibold(10), tint }, scheme));
        }
    }

    void aSectionsTitleStandsAtTheLeadingEdge()
    {
        const DenseSection section { QStringLiteral("HIHI"), {} };
        const QRectF title = drawn(section, in(light, Qt::RightToLeft)).drawn(everywhere);
        QVERIFY_NEAR(title.right(), 188.0, 1.5);
    }

    void aSectionWithoutATitleHasNoRoomForOne()
    {
        const DenseSection section { std::nullopt, { Block { 20, Qt::red } } };
        QCOMPARE(section.height(in(light)), 38.0);
        QCOMPARE(drawn(section, in(light)).drawn(everywhere), QRectF(12, 9, 176, 20));
    }

    void aStackPutsItsPartsBelowEachOther()
    {
        const PanelStack stack { { Block { 5, Qt::red }, PanelDivider {}, Block { 6, Qt::green } } };
        QCOMPARE(stack.height(in(light)), 12.0);
        const PanelPixels pixels = drawn(stack, in(light));
        QCOMPARE(pixels.drawn(everywhere, Qt::red), QRectF(0, 0, 200, 5));
        QCOMPARE(pixels.drawn(everywhere, Qt::green), QRectF(0, 6, 200, 6));
        QVERIFY(pixels.at(100, 5) != QColor(Qt::white));
        QCOMPARE(PanelStack {}.height(in(light)), 0.0);
    }

    void aDividerIsAtLeastOnePixel()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const QColor ground(scheme == light ? Qt::white : Qt::black);
            // At the second place, both edges of the divider round to the same pixel boundary.
            for (const auto& [y, row] : { std::pair(8.6, 4), std::pair(9.0, 5) }) {
                const PanelPixels pixels(
                    { 20, 20 },
                    [&, top = y](QPainter& painter) {
                        painter.scale(0.5, 0.5);
                        PanelDivider {}.draw(painter, QRectF(0, top, 40, 1), in(scheme));
                    },
                    ground, 1);
                QCOMPARE(pixels.drawn(everywhere), QRectF(0, row, 20, 1));
                QVERIFY_COLOUR(pixels.at(10, row), laidOver(in(scheme).dividerColour(), ground));
            }
        }
    }

    void aTextStandsInTheMiddleOfAHigherRectangle()
    {
        const PanelText text { QStringLiteral("H"), semibold(12), Qt::black };
        const PanelPixels pixels(
            { 40, 60 }, [&](QPainter& painter) { text.draw(painter, QRectF(0, 0, 40, 60), in(light)); });
        QVERIFY_NEAR(pixels.drawn(everywhere).center().y(), 30.0, 1.5);
    }

    void aTextIsWrittenInThePanelsDirection()
    {
        // The full stop has no direction of its own, so the panel's direction puts it at the end of the sentence.
        const PanelText text { QStringLiteral("HH."), semibold(20), Qt::black };
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const PanelPixels pixels = drawn(text, in(light, direction));
            const QRectF ink = pixels.drawn(everywhere);
            const QRectF first = pixels.drawn(QRectF(ink.left(), 0, 3, 100));
            QCOMPARE(first.height() > ink.height() / 2, direction == Qt::LeftToRight);
        }
    }

    void aHeadersSymbolStandsOnWholePixels()
    {
        const CompactHeader header { QString(), QStringLiteral("memorychip") };
        const QImage symbol = SymbolImage::image(header.icon, 10, headerLight, 2);
        const PanelPixels pixels({ 200, 40 }, [&](QPainter& painter) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            header.draw(painter, QRectF(0.3, 0.3, 200, 38), in(light));
        });
        const double top = std::round(2 * 19.3 - double(symbol.height()) / 2) / 2;
        const PanelPixels expected(
            { 200, 40 }, [&](QPainter& painter) { painter.drawImage(QPointF(12.5, top), symbol); });
        QCOMPARE(pixels.image(), expected.image());
    }

    void fontsOfPanelsAreTheSystemsAndNeverHinted()
    {
        const QFont font = PanelEnvironment::systemFont(11, QFont::DemiBold);
        QCOMPARE(font.families(), QGuiApplication::font().families());
        QCOMPARE(font.pixelSize(), 11);
        QCOMPARE(font.weight(), QFont::DemiBold);
        QCOMPARE(font.hintingPreference(), QFont::PreferNoHinting);
        QCOMPARE(PanelEnvironment::systemFont(11).weight(), QFont::Normal);
        QCOMPARE(PanelEnvironment().font.pixelSize(), 13);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PopoverPartsTest)
#include "PopoverPartsTest.moc"
