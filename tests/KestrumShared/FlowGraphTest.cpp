#include "KestrumShared/Popover/FlowGraph.h"

#include "KestrumShared/Raster/PixelPainter.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

constexpr double middle = titleRoom + 36;
const QColor readColour(0x20, 0x40, 0xD0);
const QColor writeColour(0xC0, 0x20, 0x20);

QList<HistoryPoint> steady(double rate)
{
    QList<HistoryPoint> points;
    for (int i = History::bucketCount - 1; i >= 0; --i)
        points.append({ 2.0 * i, rate });
    return points;
}

FlowGraph flow(double read, double write)
{
    FlowGraph graph;
    graph.title = { QStringLiteral("ACTIVITY") };
    graph.up = steady(read);
    graph.down = steady(write);
    graph.upColour = readColour;
    graph.downColour = writeColour;
    graph.upName = QStringLiteral("Read");
    graph.downName = QStringLiteral("Write");
    graph.text = [](double rate) { return QString::number(rate / 1e6) + QStringLiteral(" MB/s"); };
    return graph;
}

} // namespace

class FlowGraphTest : public QObject {
    Q_OBJECT

    static bool isSameTitle(
        const PanelPixels& picture, const PanelEnvironment& environment, const QString& head)
    {
        const PanelPixels title
            = drawn(SectionTitle { QStringLiteral("ACTIVITY"), { { head } } }, environment, 276);
        return picture.image().copy(title.image().rect()) == title.image();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void theScaleIsOneTwoOrFiveOfAPowerOfTen_data()
    {
        addRows<double, double>({ { "nothing", 0, 1e6 }, { "little", 30, 1e6 }, { "the least", 1e6, 1e6 },
            { "more", 1.01e6, 2e6 }, { "two", 2e6, 2e6 }, { "three", 3e6, 5e6 }, { "five", 5e6, 5e6 },
            { "six", 6e6, 1e7 }, { "ten", 1e7, 1e7 }, { "much", 1.7e8, 2e8 }, { "very much", 7e9, 1e10 },
            { "negative", -4e9, 1e6 }, { "endless", std::numeric_limits<double>::infinity(), 1e6 },
            { "no number", std::numeric_limits<double>::quiet_NaN(), 1e6 } });
    }
    void theScaleIsOneTwoOrFiveOfAPowerOfTen()
    {
        const auto [largest, expected] = thisRow<double, double>();
        QCOMPARE(FlowGraph::scale(largest), expected);
    }

    void readStandsAboveTheMiddleAndWriteBelow()
    {
        const FlowGraph part = flow(1.5e6, 1e6);
        QCOMPARE(part.height(in(light)), titleRoom + 72);
        const PanelPixels pixels = drawn(part, in(light), 276);
        const QRectF read = pixels.drawn(QRectF(100, 0, 20, 100), readColour);
        const QRectF write = pixels.drawn(QRectF(100, 0, 20, 100), writeColour);
        QVERIFY_NEAR(read.center().y(), middle - 0.75 * 35.25, 0.5);
        QVERIFY_NEAR(write.center().y(), middle + 0.5 * 35.25, 0.5);
        const QColor track = laidOver(in(light).trackColour(), Qt::white);
        const auto tinted = [&](QColor colour) {
            colour.setAlphaF(0.28F);
            return laidOver(colour, track);
        };
        QVERIFY_COLOUR(pixels.at(200, middle - 6), tinted(readColour));
        QVERIFY_COLOUR(pixels.at(200, middle + 6), tinted(writeColour));
        QVERIFY_COLOUR(pixels.at(200, titleRoom + 2), track);
        QVERIFY_COLOUR(pixels.at(200, titleRoom + 70), track);
    }

    void theQuickPictureLooksAsTheToolkits()
    {
        FlowGraph part = flow(0, 0);
        for (int i = 0; i < part.up.size(); ++i) {
            part.up[i].value = (i % 37) * 2.6e4;
            part.down[i].value = (i % 23) * 4e4;
        }
        for (const double scale : { 1.0, 1.5, 2.0 }) {
            const auto image = [&](bool keepsPictures) {
                PixelPainter::setKeepsPictures(keepsPictures);
                const PanelPixels pixels(
                    { 276, 91 },
                    [&](QPainter& painter) { part.draw(painter, QRectF(0, 0, 276, 91), in(light)); },
                    Qt::white, scale);
                PixelPainter::setKeepsPictures(true);
                return pixels.image();
            };
            const QImage quick = image(true);
            const QImage plain = image(false);
            for (int y = 0; y < quick.height(); ++y) {
                for (int x = 0; x < quick.width(); ++x)
                    QVERIFY(PanelPixels::isNear(quick.pixelColor(x, y), plain.pixelColor(x, y), 8));
            }
        }
    }

    void theScaleIsWrittenAtTheLeadingEnd()
    {
        FlowGraph part = flow(0, 0);
        FlowGraph bare = part;
        bare.text = {};
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const QImage with = drawn(part, in(light, direction), 276).image();
            const QImage without = drawn(bare, in(light, direction), 276).image();
            const QRect left(0, 40, 138 * 2, 40);
            const QRect right(138 * 2, 40, 138 * 2, 40);
            QCOMPARE(with.copy(left) != without.copy(left), direction == Qt::LeftToRight);
            QCOMPARE(with.copy(right) != without.copy(right), direction == Qt::RightToLeft);
        }
    }

    void oddRatesStayInTheField()
    {
        FlowGraph part = flow(1e6, 1e6);
        constexpr double odd[] = { -5e6, std::numeric_limits<double>::quiet_NaN(),
            std::numeric_limits<double>::infinity(), 2e6 };
        for (int i = 0; i < part.up.size(); ++i)
            part.up[i].value = part.down[i].value = odd[i % 4];
        const PanelPixels pixels(
            { 300, 130 }, [&](QPainter& painter) { part.draw(painter, QRectF(10, 10, 276, 91), in(light)); });
        QCOMPARE(pixels.drawn(QRectF(0, 10 + titleRoom, 400, 400)), QRectF(10, 10 + titleRoom, 276, 72));
        part.up.clear();
        part.down.clear();
        QVERIFY(!drawn(part, in(light), 276).drawn(everywhere).isNull());
    }

    void thePointerTellsTheRateOfItsHalf()
    {
        const FlowGraph part = flow(2e6, 1e6);
        PanelEnvironment environment = in(light);
        QVERIFY(isSameTitle(drawn(part, environment, 276), environment, QStringLiteral("Last 5 minutes")));
        environment.pointer = QPointF(276 - 60.0 / 298 * 276, middle - 10);
        QVERIFY(
            isSameTitle(drawn(part, environment, 276), environment, QStringLiteral("Read 2 MB/s, 1:00 ago")));
        environment.pointer->setY(middle + 10);
        QVERIFY(isSameTitle(
            drawn(part, environment, 276), environment, QStringLiteral("Write 1 MB/s, 1:00 ago")));
    }

    void bothRatesAreToldInWords()
    {
        const QList<PanelElement> told = flow(2e6, 1e6).describe(QRectF(0, 0, 276, 91), in(light));
        QCOMPARE(told.size(), 3);
        QCOMPARE(told[0].name, QStringLiteral("ACTIVITY, Last 5 minutes"));
        QCOMPARE(
            told[1].name, QStringLiteral("Read, last 5 minutes: now 2 MB/s, highest 2 MB/s, lowest 2 MB/s"));
        QCOMPARE(told[2].columns, (QStringList { QStringLiteral("Write"), QStringLiteral("1 MB/s") }));
        QCOMPARE(told[2].rect, QRectF(0, titleRoom, 276, 72));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, FlowGraphTest)
#include "FlowGraphTest.moc"
