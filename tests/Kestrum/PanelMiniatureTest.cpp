#include "Kestrum/Popovers/PanelMiniature.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/Popovers/LowerRightHalf.h"
#include "KestrumShared/Popover/CompactHeader.h"
#include "KestrumShared/Raster/Contrast.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <cmath>
#include <initializer_list>

using namespace kestrum;
using namespace PanelFixture;

namespace {

constexpr PopoverBackground opaque = PopoverBackground::opaque;
constexpr PopoverBackground translucent = PopoverBackground::translucent;

PanelPixels drawn(ColourScheme scheme, PopoverBackground background,
    Qt::LayoutDirection direction = Qt::LeftToRight, double scale = 2)
{
    return PanelPixels(
        PanelMiniature::size,
        [&](QPainter& painter) {
            PanelMiniature { scheme, background }.draw(painter, { 0, 0 }, direction);
        },
        Qt::white, scale);
}

/// The parts of the sample panel without any content: its paddings, and the room beside the title.
const std::initializer_list<QRectF> grounds { { 11, 17, 4, 10 }, { 11, 30, 4, 43 }, { 17, 10, 94, 3 },
    { 85, 10, 26, 17 } };

} // namespace

class PanelMiniatureTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void thePictureKeepsToItsSize()
    {
        const PanelPixels pixels({ 200, 150 }, [](QPainter& painter) {
            PanelMiniature { dark, translucent }.draw(painter, { 20, 30 }, Qt::LeftToRight);
        });
        QCOMPARE(pixels.drawn(everywhere), QRectF(20, 30, 112, 74));
    }

    void thePainterIsLeftAsItWas()
    {
        QImage image(300, 200, QImage::Format_RGB32);
        QPainter painter(&image);
        painter.translate(3, 4);
        const QTransform before = painter.transform();
        PanelMiniature { light, opaque }.draw(painter, { 0, 0 }, Qt::LeftToRight);
        QCOMPARE(painter.transform(), before);
        QVERIFY(!painter.hasClipping());
        QVERIFY(!painter.testRenderHint(QPainter::Antialiasing));
    }

    void theDesktopIsDeepBlueInDarkAndPaleInLight()
    {
        QVERIFY_COLOUR(drawn(dark, opaque).at(0, 0), QColor::fromRgbF(0.16F, 0.20F, 0.55F));
        for (const QPointF& place : { QPointF(0, 0), QPointF(111, 4), QPointF(4, 73) }) {
            QCOMPARE_GT(drawn(light, opaque).at(place.x(), place.y()).lightnessF(), 0.8F);
            const QColor deep = drawn(dark, opaque).at(place.x(), place.y());
            QCOMPARE_LT(deep.lightnessF(), 0.5F);
            QCOMPARE_LT(std::abs(deep.hslHue() - 225), 25);
        }
    }

    void theDesktopChangesAlongTheDiagonal()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const PanelPixels pixels = drawn(scheme, opaque);
            QVERIFY(!PanelPixels::isNear(pixels.at(0, 0), pixels.at(111, 0), 20));
            QVERIFY(!PanelPixels::isNear(pixels.at(0, 0), pixels.at(0, 73), 10));
        }
    }

    void thePanelLeavesTheDesktopAtItsTopAndLeadingEdges()
    {
        const PanelPixels pixels = drawn(dark, opaque);
        const QColor panel(31, 33, 36);
        QCOMPARE(pixels.drawn(everywhere, panel), QRectF(10, 9, 102, 65));
        // The panel's corner has radius 12, drawn at half size. Its other corners are outside of the picture.
        QVERIFY(!PanelPixels::isNear(pixels.at(11, 10), panel, 30));
        QCOMPARE(pixels.at(12, 11), panel);
        QCOMPARE(pixels.at(111.5, 9), panel);
        QCOMPARE(pixels.at(10, 73.5), panel);
    }

    void theGroundIsTheOneOfThePictureAndNotTheStoredOne()
    {
        for (const char* stored : { "opaque", "translucent" }) {
            DrawingFixture::set("popoverBackground", stored);
            QCOMPARE(drawn(light, opaque).at(100, 12), QColor(199, 204, 209));
            QVERIFY(drawn(light, translucent).at(100, 12) != QColor(199, 204, 209));
        }
        forgetSettings();
    }

    void theDesktopShinesThroughATranslucentPanel()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const PanelPixels through = drawn(scheme, translucent);
            QVERIFY(!PanelPixels::isNear(through.at(11, 20), through.at(111, 12), 5));
            const PanelPixels solid = drawn(scheme, opaque);
            QCOMPARE(solid.at(11, 20), solid.at(111, 12));
        }
    }

    void textsCanBeReadOnATranslucentPanel()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const PanelPixels pixels = drawn(scheme, translucent, Qt::LeftToRight, 1);
            for (const QRectF& ground : grounds) {
                for (double y = ground.top(); y < ground.bottom(); ++y) {
                    for (double x = ground.left(); x < ground.right(); ++x) {
                        for (const QColor& text : { in(scheme).textColour(), in(scheme).secondaryTextColour(),
                                 in(scheme).headerColour() })
                            QVERIFY2(Contrast::ratio(text, pixels.at(x, y)) >= 4.5,
                                qPrintable(QStringLiteral("%1 on %2 at %3, %4")
                                               .arg(text.name(), pixels.at(x, y).name())
                                               .arg(x)
                                               .arg(y)));
                    }
                }
            }
        }
    }

    void thePanelIsDrawnAtHalfItsSize()
    {
        // The panel is 300 wide with a padding of 12. At half size the bar begins at 6 and is 138 long.
        for (const double scale : { 1.0, 2.0 }) {
            const QRectF fill
                = drawn(light, opaque, Qt::LeftToRight, scale).drawn(everywhere, QColor(31, 133, 224));
            QCOMPARE(fill.left(), 16.0);
            QVERIFY_NEAR(fill.right(), 16 + 0.31 * 138, 1 / scale);
        }
        // The divider is below the header, which is 38 high, 19 at half size.
        const PanelPixels pixels = drawn(dark, opaque);
        QVERIFY_COLOUR(pixels.at(100, 28), laidOver(in(dark).dividerColour(), QColor(31, 33, 36)));
        QCOMPARE(pixels.at(100, 27.5), QColor(31, 33, 36));
        QCOMPARE(pixels.at(100, 28.5), QColor(31, 33, 36));
    }

    void theBarIsSharpAtEveryScale()
    {
        for (const double scale : { 1.0, 2.0 }) {
            const PanelPixels pixels = drawn(dark, opaque, Qt::LeftToRight, scale);
            const QColor fill = QColor::fromRgbF(0.25F, 0.62F, 0.96F);
            const QColor ground(31, 33, 36);
            const QRectF bar = pixels.drawn(everywhere, fill);
            QCOMPARE(bar.height(), 4.0);
            for (double y = 30; y < 60; y += 1 / scale) {
                const QColor pixel = pixels.at(30, y);
                // Around the bar, each pixel has either the fill's colour or the background's.
                if (y > bar.top() - 2 && y < bar.bottom())
                    QVERIFY(PanelPixels::isNear(pixel, fill) || PanelPixels::isNear(pixel, ground));
            }
        }
    }

    void theHeaderIsThatOfTheMemoryPopoverAtHalfItsSize()
    {
        const PanelPixels expected(
            PanelMiniature::size,
            [](QPainter& painter) {
                painter.setRenderHint(QPainter::SmoothPixmapTransform);
                painter.translate(10, 9);
                painter.scale(0.5, 0.5);
                CompactHeader { QStringLiteral("Memory"), QStringLiteral("memorychip") }.draw(
                    painter, { 0, 0, 300, 38 }, in(light));
            },
            QColor(199, 204, 209));
        const PanelPixels pixels = drawn(light, opaque);
        for (double y = 10; y < 27; y += 0.5) {
            for (double x = 15; x < 111; x += 0.5)
                QCOMPARE(pixels.at(x, y), expected.at(x, y));
        }
    }

    void eachTextStandsOnItsLine()
    {
        DrawingFixture::set("language", "fr");
        const auto picture = [](const QByteArray& table) {
            const TestBundle bundle("{ }", { "en", "fr" });
            bundle.writeTable("fr", table);
            return drawn(dark, opaque).image();
        };
        const QImage plain = picture("/* as it is */");
        double above = 0;
        for (const char* text : { "Memory", "PRESSURE", "Memory Used", "App Memory", "Cache" }) {
            const QImage other = picture(QByteArray("\"") + text + "\" = \"xxx\";");
            QRect changed;
            for (int y = 0; y < plain.height(); ++y) {
                for (int x = 0; x < plain.width(); ++x) {
                    if (plain.pixel(x, y) != other.pixel(x, y))
                        changed |= QRect(x, y, 1, 1);
                }
            }
            QVERIFY2(!changed.isEmpty() && changed.top() > above, text);
            QVERIFY2(changed.height() <= 16, text); // in pixels; one point has 2 pixels
            above = changed.bottom();
        }
        forgetSettings();
    }

    void theHeaderHasTheMemorySymbolInItsColour()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const QColor tint = in(scheme).headerColour();
            const QColor ground = drawn(scheme, opaque).at(100, 12);
            const PanelPixels pixels = drawn(scheme, opaque);
            // The lines are thinner than a pixel, so each pixel has only a part of the tint.
            int tinted = 0;
            for (double y = 10; y < 27; y += 0.5) {
                for (double x = 16; x < 23; x += 0.5) {
                    QColor share = tint;
                    share.setAlphaF(0.4F);
                    tinted += PanelPixels::isNear(pixels.at(x, y), laidOver(share, ground), 40) ? 1 : 0;
                }
            }
            QVERIFY(tinted > 10);
            QVERIFY(PanelPixels::isNear(pixels.at(14, 18), ground));
        }
    }

    void threeRowsFitIntoThePictureAndTwoHaveKeys()
    {
        for (const MeterAccent::Name accent : { MeterAccent::Name::signal, MeterAccent::Name::indigo }) {
            DrawingFixture::set("memoryAccent", qPrintable(MeterAccent(accent).rawValue()));
            const PanelPixels pixels = drawn(dark, opaque);
            QList<double> tops;
            QList<QColor> colours;
            const QColor ground(31, 33, 36);
            for (double y = 47; y < 74; y += 0.5) {
                const bool isKey = !PanelPixels::isNear(pixels.at(17.5, y), ground);
                if (isKey && PanelPixels::isNear(pixels.at(17.5, y - 0.5), ground)) {
                    tops.append(y);
                    colours.append(pixels.at(17.5, y + 1));
                }
            }
            // As in the popover: the row of all used memory has no key, that of apps the memory's accent, the cache is grey.
            QCOMPARE(tops.size(), 3);
            PanelEnvironment popover = in(dark);
            popover.background = opaque;
            QVERIFY_COLOUR(colours[1], popover.readable(MeterAccent(accent).color()));
            QVERIFY(std::abs(colours[2].red() - colours[2].blue()) < 12);
            // Only the part above the border of a selected tile counts.
            QVERIFY(pixels.drawn(QRectF(20, tops[2], 40, 10), in(dark).secondaryTextColour()).bottom() <= 71);
        }
        forgetSettings();
    }

    void fromTheRightThePictureIsMirrored()
    {
        const PanelPixels pixels = drawn(dark, opaque, Qt::RightToLeft);
        QVERIFY_COLOUR(pixels.at(111.5, 0), QColor::fromRgbF(0.16F, 0.20F, 0.55F));
        QCOMPARE(pixels.drawn(everywhere, QColor(31, 33, 36)), QRectF(0, 9, 102, 65));
        const QRectF fill = pixels.drawn(everywhere, QColor::fromRgbF(0.25F, 0.62F, 0.96F));
        QCOMPARE(fill.right(), 112 - 16.0);
        QVERIFY_NEAR(fill.left(), 112 - 16 - 0.31 * 138, 0.5);
    }

    void thePictureIsAlwaysTheSame()
    {
        QCOMPARE(drawn(light, translucent).image(), drawn(light, translucent).image());
    }

    void theLowerRightHalfIsBelowTheDiagonal()
    {
        const QPainterPath path = LowerRightHalf::path(QRectF(10, 20, 112, 74));
        QCOMPARE(path.toFillPolygon(),
            QPolygonF({ QPointF(122, 20), QPointF(122, 94), QPointF(10, 94), QPointF(122, 20) }));
        QVERIFY(path.contains(QPointF(121, 93)));
        QVERIFY(!path.contains(QPointF(11, 21)));
        QVERIFY(path.contains(QPointF(67, 58)));
        QVERIFY(!path.contains(QPointF(65, 56)));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelMiniatureTest)
#include "PanelMiniatureTest.moc"
