#include "KestrumShared/Popover/HistoryGraph.h"

#include "KestrumShared/Popover/SectionTitle.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const QColor blue(0x20, 0x40, 0xD0);

/// A value for each bucket, oldest first, as `value(age)` gives it.
template <class Value> QList<HistoryPoint> points(Value value)
{
    QList<HistoryPoint> points;
    for (int i = History::bucketCount - 1; i >= 0; --i)
        points.append({ 2.0 * i, value(2.0 * i) });
    return points;
}

QList<HistoryPoint> level(double value)
{
    return points([value](double) { return value; });
}

QString percentText(double value)
{
    return QString::number(value * 100) + QStringLiteral(" %");
}

HistoryGraph graph(const QList<HistoryPoint>& points)
{
    HistoryGraph graph;
    graph.name = QStringLiteral("Usage");
    graph.lines = { { points, blue } };
    graph.text = percentText;
    return graph;
}

} // namespace

class HistoryGraphTest : public QObject {
    Q_OBJECT

    static bool isSameTitle(
        const PanelPixels& picture, const PanelEnvironment& environment, const QString& head)
    {
        const PanelPixels title = drawn(SectionTitle { QStringLiteral("USAGE"), { { head } } }, environment);
        return picture.image().copy(title.image().rect()) == title.image();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aGraphHasItsHeightBelowItsTitle()
    {
        HistoryGraph part = graph(level(0.5));
        QCOMPARE(part.height(in(light)), 70.0);
        part.title = QStringLiteral("USAGE");
        QCOMPARE(part.height(in(light)), titleRoom + 70);
        const PanelPixels pixels = drawn(part, in(light));
        QVERIFY(isSameTitle(pixels, in(light), QStringLiteral("Last 5 minutes")));
        QCOMPARE(pixels.drawn(QRectF(0, titleRoom - 3, 200, 100)), QRectF(0, titleRoom, 200, 70));
    }

    void aLineStandsAtItsValue()
    {
        for (const double value : { 0.0, 0.25, 0.5, 1.0 }) {
            const PanelPixels pixels = drawn(graph(level(value)), in(light));
            const QRectF line = pixels.drawn(QRectF(100, 0, 10, 70), blue);
            QVERIFY_NEAR(line.center().y(), 70 - 0.75 - value * 68.5, 0.5);
            QVERIFY(line.height() >= 1);
            QVERIFY(line.height() <= 2);
        }
    }

    void theAreaBelowIsTintedAndTheOneAboveIsNot()
    {
        HistoryGraph part = graph(level(0.5));
        PanelPixels pixels = drawn(part, in(light));
        const QColor track = laidOver(in(light).trackColour(), Qt::white);
        QColor tint = blue;
        tint.setAlphaF(0.28F);
        QVERIFY_COLOUR(pixels.at(100, 30), track);
        QVERIFY_COLOUR(pixels.at(100, 45), laidOver(tint, track));
        part.lines[0].isFilled = false;
        pixels = drawn(part, in(light));
        QVERIFY_COLOUR(pixels.at(100, 45), track);
    }

    void hairlinesStandAtTheQuarters()
    {
        for (const double scale : { 1.0, 2.0 }) {
            const PanelPixels pixels(
                { 200, 70 },
                [](QPainter& painter) { graph({}).draw(painter, QRectF(0, 0, 200, 70), in(light)); },
                Qt::white, scale);
            QList<double> rows;
            for (double y = 0; y < 70; y += 1 / scale) {
                if (pixels.at(150, y) != pixels.at(150, 8))
                    rows.append(y);
            }
            QCOMPARE(rows.size(), 3);
            for (int i = 0; i < 3; ++i)
                QVERIFY_NEAR(rows[i], 17.5 * (i + 1), 1.0);
        }
    }

    void theOldestIsLeftInEveryDirection()
    {
        const QList<HistoryPoint> falling = points([](double age) { return age > 150 ? 0.9 : 0.1; });
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const PanelPixels pixels = drawn(graph(falling), in(light, direction));
            QVERIFY(pixels.at(30, 30) != pixels.at(170, 30));
            QVERIFY_COLOUR(pixels.at(170, 30), laidOver(in(light).trackColour(), Qt::white));
        }
    }

    void theHistoryFillsTheWholeWidth()
    {
        const PanelPixels pixels = drawn(graph(level(0.5)), in(light));
        const QRectF line = pixels.drawn(everywhere, blue);
        QVERIFY_NEAR(line.left(), 0.0, 0.5);
        QVERIFY_NEAR(line.right(), 200.0, 0.5);
    }

    void aGapBreaksLineAndArea()
    {
        QList<HistoryPoint> history = level(0.5);
        history.remove(60, 30);
        history[60].followsGap = true;
        const PanelPixels pixels = drawn(graph(history), in(light));
        // The gap is between the buckets 59 and 90 of 0…149.
        const double left = 59 / 149.0 * 200;
        const double right = 90 / 149.0 * 200;
        QVERIFY(pixels.drawn(QRectF(left + 1, 0, right - left - 2, 70), blue).isNull());
        QVERIFY_COLOUR(pixels.at(100, 60), laidOver(in(light).trackColour(), Qt::white));
        QVERIFY_NEAR(pixels.drawn(QRectF(0, 0, 100, 70), blue).right(), left, 1.0);
        QVERIFY_NEAR(pixels.drawn(QRectF(100, 0, 100, 70), blue).left(), right, 1.0);
    }

    void aValueBetweenTwoGapsIsSeen()
    {
        const QImage with = drawn(graph({ { 100, 0.5 } }), in(light)).image();
        const QImage without = drawn(graph({}), in(light)).image();
        int different = 0;
        for (int x = 0; x < with.width(); ++x)
            different += with.pixel(x, with.height() / 2) != without.pixel(x, with.height() / 2);
        QVERIFY(different >= 2 && different <= 5);
    }

    void oddValuesStayInTheField()
    {
        constexpr double endless = std::numeric_limits<double>::infinity();
        const double odd[] = { 7, -3, endless, -endless, std::numeric_limits<double>::quiet_NaN(), 0.5 };
        const QList<HistoryPoint> history = points([&](double age) { return odd[int(age) % 6]; });
        for (const auto form : { HistoryGraph::Form::lines, HistoryGraph::Form::stacked }) {
            HistoryGraph part = graph(history);
            part.form = form;
            part.lines.append({ level(0.2), blue });
            const PanelPixels pixels({ 240, 110 },
                [&](QPainter& painter) { part.draw(painter, QRectF(20, 20, 200, 70), in(light)); });
            QCOMPARE(pixels.drawn(everywhere), QRectF(20, 20, 200, 70));
        }
        HistoryGraph part = graph(level(0.5));
        part.most = part.least = 3;
        QVERIFY(!drawn(part, in(light)).drawn(everywhere).isNull());
    }

    void theCornersAreRounded()
    {
        const PanelPixels pixels = drawn(graph(level(1)), in(light));
        for (const double x : { 0.2, 199.8 }) {
            for (const double y : { 0.2, 69.8 })
                QCOMPARE(pixels.at(x, y), QColor(Qt::white));
        }
    }

    void layersStandOnEachOtherWithAHairlineBetween()
    {
        const QColor red(0xC0, 0x20, 0x20);
        HistoryGraph part = graph(level(0.5));
        part.form = HistoryGraph::Form::stacked;
        part.lines.append({ level(0.25), red });
        const PanelPixels pixels = drawn(part, in(light));
        const double edge = 70 - 0.75 - 0.5 * 68.5;
        const double top = 70 - 0.75 - 0.75 * 68.5;
        QCOMPARE(pixels.at(100, edge + 1), blue);
        QCOMPARE(pixels.at(100, 69), blue);
        QCOMPARE(pixels.at(100, edge - 2), red);
        QCOMPARE(pixels.at(100, top + 1), red);
        const QColor track = laidOver(in(light).trackColour(), Qt::white);
        QVERIFY_COLOUR(pixels.at(100, top - 1.5), track);
        const QColor between = pixels.at(100, edge - 0.5);
        QVERIFY(between != blue && between != red);
        // A layer of nothing takes no hairline of its own.
        part.lines.insert(1, { level(0), QColor(Qt::green) });
        QVERIFY(drawn(part, in(light)).drawn(everywhere, Qt::green).isNull());
    }

    void layersMayBeOfDifferentAge()
    {
        const QColor red(0xC0, 0x20, 0x20);
        HistoryGraph part = graph(level(0.5));
        part.form = HistoryGraph::Form::stacked;
        part.lines.append({ level(0.25).mid(100), red });
        const PanelPixels pixels = drawn(part, in(light));
        QVERIFY(pixels.drawn(everywhere, red).left() > 200 * 98.0 / 149);
        QCOMPARE(pixels.at(20, 60), blue);
    }

    void thePointerTellsValueAndAge()
    {
        HistoryGraph part = graph(points([](double age) { return age / 1000; }));
        part.title = QStringLiteral("USAGE");
        PanelEnvironment environment = in(light);
        environment.pointer = QPointF(200 - 100.0 / 298 * 200, titleRoom + 20);
        const PanelPixels pixels = drawn(part, environment);
        QVERIFY(isSameTitle(pixels, environment, QStringLiteral("10 %, 1:40 ago")));
        const QRectF hairline
            = pixels.drawn(QRectF(0, titleRoom, 200, 70), environment.secondaryTextColour());
        QCOMPARE(hairline.width(), 1.0);
        QCOMPARE(hairline.height(), 70.0);
        QVERIFY_NEAR(hairline.center().x(), environment.pointer->x(), 0.75);
    }

    void thePointerTellsNothingElsewhereAndInAGap()
    {
        QList<HistoryPoint> history = level(0.5);
        history.remove(60, 30);
        history[60].followsGap = true;
        HistoryGraph part = graph(history);
        part.title = QStringLiteral("USAGE");
        PanelEnvironment environment = in(light);
        for (const QPointF& pointer : { QPointF(100, titleRoom + 20), QPointF(50, 5), QPointF(50, 200) }) {
            environment.pointer = pointer;
            const PanelPixels pixels = drawn(part, environment);
            QVERIFY(isSameTitle(pixels, environment, QStringLiteral("Last 5 minutes")));
            QCOMPARE(part.pointedPlace(QRectF(0, 0, 200, 89), environment), -1);
        }
        // Before the oldest value nothing is known.
        part.lines[0].points = level(0.5).mid(100);
        environment.pointer = QPointF(20, titleRoom + 20);
        QCOMPARE(part.pointedPlace(QRectF(0, 0, 200, 89), environment), -1);
    }

    void thePointerTellsNothingLongAfterTheNewestValue()
    {
        QList<HistoryPoint> history = level(0.5);
        PanelEnvironment environment = in(light);
        const auto pointedAt = [&](double age) {
            environment.pointer = QPointF(200 - age / 298 * 200, 20);
            return graph(history).pointedPlace(QRectF(0, 0, 200, 70), environment);
        };
        history.resize(148); // the next value is late
        QCOMPARE(pointedAt(0), 147);
        history.resize(120);
        QCOMPARE(pointedAt(59), 119);
        QCOMPARE(pointedAt(30), -1);
        QCOMPARE(pointedAt(0), -1);
        history = { { 50, 0.5 }, { 30, 0.5 } }; // a value every 20 seconds
        QCOMPARE(pointedAt(0), 1);
    }

    void severalLinesAreToldByName()
    {
        HistoryGraph part = graph(level(0.5));
        part.lines[0].name = QStringLiteral("CPU");
        part.lines.append({ level(0.25), Qt::red, false, QStringLiteral("GPU") });
        part.title = QStringLiteral("USAGE");
        PanelEnvironment environment = in(light);
        environment.pointer = QPointF(200, titleRoom + 10);
        QVERIFY(isSameTitle(
            drawn(part, environment), environment, QStringLiteral("CPU 50 %, GPU 25 %, 0:00 ago")));
        // Of layers, the one at the pointer.
        part.form = HistoryGraph::Form::stacked;
        environment.pointer = QPointF(200, titleRoom + 60);
        QVERIFY(isSameTitle(drawn(part, environment), environment, QStringLiteral("CPU 50 %, 0:00 ago")));
        environment.pointer = QPointF(200, titleRoom + 25);
        QVERIFY(isSameTitle(drawn(part, environment), environment, QStringLiteral("GPU 25 %, 0:00 ago")));
    }

    void aLimitIsADashedLine()
    {
        HistoryGraph part = graph({});
        part.limit = 0.75;
        part.limitText = QStringLiteral("85°C");
        const PanelPixels pixels = drawn(part, in(light));
        const double y = 70 - 0.75 - 0.75 * 68.5;
        int changes = 0;
        for (double x = 0; x < 199; x += 0.5)
            changes += pixels.at(x, y) != pixels.at(x + 0.5, y);
        QVERIFY(changes > 40);
        // Its text stands below it, at the trailing end, and the span at the leading one.
        QVERIFY(pixels.drawn(QRectF(150, y + 2, 50, 10)).width() > 10);
        QVERIFY(pixels.at(10, 8) != pixels.at(140, 8) || pixels.at(20, 8) != pixels.at(140, 8));
    }

    void aGraphIsToldInWords()
    {
        HistoryGraph part = graph(points([](double age) {
            return age == 100 ? 0.66 : age == 50 ? 0.18 : 0.49;
        }));
        part.title = QStringLiteral("USAGE");
        const QRectF rect(10, 20, 200, 89);
        QList<PanelElement> told = part.describe(rect, in(light));
        QCOMPARE(told.size(), 2);
        QCOMPARE(
            told[0].columns, (QStringList { QStringLiteral("USAGE"), QStringLiteral("Last 5 minutes") }));
        QCOMPARE(told[1].role, PanelElement::Role::graph);
        QCOMPARE(told[1].name, QStringLiteral("Usage, last 5 minutes: now 49 %, highest 66 %, lowest 18 %"));
        QCOMPARE(told[1].columns, (QStringList { QStringLiteral("Usage"), QStringLiteral("49 %") }));
        QCOMPARE(told[1].rect, QRectF(10, 20 + titleRoom, 200, 70));
        // Values have ceased to come.
        part.lines[0].points.removeIf([](const HistoryPoint& point) { return point.age < 40; });
        told = part.describe(rect, in(light));
        QCOMPARE(told[1].name, QStringLiteral("Usage, last 5 minutes: now –, highest 66 %, lowest 18 %"));
        QCOMPARE(told[1].columns, (QStringList { QStringLiteral("Usage"), QStringLiteral("–") }));
        part.lines[0].points.clear();
        told = part.describe(rect, in(light));
        QCOMPARE(told[1].name, QStringLiteral("Usage, last 5 minutes: no values"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, HistoryGraphTest)
#include "HistoryGraphTest.moc"
