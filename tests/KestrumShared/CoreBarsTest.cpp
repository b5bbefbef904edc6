#include "KestrumShared/Popover/CoreBars.h"

#include "KestrumShared/Popover/SectionTitle.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

constexpr double sectionWidth = 276;
constexpr double labelRoom = 16; ///< a line of 10 points and the space below it
const QColor slow(0x20, 0x40, 0xD0);
const QColor fast(0xC0, 0x20, 0x20);

CoreBars cores(const QList<double>& loads, MeterShape shape = MeterShape::pill)
{
    return { { { QString(), loads, slow } }, shape, QStringLiteral("CORES") };
}

CoreBars twoTiers(const QList<double>& first, const QList<double>& second)
{
    CoreBars cores = ::cores({});
    cores.tiers
        = { { QStringLiteral("Efficiency"), first, slow }, { QStringLiteral("Performance"), second, fast } };
    return cores;
}

/// The begin and width of each bar of `colour` in one row of pixels.
QList<std::pair<double, double>> runs(
    const PanelPixels& pixels, double y, const QColor& colour, double pixelsPerPoint)
{
    QList<std::pair<double, double>> runs;
    bool isInside = false;
    for (double x = 0; x < sectionWidth; x += 1 / pixelsPerPoint) {
        const bool isBar = PanelPixels::isNear(pixels.at(x + 0.1 / pixelsPerPoint, y), colour);
        if (isBar && !isInside)
            runs.append({ x, 0 });
        if (isBar)
            runs.last().second += 1 / pixelsPerPoint;
        isInside = isBar;
    }
    return runs;
}

} // namespace

class CoreBarsTest : public QObject {
    Q_OBJECT

    static bool isSameTitle(
        const PanelPixels& picture, const PanelEnvironment& environment, const QString& head)
    {
        const PanelPixels title
            = drawn(SectionTitle { QStringLiteral("CORES"), { { head } } }, environment, sectionWidth);
        return picture.image().copy(title.image().rect()) == title.image();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aBarIsAsHighAsItsLoadAndNeverLowerThanTwo_data()
    {
        addRows<double, double>({ { "idle", 0, 2 }, { "little", 0.01, 2 }, { "half", 0.5, 13 },
            { "all", 1, 26 }, { "more than all", 1.4, 26 }, { "negative", -1, 2 },
            { "no number", std::numeric_limits<double>::quiet_NaN(), 2 } });
    }
    void aBarIsAsHighAsItsLoadAndNeverLowerThanTwo()
    {
        const auto [load, expected] = thisRow<double, double>();
        for (const MeterShape shape : { MeterShape::pill, MeterShape::square }) {
            const PanelPixels pixels = drawn(cores({ load, 0.2, 0.2, 0.2 }, shape), in(light), sectionWidth);
            const QRectF bar = pixels.drawn(QRectF(0, titleRoom, 66, 30), slow);
            QCOMPARE(bar.height(), expected);
            QCOMPARE(bar.bottom(), titleRoom + 26);
        }
    }

    void fiftyFiveCoresStandInOneRowAndMoreInRowsOfEqualLength_data()
    {
        addRows<int, int>({ { "1", 1, 1 }, { "16", 16, 1 }, { "55", 55, 1 }, { "56", 56, 2 },
            { "110", 110, 2 }, { "128", 128, 3 }, { "512", 512, 10 } });
    }
    void fiftyFiveCoresStandInOneRowAndMoreInRowsOfEqualLength()
    {
        const auto [count, rows] = thisRow<int, int>();
        const CoreBars part = cores(QList<double>(count, 1), MeterShape::square);
        QCOMPARE(part.height(in(light)), titleRoom + (rows == 1 ? 26 : rows * 16 + (rows - 1) * 4));
        const PanelPixels pixels = drawn(part, in(light), sectionWidth);
        const int inRow = (count + rows - 1) / rows;
        for (int row = 0; row < rows; ++row) {
            const auto bars = runs(pixels, titleRoom + row * 20 + 8, slow, 2);
            QCOMPARE(int(bars.size()), row < rows - 1 ? inRow : count - (rows - 1) * inRow);
        }
        QVERIFY_NEAR(pixels.drawn(QRectF(0, titleRoom, sectionWidth, 300), slow).width(), sectionWidth, 0.6);
        QVERIFY(isSameTitle(pixels, in(light), QString::number(count)));
    }

    void allBarsAreOfOneWidth()
    {
        for (const double scale : { 1.0, 1.25, 1.5, 2.0 }) {
            for (const int count : { 3, 12, 43, 55 }) {
                const PanelPixels pixels(
                    { sectionWidth, 45 },
                    [&](QPainter& painter) {
                        cores(QList<double>(count, 1), MeterShape::square)
                            .draw(painter, QRectF(0, 0, sectionWidth, 45), in(light));
                    },
                    Qt::white, scale);
                const auto bars = runs(pixels, titleRoom + 12, slow, scale);
                QCOMPARE(bars.size(), count);
                for (const auto& bar : bars)
                    QVERIFY_NEAR(bar.second, bars.first().second, 0.01);
            }
        }
    }

    void roundBarsHaveRoundCorners()
    {
        for (const MeterShape shape : { MeterShape::pill, MeterShape::square }) {
            const PanelPixels pixels = drawn(cores({ 1, 1, 1, 1 }, shape), in(light), sectionWidth);
            QCOMPARE(pixels.at(0.2, titleRoom + 0.2) == slow, shape == MeterShape::square);
            QCOMPARE(pixels.at(5, titleRoom + 0.2), slow);
        }
    }

    void tiersStandSideBySideBelowTheirNames()
    {
        const CoreBars part = twoTiers({ 1, 1, 1, 1 }, { 1, 1 });
        QCOMPARE(part.height(in(light)), titleRoom + labelRoom + 26);
        const PanelPixels pixels = drawn(part, in(light), sectionWidth);
        QCOMPARE(pixels.drawn(everywhere, slow), QRectF(0, titleRoom + labelRoom, 132, 26));
        QCOMPARE(pixels.drawn(everywhere, fast), QRectF(144, titleRoom + labelRoom, 132, 26));
        QVERIFY(isSameTitle(pixels, in(light), QStringLiteral("6")));
        QVERIFY(pixels.drawn(QRectF(0, titleRoom, 132, 12)).width() > 100);
    }

    // The widths follow from the names, and not from the loads.
    void theNamesOfThreeTiersAreWhole()
    {
        PanelEnvironment environment = in(light);
        environment.font = PanelEnvironment::systemFont(12);
        CoreBars part = twoTiers({ 0, 0 }, { 0, 0, 0 });
        part.tiers.insert(1, { QStringLiteral("Level 1"), { 0 }, Qt::darkGreen });
        const QRectF rect(0, 0, sectionWidth, part.height(environment));
        const QList<PanelElement> told = part.describe(rect, environment);
        const PanelPixels pixels = drawn(part, environment, sectionWidth);
        for (int i = 0; i < 3; ++i) {
            const QRectF tier = told[i + 1].rect;
            const QFontMetricsF metrics(PanelEnvironment::systemFont(10));
            const double name = metrics.horizontalAdvance(part.tiers[i].name);
            const QRectF ink = pixels.drawn(QRectF(tier.left(), titleRoom, name + 2, 12));
            QVERIFY_NEAR(ink.width(), name, 3.0);
            // Behind the name there is a gap before the mean.
            QVERIFY(pixels.drawn(QRectF(tier.left() + name + 1, titleRoom, 5, 12)).isNull());
        }
        QCOMPARE(told[3].rect.right(), sectionWidth);
        part.tiers[0].loads = { 1, 1 };
        QCOMPARE(part.describe(rect, environment)[2].rect, told[2].rect);
        // Names that fit nowhere are shortened, in tiers of one width.
        part.tiers[0].name = QString(60, u'H');
        QCOMPARE(part.describe(rect, environment)[2].rect.width(), (sectionWidth - 24) / 3);
    }

    void tiersAreMirrored()
    {
        const PanelPixels pixels = drawn(twoTiers({ 1, 0 }, { 1 }), in(light, Qt::RightToLeft), sectionWidth);
        QCOMPARE(pixels.drawn(everywhere, fast).left(), 0.0);
        const QRectF busy = pixels.drawn(QRectF(0, titleRoom + labelRoom, sectionWidth, 10), slow);
        QCOMPARE(busy.right(), sectionWidth);
        QVERIFY(busy.left() > 200);
    }

    void anAccentIsDeepenedOnItsGround()
    {
        CoreBars part = cores({ 1 });
        part.tiers[0].colour = QColor(0xF0, 0xE0, 0x60);
        const QColor shown = in(light).readable(part.tiers[0].colour);
        QVERIFY(shown != part.tiers[0].colour);
        QVERIFY_COLOUR(drawn(part, in(light), sectionWidth).at(100, titleRoom + 12), shown);
    }

    void thePointerTellsCoreAndLoad()
    {
        CoreBars part = twoTiers({ 0.1, 0.2, 0.3, 0.4 }, { 0.72, 0.5 });
        PanelEnvironment environment = in(light);
        environment.pointer = QPointF(160, titleRoom + labelRoom + 3);
        QVERIFY(isSameTitle(
            drawn(part, environment, sectionWidth), environment, QStringLiteral("Core 5, 72\u00A0%")));
        // The kernel counts the fast ones first, from 0 on.
        part.tiers[0].numbers = { 2, 3, 4, 5 };
        part.tiers[1].numbers = { 0, 1 };
        QVERIFY(isSameTitle(
            drawn(part, environment, sectionWidth), environment, QStringLiteral("Core 1, 72\u00A0%")));
        environment.pointer = QPointF(160, titleRoom + 3);
        QVERIFY(isSameTitle(drawn(part, environment, sectionWidth), environment, QStringLiteral("6")));
    }

    void everyPlaceInARowIsACore()
    {
        const CoreBars part = cores(QList<double>(128, 0.5));
        const QRectF rect(7, 5, sectionWidth, part.height(in(light)));
        PanelEnvironment environment = in(light);
        qsizetype last = -1;
        for (double x = 7.1; x < 7 + sectionWidth; x += 0.5) {
            environment.pointer = QPointF(x, 5 + titleRoom + 5);
            const qsizetype core = part.pointedPlace(rect, environment);
            QVERIFY(core == last || core == last + 1);
            last = core;
        }
        QCOMPARE(last, 42);
        environment.pointer = QPointF(7.1, 5 + titleRoom + 25);
        QCOMPARE(part.pointedPlace(rect, environment), 43);
    }

    void tiersAreToldInWords()
    {
        const QList<PanelElement> told
            = twoTiers({ 0.2, 0.4 }, { 0.7 }).describe(QRectF(0, 0, sectionWidth, 61), in(light));
        QCOMPARE(told.size(), 3);
        QCOMPARE(told[0].name, QStringLiteral("CORES, 3"));
        QCOMPARE(told[1].role, PanelElement::Role::bar);
        QCOMPARE(told[1].name, QStringLiteral("Efficiency, 2 cores, 30\u00A0%"));
        QCOMPARE(told[1].fraction.value_or(0), 0.3);
        QCOMPARE(
            told[2].columns, (QStringList { QStringLiteral("Performance"), QStringLiteral("70\u00A0%") }));
        QCOMPARE(told[2].rect, QRectF(144, titleRoom, 132, 42));
        QCOMPARE(cores({ 0.5 }).describe(QRectF(0, 0, sectionWidth, 45), in(light)).size(), 1);
        QCOMPARE(cores({}).height(in(light)), titleRoom + 26);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, CoreBarsTest)
#include "CoreBarsTest.moc"
