// The positions of an item's parts, measured in the drawn pixels: at the usual scales 1 and 2, and at scale 20.

#include "tests/Support/ItemFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class ItemGeometryTest : public ItemFixture {
    Q_OBJECT

    struct Drawing {
        const char* name;
        const char* shape;
        double scale;
    };
    static void drawings()
    {
        addRows<Drawing>({ { "pill 1", "pill", 1 }, { "pill 2", "pill", 2 }, { "pill 20", "pill", 20 },
            { "square 1", "square", 1 }, { "square 2", "square", 2 }, { "square 20", "square", 20 } });
    }
    struct Corners {
        const char* name;
        MonitorSection section;
        const char* style;
        const char* shape;
        double radius;
    };
    struct FastCores {
        const char* name;
        int count;
        int first;
    };
    struct Accent {
        const char* name;
        const char* stored;
    };

    /// The distance of a core's bar from the item's left edge.
    static double barStart(int core) { return meterStart(cpu) + 2 + core * 5.9; }

    /// Checks that the bars from `firstFast` on have one colour, and that all earlier bars have another.
    void compareBars(int firstFast, const QColor& base, const QColor& fast)
    {
        m_readings->cores = { 1, 1, 1, 1 };
        const ItemPixels item = drawn(cpu);
        for (int core = 0; core < 4; ++core)
            QCOMPARE(item.at(barStart(core) + 2.45, 11), core >= firstFast ? fast : base);
    }

private Q_SLOTS:
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

    void tallFrameStandsFromOneAndAHalfToTwentyOneAndAHalf_data() { drawings(); }
    void tallFrameStandsFromOneAndAHalfToTwentyOneAndAHalf()
    {
        QFETCH(Drawing, row);
        set("meterShape", row.shape);
        m_readings->cores.clear();
        const double x = meterStart(cpu);
        // Half of the line's width (0.8) is outside the frame. A partly covered pixel counts as ink.
        QVERIFY_EDGES(drawn(cpu, row.scale).inked(QRectF(x - 2, 0, 60, 22)), x - 0.4, 1.1, x + 26.6 + 0.4,
            21.9, 1 / row.scale);
    }

    void frameHasItsColourAndLineWidth()
    {
        m_readings->cores.clear();
        const ItemPixels item = drawn(cpu);
        const double x = meterStart(cpu);
        const QColor line = item.at(x, 11);
        QVERIFY_NEAR(line.red(), 110, 1);
        QVERIFY_NEAR(line.green(), 110, 1);
        QVERIFY_NEAR(line.blue(), 115, 1);
        for (const double inside : { -0.35, 0.0, 0.35 })
            QCOMPARE(item.at(x + inside, 11).alpha(), 235);
        for (const double outside : { -0.5, 0.5 })
            QCOMPARE(item.at(x + outside, 11).alpha(), 0);
    }

    void frameCornersFollowTheShape_data()
    {
        addRows<Corners>({
            { "bars pill", cpu, "bars", "pill", 4.45 },
            { "bars square", cpu, "bars", "square", 1.5 },
            { "wave pill", cpu, "wave", "pill", 4.45 },
            { "wave square", cpu, "wave", "square", 1.5 },
            { "compact pill", cpu, "compact", "pill", 5.0 },
            { "compact square", cpu, "compact", "square", 1.5 },
            { "gauge pill", memory, "bars", "pill", 4.0 },
            { "gauge square", storage, "bars", "square", 0.8 },
            { "unknown shape", memory, "bars", "Square", 4.0 },
        });
    }
    void frameCornersFollowTheShape()
    {
        QFETCH(Corners, row);
        set("meterStyle", row.style);
        set("meterShape", row.shape);
        m_readings->cores.clear();
        m_readings->history.clear();
        const ItemPixels item = drawn(row.section);
        const double x = meterStart(row.section);
        const double bottom = qstrcmp(row.style, "compact") == 0 ? 6 : 1.5;
        const auto alphaAt
            = [&](double inset) { return item.at(x + inset, bottom + inset).alpha(); }; // on the diagonal
        // The middle of the line crosses the diagonal at this distance from both edges.
        QVERIFY(alphaAt(row.radius * (1 - std::sqrt(0.5))) > 200);
        QCOMPARE(alphaAt(row.radius - (row.radius + 0.4) * std::sqrt(0.5) - 0.1), 0);
        QCOMPARE(alphaAt(row.radius - (row.radius - 0.4) * std::sqrt(0.5) + 0.1), 0);
    }

    void barsStandTwoInAndOnePointApart_data() { drawings(); }
    void barsStandTwoInAndOnePointApart()
    {
        QFETCH(Drawing, row);
        set("meterShape", row.shape);
        const ItemPixels item = drawn(cpu, row.scale);
        for (int core = 0; core < 4; ++core) {
            const double left = barStart(core);
            QVERIFY_EDGES(item.inked(QRectF(left - 0.5, 2.5, 5.85, 18.2), signalColour), left, 3.5,
                left + 4.9, 3.5 + m_readings->cores[core] * 16.5, 1 / row.scale);
        }
    }

    void idleCoreStillShowsABarOfOneAndAHalf()
    {
        m_readings->cores = { 0, -1, 0.05, std::nan("") };
        const ItemPixels item = drawn(cpu);
        for (int core = 0; core < 4; ++core) {
            const QRectF bar = item.inked(QRectF(barStart(core) - 0.3, 2.5, 5.5, 18), signalColour);
            QVERIFY_NEAR(bar.bottom(), 3.5 + 1.5, 0.05);
        }
    }

    void everyCoreOfTheMachineHasItsBar_data()
    {
        QTest::addColumn<int>("cores");
        QTest::addColumn<QByteArray>("labels");
        // With 9, 13 and 40 cores, rounding errors put the last bar slightly beyond the frame's inner edge. For 40 cores, this
        // happens only when letters are shown.
        for (const int cores : { 1, 2, 3, 7, 8, 9, 12, 13, 16, 40, 64 }) {
            for (const char* labels : { "icons", "letters" })
                QTest::addRow("%d %s", cores, labels) << cores << QByteArray(labels);
        }
    }
    void everyCoreOfTheMachineHasItsBar()
    {
        QFETCH(int, cores);
        QFETCH(QByteArray, labels);
        set("meterLabelStyle", labels);
        CoreTopology::useTiers({ { QStringLiteral("Level 0"), cores } });
        m_readings->cores = QList<double>(cores, 1.0);
        const ItemPixels item = drawn(cpu);
        const double x = meterStart(cpu);
        const double width = cores * 4.9 + cores - 1 + 4;
        QVERIFY_NEAR(item.inked(QRectF(x - 2, 0, width + 4, 22)).right(), x + width + 0.4, 0.051);
        int bars = 0;
        for (int core = 0; core < cores; ++core) {
            bars += item.at(barStart(core) + 2.45, 11) == signalColour;
            // The gap to the next bar or to the frame is empty.
            QCOMPARE(item.at(barStart(core) + 4.9 + 0.5, 11).alpha(), 0);
        }
        QCOMPARE(bars, cores);
    }

    void barsEndAtTheFramesEdgeOrWithTheLastCore()
    {
        const double x = meterStart(cpu);
        for (const auto& [cores, width] : { std::pair(40, 26.6 - 2), std::pair(2, 2 + 5.9 + 4.9) }) {
            m_readings->cores = QList<double>(cores, 1.0);
            QVERIFY_NEAR(drawn(cpu).inked(QRectF(x, 4, 40, 14), signalColour).right(), x + width, 0.05);
        }
    }

    void fastCoresAreTheLastOnes_data()
    {
        addRows<FastCores>({ { "none", 0, 4 }, { "one", 1, 3 }, { "three", 3, 1 }, { "all", 4, 0 },
            { "more than there are", 9, 0 }, { "fewer than none", -2, 4 } });
    }
    void fastCoresAreTheLastOnes()
    {
        QFETCH(FastCores, row);
        set("cpuFastCoreAccent", "indigo");
        m_readings->fastCores = row.count;
        compareBars(row.first, signalColour, indigoColour);
    }

    void fastCoresWithoutAnAccentOfTheirOwnHaveTheFallback_data()
    {
        addRows<Accent>(
            { { "absent", nullptr }, { "unknown", "Indigo" }, { "half a colour", "custom:srgb:0.1,0.2" } });
    }
    void fastCoresWithoutAnAccentOfTheirOwnHaveTheFallback()
    {
        QFETCH(Accent, row);
        set("cpuAccent", "indigo");
        if (row.stored)
            set("cpuFastCoreAccent", row.stored);
        m_readings->fastCores = 2;
        compareBars(2, indigoColour, signalColour);
    }

    void barEndsFollowTheShape()
    {
        m_readings->cores = { 1, 1, 1, 1 };
        const ItemPixels pill = drawn(cpu);
        set("meterShape", "square");
        const ItemPixels square = drawn(cpu);
        for (const double y : { 3.5 + 0.3, 20 - 0.3 }) {
            QCOMPARE(pill.at(barStart(0) + 0.3, y).alpha(), 0);
            QCOMPARE(square.at(barStart(0) + 0.3, y), signalColour);
        }
        QCOMPARE(pill.at(barStart(0) + 2.45, 3.5 + 0.2), signalColour);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ItemGeometryTest)
#include "ItemGeometryTest.moc"
