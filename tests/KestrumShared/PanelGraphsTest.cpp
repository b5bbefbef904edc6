#include "KestrumShared/Raster/HeatColour.h"
#include "tests/Support/DescribedPanel.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QTest>
#include <utility>

using namespace kestrum;
using namespace PanelFixture;

namespace {

QRectF graphIn(const DescribedPanel& panel)
{
    return panel.first([](const PanelElement& element) { return element.role == PanelElement::Role::graph; })
        .rect;
}

/// The share of the graph's height from its bottom. A line along an edge has its whole width.
double levelOf(const QRectF& graph, double share)
{
    return graph.bottom() - 0.75 - share * (graph.height() - 1.5);
}

/// In the graph of the sensors.
double levelOfCelsius(const QRectF& graph, double celsius)
{
    return levelOf(graph, (celsius - 30) / (110 - 30));
}

/// The colour of the dot before a row's title.
QColor keyOf(const DescribedPanel& panel, const PanelPixels& pixels, const char* title)
{
    const QRectF row = panel.element(QString::fromUtf8(title)).rect;
    return pixels.at(row.left() + 3.5, row.center().y());
}

void setLevel(QList<HistoryPoint>& points, double value)
{
    QVERIFY(!points.isEmpty());
    for (HistoryPoint& point : points)
        point.value = value;
}

} // namespace

/// The graphs and bars of popovers: sizes, ranges and colours, which a section chooses for them.
class PanelGraphsTest : public QObject {
    Q_OBJECT

    PopoverReadings m_readings;
    const QColor m_track = laidOver(in(light).trackColour(), Qt::white);

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }
    void init()
    {
        forgetSettings();
        setSession("LANG=en_GB.UTF-8");
        m_readings = SamplePopoverReadings::rich();
    }

    void theGraphOfTheSensorsMarksWhereItIsHot()
    {
        m_readings.sensors.cpuHistory.clear();
        m_readings.sensors.gpuHistory.clear();
        const DescribedPanel panel(MonitorSection::sensors, m_readings);
        const QRectF graph = graphIn(panel);
        QCOMPARE(graph.height(), 60.0);
        const QColor colour = in(light).readable(HeatColour::of(85, light), 4.5);
        const PanelPixels pixels = panel.drawn();
        const QRectF middle(graph.left() + 100, graph.top(), 60, graph.height());
        const QRectF limit = pixels.drawn(middle, colour);
        QVERIFY_NEAR(limit.center().y(), levelOfCelsius(graph, 85), 0.5);
        QVERIFY(limit.height() <= 1.5);
        int painted = 0;
        int places = 0;
        for (double x = middle.left(); x < middle.right(); x += 0.5, ++places)
            painted += int(PanelPixels::isNear(pixels.at(x, limit.center().y()), colour));
        QVERIFY2(painted > places / 2 && painted < places * 4 / 5, "four points of six");
    }

    void theAreaBelowTheCPUsLineIsTintedAndTheOneBelowTheGPUsIsNot()
    {
        SensorsPopoverReadings& sensors = m_readings.sensors;
        setLevel(sensors.cpuHistory, 70);
        const auto gpuHistory = std::exchange(sensors.gpuHistory, {});
        const DescribedPanel panel(MonitorSection::sensors, m_readings);
        const PanelPixels pixels = panel.drawn();
        const QRectF graph = graphIn(panel);
        const double x = graph.left() + 130;
        const auto line = [&](const PanelPixels& drawn, const QColor& colour) {
            return drawn.drawn(QRectF(x, graph.top(), 10, graph.height()), in(light).readable(colour));
        };
        const QColor cpu = keyOf(panel, pixels, "CPU");
        QVERIFY_NEAR(line(pixels, cpu).center().y(), levelOfCelsius(graph, 70), 0.5);
        QColor tint = in(light).readable(cpu);
        tint.setAlphaF(0.28F);
        QVERIFY_COLOUR(pixels.at(x, levelOfCelsius(graph, 40)), laidOver(tint, m_track));

        sensors.cpuHistory.clear();
        sensors.gpuHistory = gpuHistory;
        setLevel(sensors.gpuHistory, 70);
        const PanelPixels ofGPU = DescribedPanel(MonitorSection::sensors, m_readings).drawn();
        QVERIFY_NEAR(line(ofGPU, keyOf(panel, pixels, "GPU")).center().y(), levelOfCelsius(graph, 70), 0.5);
        QVERIFY_COLOUR(ofGPU.at(x, levelOfCelsius(graph, 40)), m_track);
    }

    void theLayersOfTheMemoryHaveTheColoursOfTheirRows()
    {
        MemoryPopoverReadings& memory = m_readings.memory;
        setLevel(memory.app, 0.3);
        setLevel(memory.system, 0.2);
        setLevel(memory.compressed, 0.1);
        setLevel(memory.cache, 0.2);
        const DescribedPanel panel(MonitorSection::memory, m_readings);
        const PanelPixels pixels = panel.drawn();
        const QRectF graph = graphIn(panel);
        const auto layer = [&](double share) { return pixels.at(graph.center().x(), levelOf(graph, share)); };
        QVERIFY_COLOUR(layer(0.15), keyOf(panel, pixels, "App Memory"));
        QVERIFY_COLOUR(layer(0.40), keyOf(panel, pixels, "System Memory"));
        QVERIFY_COLOUR(layer(0.55), keyOf(panel, pixels, "Compressed"));
        QVERIFY_COLOUR(layer(0.70), keyOf(panel, pixels, "Cache"));
        QVERIFY_COLOUR(layer(0.90), m_track);
    }

    void thePressureIsBlueAndTheSwapHasTheAccent()
    {
        SharedSettings::store().set(Keys::memoryAccent.name, QStringLiteral("purple"));
        m_readings.memory.pressure = 0.5;
        const DescribedPanel panel(MonitorSection::memory, m_readings);
        const PanelPixels pixels = panel.drawn();
        const auto colourOf = [&](const char* name) {
            const auto isBar = [name](const PanelElement& element) {
                return element.fraction && element.name == QString::fromUtf8(name);
            };
            const QRectF bar = panel.first(isBar).rect;
            return pixels.at(bar.left() + 6, bar.center().y());
        };
        QVERIFY_COLOUR(colourOf("Pressure"), QColor::fromRgbF(0.12F, 0.52F, 0.88F));
        QVERIFY_COLOUR(colourOf("Swap"), in(light).readable(MeterAccent(MeterAccent::Name::purple).color()));
    }

    void theMetricsSetTheHeightsOfGraphs()
    {
        const auto heightIn = [this](MonitorSection section, const PanelMetrics& metrics) {
            PanelEnvironment environment = in(light);
            environment.metrics = metrics;
            return DescribedPanel(section, m_readings, {}, environment).height();
        };
        PanelMetrics usage;
        usage.usageGraphHeight = 90;
        PanelMetrics load;
        load.loadGraphHeight = 90;
        const struct {
            MonitorSection section;
            double ofUsage, ofLoad;
        } rows[] { { MonitorSection::cpu, 20, 0 }, { MonitorSection::memory, 20, 0 },
            { MonitorSection::storage, 0, 18 }, { MonitorSection::sensors, 0, 0 } };
        for (const auto& row : rows) {
            const double before = heightIn(row.section, {});
            QCOMPARE(heightIn(row.section, usage) - before, row.ofUsage);
            QCOMPARE(heightIn(row.section, load) - before, row.ofLoad);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelGraphsTest)
#include "PanelGraphsTest.moc"
