// The positions of an item's parts, measured in the drawn pixels: at the usual scales 1 and 2, and at scale 20, where an edge
// can be measured to a twentieth of a point.

#include "tests/Support/ItemPixels.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

class ItemGeometryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        DrawingFixture::turnReadoutsOff();
        m_readings = std::make_shared<FakeReadings>();
    }

    void releasedReadingsDrawNothingAtAll()
    {
        const QRectF frame(0, 0, 100, 22);
        QImage image(100, 22, QImage::Format_ARGB32_Premultiplied);
        for (const auto& section : allCases<MonitorSection>()) {
            image.fill(Qt::transparent);
            const StatusMetricView view(section.value, frame, m_readings);
            m_readings = std::make_shared<FakeReadings>();
            QPainter painter(&image);
            view.draw(painter, QPointF(0, 0), ColourScheme::light, 1);
            painter.end();
            QVERIFY(ItemPixels(image, 1).inked(frame).isNull());
        }
    }

    void tallFrameStandsFromOneAndAHalfToTwentyOneAndAHalf_data() { rowsOfShapes(); }
    void tallFrameStandsFromOneAndAHalfToTwentyOneAndAHalf()
    {
        QFETCH(QByteArray, shape);
        QFETCH(double, scale);
        DrawingFixture::set("meterShape", shape);
        m_readings->cores.clear();
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, scale), scale);
        const double x = meterStart(MonitorSection::cpu);
        const QRectF ink = item.inked(QRectF(x - 2, 0, 60, 22));
        // Half of the line's width of 0.8 is outside the frame. A partly covered pixel counts as inked.
        const double pixel = 1 / scale;
        QVERIFY_NEAR(ink.left(), x - 0.4, pixel);
        QVERIFY_NEAR(ink.right(), x + 26.6 + 0.4, pixel);
        QVERIFY_NEAR(ink.top(), 1.1, pixel);
        QVERIFY_NEAR(ink.bottom(), 21.9, pixel);
    }

    void frameHasItsColourAndLineWidth()
    {
        m_readings->cores.clear();
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        const QColor line = item.at(x, 11);
        QCOMPARE(line.alpha(), 235);
        QVERIFY_NEAR(line.red(), 110, 1);
        QVERIFY_NEAR(line.green(), 110, 1);
        QVERIFY_NEAR(line.blue(), 115, 1);
        QCOMPARE(item.at(x - 0.35, 11).alpha(), 235);
        QCOMPARE(item.at(x + 0.35, 11).alpha(), 235);
        QCOMPARE(item.at(x - 0.5, 11).alpha(), 0);
        QCOMPARE(item.at(x + 0.5, 11).alpha(), 0);
    }

    void frameCornersFollowTheShape_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<QByteArray>("style");
        QTest::addColumn<QByteArray>("shape");
        QTest::addColumn<double>("radius");
        QTest::newRow("bars pill") << MonitorSection::cpu << QByteArray("bars") << QByteArray("pill") << 4.45;
        QTest::newRow("bars square") << MonitorSection::cpu << QByteArray("bars") << QByteArray("square")
                                     << 1.5;
        QTest::newRow("wave pill") << MonitorSection::cpu << QByteArray("wave") << QByteArray("pill") << 4.45;
        QTest::newRow("wave square") << MonitorSection::cpu << QByteArray("wave") << QByteArray("square")
                                     << 1.5;
        QTest::newRow("compact pill")
            << MonitorSection::cpu << QByteArray("compact") << QByteArray("pill") << 5.0;
        QTest::newRow("compact square")
            << MonitorSection::cpu << QByteArray("compact") << QByteArray("square") << 1.5;
        QTest::newRow("gauge pill") << MonitorSection::memory << QByteArray("bars") << QByteArray("pill")
                                    << 4.0;
        QTest::newRow("gauge square")
            << MonitorSection::storage << QByteArray("bars") << QByteArray("square") << 0.8;
        QTest::newRow("unknown shape")
            << MonitorSection::memory << QByteArray("bars") << QByteArray("Square") << 4.0;
    }
    void frameCornersFollowTheShape()
    {
        QFETCH(MonitorSection, section);
        QFETCH(QByteArray, style);
        QFETCH(QByteArray, shape);
        QFETCH(double, radius);
        DrawingFixture::set("meterStyle", style);
        DrawingFixture::set("meterShape", shape);
        m_readings->cores.clear();
        m_readings->history.clear();
        const ItemPixels item(DrawingFixture::drawn(section, m_readings, 20), 20);
        const double x = meterStart(section);
        const double bottom = style == "compact" ? 6 : 1.5;
        // The middle of the line crosses the diagonal at this distance from both edges.
        const double inset = radius * (1 - std::sqrt(0.5));
        QVERIFY(item.at(x + inset, bottom + inset).alpha() > 200);
        const double outside = (radius + 0.4) * std::sqrt(0.5) + 0.1;
        QCOMPARE(item.at(x + radius - outside, bottom + radius - outside).alpha(), 0);
        const double inside = (radius - 0.4) * std::sqrt(0.5) - 0.1;
        QCOMPARE(item.at(x + radius - inside, bottom + radius - inside).alpha(), 0);
    }

    void barsStandTwoInAndOnePointApart_data() { rowsOfShapes(); }
    void barsStandTwoInAndOnePointApart()
    {
        QFETCH(QByteArray, shape);
        QFETCH(double, scale);
        DrawingFixture::set("meterShape", shape);
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, scale), scale);
        const double x = meterStart(MonitorSection::cpu);
        for (int core = 0; core < 4; ++core) {
            const double left = x + 2 + core * 5.9;
            const QRectF bar = item.inked(QRectF(left - 0.5, 2.5, 5.85, 18.2), signalColour);
            QVERIFY_NEAR(bar.left(), left, 1 / scale);
            QVERIFY_NEAR(bar.right(), left + 4.9, 1 / scale);
            QVERIFY_NEAR(bar.top(), 3.5, 1 / scale);
            QVERIFY_NEAR(bar.bottom(), 3.5 + m_readings->cores[core] * 16.5, 1 / scale);
        }
    }

    void idleCoreStillShowsABarOfOneAndAHalf()
    {
        m_readings->cores = { 0, -1, 0.05, std::nan("") };
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        for (int core = 0; core < 4; ++core) {
            const double left = meterStart(MonitorSection::cpu) + 2 + core * 5.9;
            const QRectF bar = item.inked(QRectF(left - 0.3, 2.5, 5.5, 18), signalColour);
            QVERIFY_NEAR(bar.bottom(), 3.5 + 1.5, 0.05);
        }
    }

    void everyCoreOfTheMachineHasItsBar_data()
    {
        QTest::addColumn<int>("cores");
        QTest::addColumn<QByteArray>("labels");
        // With 9, 13 and 40 cores, rounding errors put the last bar slightly beyond the frame's inner edge; with 40 cores only
        // when letters are shown.
        for (const int cores : { 1, 2, 3, 7, 8, 9, 12, 13, 16, 40, 64 }) {
            for (const char* labels : { "icons", "letters" })
                QTest::addRow("%d %s", cores, labels) << cores << QByteArray(labels);
        }
    }
    void everyCoreOfTheMachineHasItsBar()
    {
        QFETCH(int, cores);
        QFETCH(QByteArray, labels);
        DrawingFixture::set("meterLabelStyle", labels);
        CoreTopology::useTiers({ { QStringLiteral("Level 0"), cores } });
        m_readings->cores = QList<double>(cores, 1.0);
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        const double width = cores * 4.9 + cores - 1 + 4;
        QVERIFY_NEAR(item.inked(QRectF(x - 2, 0, width + 4, 22)).right(), x + width + 0.4, 0.051);
        int bars = 0;
        for (int core = 0; core < cores; ++core) {
            bars += item.at(x + 2 + core * 5.9 + 2.45, 11) == signalColour;
            // The gap to the next bar or to the frame is empty.
            QCOMPARE(item.at(x + 2 + core * 5.9 + 4.9 + 0.5, 11).alpha(), 0);
        }
        QCOMPARE(bars, cores);
    }

    void moreCoresThanTheFrameWasMadeForStopAtItsEdge()
    {
        m_readings->cores = QList<double>(40, 1.0);
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        const QRectF bars = item.inked(QRectF(x, 4, 40, 14), signalColour);
        QVERIFY_NEAR(bars.right(), x + 26.6 - 2, 0.05);
    }

    void fewerCoresThanTheFrameLeaveRoom()
    {
        m_readings->cores = { 1, 1 };
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        const double x = meterStart(MonitorSection::cpu);
        QVERIFY_NEAR(item.inked(QRectF(x, 4, 40, 14), signalColour).right(), x + 2 + 5.9 + 4.9, 0.05);
    }

    void fastCoresAreTheLastOnes_data()
    {
        QTest::addColumn<int>("fastCores");
        QTest::addColumn<int>("firstFast");
        QTest::newRow("none") << 0 << 4;
        QTest::newRow("one") << 1 << 3;
        QTest::newRow("three") << 3 << 1;
        QTest::newRow("all") << 4 << 0;
        QTest::newRow("more than there are") << 9 << 0;
        QTest::newRow("fewer than none") << -2 << 4;
    }
    void fastCoresAreTheLastOnes()
    {
        QFETCH(int, fastCores);
        QFETCH(int, firstFast);
        DrawingFixture::set("cpuFastCoreAccent", "indigo");
        m_readings->cores = { 1, 1, 1, 1 };
        m_readings->fastCores = fastCores;
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        for (int core = 0; core < 4; ++core) {
            const double middle = meterStart(MonitorSection::cpu) + 2 + core * 5.9 + 2.45;
            QCOMPARE(item.at(middle, 11), core >= firstFast ? indigoColour : signalColour);
        }
    }

    void fastCoresWithoutAnAccentOfTheirOwnHaveTheFallback_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("absent") << QByteArray();
        QTest::newRow("unknown") << QByteArray("Indigo");
        QTest::newRow("half a colour") << QByteArray("custom:srgb:0.1,0.2");
    }
    void fastCoresWithoutAnAccentOfTheirOwnHaveTheFallback()
    {
        QFETCH(QByteArray, stored);
        DrawingFixture::set("cpuAccent", "indigo");
        if (!stored.isEmpty())
            DrawingFixture::set("cpuFastCoreAccent", stored);
        m_readings->cores = { 1, 1, 1, 1 };
        m_readings->fastCores = 2;
        const ItemPixels item(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        for (int core = 0; core < 4; ++core) {
            const double middle = meterStart(MonitorSection::cpu) + 2 + core * 5.9 + 2.45;
            QCOMPARE(item.at(middle, 11), core >= 2 ? signalColour : indigoColour);
        }
    }

    void barEndsFollowTheShape()
    {
        m_readings->cores = { 1, 1, 1, 1 };
        const double left = meterStart(MonitorSection::cpu) + 2;
        const ItemPixels pill(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        DrawingFixture::set("meterShape", "square");
        const ItemPixels square(DrawingFixture::drawn(MonitorSection::cpu, m_readings, 20), 20);
        for (const double y : { 3.5 + 0.3, 20 - 0.3 }) {
            QCOMPARE(pill.at(left + 0.3, y).alpha(), 0);
            QCOMPARE(square.at(left + 0.3, y), signalColour);
        }
        QCOMPARE(pill.at(left + 2.45, 3.5 + 0.2), signalColour);
    }

private:
    static void rowsOfShapes()
    {
        QTest::addColumn<QByteArray>("shape");
        QTest::addColumn<double>("scale");
        for (const char* shape : { "pill", "square" }) {
            for (const double scale : { 1.0, 2.0, 20.0 })
                QTest::addRow("%s %g", shape, scale) << QByteArray(shape) << scale;
        }
    }

    std::shared_ptr<FakeReadings> m_readings;
};

KESTRUM_TEST_MAIN(QGuiApplication, ItemGeometryTest)
#include "ItemGeometryTest.moc"
