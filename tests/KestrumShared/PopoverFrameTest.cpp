#include "KestrumShared/Popover/PopoverFrame.h"

#include "KestrumShared/Popover/PopoverSurface.h"
#include "KestrumShared/Raster/Contrast.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const QRectF framePlace(40, 40, 200, 260);

PanelPixels framed(
    bool hasShadow, ColourScheme scheme, double scale = 2, const QColor& behind = QColor(120, 140, 160))
{
    PanelEnvironment environment = in(scheme);
    environment.background = PopoverBackground::opaque;
    return PanelPixels(
        { 280, 340 },
        [&](QPainter& painter) { PopoverFrame { hasShadow }.draw(painter, framePlace, environment); }, behind,
        scale);
}

} // namespace

class PopoverFrameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }
    void cleanup() { SystemAppearance::shared().setScheme(ColourScheme::light); }

    void withoutAShadowNothingIsDrawnAroundThePopover()
    {
        QCOMPARE(PopoverFrame {}.margins(), QMarginsF());
        for (const ColourScheme scheme : { light, dark })
            QCOMPARE(framed(false, scheme).drawn(everywhere), framePlace);
    }

    void theSurfaceIsTheOneOfItsBackgroundAndHasARim()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const PanelPixels pixels = framed(false, scheme);
            const QColor ground = PopoverSurface::ground(PopoverBackground::opaque, scheme);
            QVERIFY_COLOUR(pixels.at(140, 170), ground);
            const QColor rim
                = scheme == dark ? QColor::fromRgbF(1, 1, 1, 0.14F) : QColor::fromRgbF(0, 0, 0, 0.16F);
            for (const QPointF& edge : { QPointF(40.2, 170), QPointF(40.8, 170), QPointF(239.5, 170),
                     QPointF(140, 40.5), QPointF(140, 299.5) })
                QVERIFY_COLOUR(pixels.at(edge.x(), edge.y()), laidOver(rim, ground));
            QVERIFY_COLOUR(pixels.at(41.2, 170), ground);
        }
    }

    void theCornersAreRoundedByTwelve()
    {
        // On the diagonal, a corner of radius 12 begins at 3.5.
        const PanelPixels pixels = framed(false, light, 4);
        QCOMPARE(pixels.at(43.2, 43.2), QColor(120, 140, 160));
        QVERIFY(pixels.at(43.9, 43.9) != QColor(120, 140, 160));
    }

    void theShadowLiesOutsideAndFadesOutWithinTheMargins()
    {
        const QMarginsF margins = PopoverFrame { true }.margins();
        for (const ColourScheme scheme : { light, dark }) {
            for (const double scale : { 1.0, 1.5, 2.0 }) {
                const PanelPixels pixels = framed(true, scheme, scale, Qt::white);
                const PanelPixels without = framed(false, scheme, scale, Qt::white);
                QCOMPARE(pixels.at(140, 170), without.at(140, 170));
                const QRectF shadow = pixels.drawn(everywhere);
                QVERIFY((framePlace + margins).contains(shadow));
                QVERIFY(shadow.width() > framePlace.width() + 20);
                QVERIFY(shadow.bottom() - framePlace.bottom() > framePlace.top() - shadow.top());
                const auto darkness = [&](double x, double y) { return 255 - pixels.at(x, y).green(); };
                QVERIFY(darkness(37, 170) > 12);
                QVERIFY(darkness(37, 170) > darkness(30, 170));
                QVERIFY(darkness(30, 170) > darkness(24, 170));
                QVERIFY(darkness(140, 303) > darkness(140, 37));
                // All along a side it is the same, and the sides are alike.
                for (double y = 100; y < 250; y += 3) {
                    QCOMPARE(darkness(35, y), darkness(35, 170));
                    QVERIFY(std::abs(darkness(35, y) - darkness(244.9, y)) <= 2);
                }
                for (double x = 90; x < 190; x += 3)
                    QCOMPARE(darkness(x, 305), darkness(140, 305));
            }
        }
    }

    void nothingOfTheShadowIsBelowATranslucentSurface()
    {
        PanelEnvironment environment = in(light);
        environment.background = PopoverBackground::translucent;
        const auto drawnFrame = [&](bool hasShadow) {
            return PanelPixels({ 280, 340 }, [&](QPainter& painter) {
                PopoverFrame { hasShadow }.draw(painter, framePlace, environment);
            });
        };
        const PanelPixels with = drawnFrame(true);
        const PanelPixels without = drawnFrame(false);
        for (const QPointF& inside :
            { QPointF(42, 170), QPointF(140, 42), QPointF(140, 297), QPointF(50, 290) })
            QCOMPARE(with.at(inside.x(), inside.y()), without.at(inside.x(), inside.y()));
    }

    // A shadow is made anew at each scale, and kept at the one that stays.
    void theShadowIsMadeOnce()
    {
        const PanelEnvironment environment = in(light);
        QImage image(300, 360, QImage::Format_ARGB32_Premultiplied);
        const auto shortest = [&](double growth) {
            qint64 least = std::numeric_limits<qint64>::max();
            for (int i = 0; i < 10; ++i) {
                QPainter painter(&image);
                painter.scale(2 + (i + 1) * growth, 2 + (i + 1) * growth);
                QElapsedTimer timer;
                timer.start();
                PopoverFrame { true }.draw(painter, framePlace, environment);
                least = std::min(least, timer.nsecsElapsed());
            }
            return least;
        };
        const qint64 kept = shortest(0);
        const qint64 made = shortest(0.001);
        QVERIFY2(kept < made / 2, qPrintable(QStringLiteral("%1 and %2 ns").arg(kept).arg(made)));
    }

    void theRingStandsAroundItsElementAndIsSeen()
    {
        const QRectF row(60, 100, 160, 15);
        for (const ColourScheme scheme : { light, dark }) {
            const PanelEnvironment environment = in(scheme);
            for (const auto& accent : { std::optional<QColor>(), std::optional<QColor>(QColor(250, 240, 60)),
                     std::optional<QColor>(QColor(10, 10, 60)) }) {
                SystemAppearance::shared().setScheme(scheme, accent);
                const PanelPixels pixels(
                    { 280, 340 },
                    [&](QPainter& painter) { PopoverFrame::drawFocusRing(painter, row, environment); },
                    environment.ground());
                QCOMPARE(pixels.drawn(everywhere), PanelEnvironment::plate(row));
                QVERIFY(pixels.drawn(row).isNull());
                const QColor ring = pixels.at(140, 98);
                QVERIFY(Contrast::ratio(ring, environment.ground()) >= 2.99);
                QCOMPARE(pixels.drawn(QRectF(140, 90, 1, 12)).height(), 2.0);
            }
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PopoverFrameTest)
#include "PopoverFrameTest.moc"
