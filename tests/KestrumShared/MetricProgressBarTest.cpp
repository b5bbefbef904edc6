#include "KestrumShared/Popover/MetricProgressBar.h"

#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const QColor blueDark = QColor::fromRgbF(0.25F, 0.62F, 0.96F);
const QColor blueLight = QColor::fromRgbF(0.12F, 0.52F, 0.88F);

} // namespace

class MetricProgressBarTest : public QObject {
    Q_OBJECT

    struct Share {
        const char* name;
        double value;
        double width;
    };

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aBarIsFilledByItsShare_data()
    {
        addRows<Share>({ { "none", 0, 0 }, { "part", 0.31, 62 }, { "half", 0.5, 100 }, { "all", 1, 200 },
            { "more than all", 1.7, 200 }, { "endless", std::numeric_limits<double>::infinity(), 200 },
            { "negative", -0.4, 0 }, { "no number", std::numeric_limits<double>::quiet_NaN(), 0 } });
    }
    void aBarIsFilledByItsShare()
    {
        QFETCH(Share, row);
        for (const ColourScheme scheme : { light, dark }) {
            // The picture is larger than the bar, to find any drawing outside of the bar.
            const PanelPixels pixels(
                { 240, 20 },
                [&](QPainter& painter) {
                    MetricProgressBar { row.value }.draw(painter, QRectF(20, 6, 200, 8), in(scheme));
                },
                QColor(200, 200, 200));
            QCOMPARE(pixels.drawn(everywhere), QRectF(20, 6, 200, 8));
            const QRectF fill = pixels.drawn(everywhere, scheme == dark ? blueDark : blueLight);
            QCOMPARE(fill, row.width > 0 ? QRectF(20, 6, row.width, 8) : QRectF());
        }
    }

    void aBarIsFilledFromItsLeadingEnd()
    {
        const PanelPixels pixels = drawn(MetricProgressBar { 0.25 }, in(light, Qt::RightToLeft));
        QCOMPARE(pixels.drawn(everywhere, blueLight), QRectF(150, 0, 50, 8));
    }

    void aBarHasItsTracksColour()
    {
        const QColor track = QColor::fromRgbF(0.45F, 0.46F, 0.48F, 0.45F);
        QVERIFY_COLOUR(drawn(MetricProgressBar {}, in(light)).at(100, 4), laidOver(track, Qt::white));
        const PanelPixels onGrey(
            { 20, 8 },
            [](QPainter& painter) { MetricProgressBar {}.draw(painter, QRectF(0, 0, 20, 8), in(dark)); },
            QColor(200, 200, 200));
        QVERIFY_COLOUR(onGrey.at(10, 4), QColor(140, 140, 140));
        QCOMPARE(drawn(MetricProgressBar { std::nullopt }, in(light)).image(),
            drawn(MetricProgressBar { 0.0 }, in(light)).image());
    }

    void aBarTakesAnotherFill()
    {
        const PanelPixels pixels = drawn(MetricProgressBar { 0.5, QColor(Qt::red) }, in(light));
        QCOMPARE(pixels.at(50, 4), QColor(Qt::red));
        QVERIFY(pixels.drawn(everywhere, blueLight).isNull());
    }

    void theCornersOfTrackAndFillAreRoundedByTwo()
    {
        // On the diagonal, a corner of radius 2 begins at 0.59; with radius 1 it would be 0.29, with radius 3 0.88.
        const PanelPixels pixels(
            { 40, 8 },
            [](QPainter& painter) {
                MetricProgressBar { 0.5, QColor(Qt::red) }.draw(painter, QRectF(0, 0, 40, 8), in(dark));
            },
            Qt::white, 20);
        const QColor track(178, 178, 178);
        for (const double y : { 0.0, 1.0 }) {
            const auto at = [&](double x, double inset) { return pixels.at(x, y == 0 ? inset : 8 - inset); };
            QCOMPARE(at(0.45, 0.45), QColor(Qt::white));
            QCOMPARE(at(0.75, 0.75), QColor(Qt::red));
            QCOMPARE(at(20 - 0.75, 0.75), QColor(Qt::red));
            QVERIFY_COLOUR(at(20 - 0.45, 0.45), track);
            QVERIFY_COLOUR(at(40 - 0.75, 0.75), track);
            QCOMPARE(at(40 - 0.45, 0.45), QColor(Qt::white));
        }
    }

    void aBarStandsOnPixelsAtHalfItsSize()
    {
        for (const double scale : { 1.0, 2.0 }) {
            const PanelPixels pixels(
                { 100, 20 },
                [](QPainter& painter) {
                    painter.scale(0.5, 0.5);
                    MetricProgressBar { 1 }.draw(painter, QRectF(3.1, 9.3, 100, 8), in(light));
                },
                Qt::white, scale);
            const QRectF all = pixels.drawn(everywhere);
            QVERIFY_NEAR(all.top(), 4.65, 0.5 / scale);
            QCOMPARE(pixels.drawn(everywhere, blueLight), all);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, MetricProgressBarTest)
#include "MetricProgressBarTest.moc"
