// Measures the drawing of menu-bar items into images like the agent's. For comparison, each run also measures the least work that
// any item needs: one picture of the item's size and one text.

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StripLayout.h"
#include "KestrumShared/Raster/PixelPainter.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <sys/resource.h>

using namespace kestrum;

namespace {

struct Subject {
    const char* name;
    MonitorSection section;
    const char* style;
    const char* shape;
    const char* labels;
    int cores;
};

constexpr Subject subjects[] = {
    { "bars of 8 cores", MonitorSection::cpu, "bars", "pill", "icons", 8 },
    { "square bars of 8 cores", MonitorSection::cpu, "bars", "square", "icons", 8 },
    { "bars of 16 cores", MonitorSection::cpu, "bars", "pill", "icons", 16 },
    { "bars of 64 cores", MonitorSection::cpu, "bars", "pill", "icons", 64 },
    { "wave", MonitorSection::cpu, "wave", "pill", "icons", 8 },
    { "compact", MonitorSection::cpu, "compact", "pill", "icons", 8 },
    { "memory", MonitorSection::memory, "bars", "pill", "icons", 8 },
    { "storage", MonitorSection::storage, "bars", "pill", "icons", 8 },
    { "sensors", MonitorSection::sensors, "bars", "pill", "icons", 8 },
    { "letters", MonitorSection::memory, "bars", "pill", "letters", 8 },
};

QImage fixture(const Subject& subject, double scale)
{
    DrawingFixture::set("meterStyle", subject.style);
    DrawingFixture::set("meterShape", subject.shape);
    DrawingFixture::set("meterLabelStyle", subject.labels);
    DrawingFixture::set("cpuFastCoreAccent", "indigo");
    CoreTopology::useTiers(
        { { QStringLiteral("P"), subject.cores / 2 }, { QStringLiteral("E"), subject.cores / 2 } });
    const double width = StatusMetricView::itemWidth(subject.section);
    QImage image(int(std::ceil(width * scale)), int(StatusMetricView::height * scale),
        QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

// The counter "switches" has the voluntary context switches of all threads for each drawing: it shows whether drawing wakes
// other threads.
void draw(benchmark::State& state, const Subject& subject, double scale, bool keepsPictures, bool counts)
{
    QImage image = fixture(subject, scale);
    PixelPainter::setKeepsPictures(keepsPictures);
    const auto sample = std::make_shared<SampleReadings>();
    const auto counting = std::make_shared<FakeReadings>();
    const StatusMetricView view(subject.section,
        QRectF(0, 0, image.width() / scale, StatusMetricView::height),
        counts ? std::shared_ptr<const MenuBarReadings>(counting) : sample);
    unsigned turn = 0;
    rusage before {};
    ::getrusage(RUSAGE_SELF, &before);
    for (auto _ : state) {
        if (counts) {
            // The loads differ from drawing to drawing, as on a busy machine.
            counting->cores.resize(subject.cores);
            for (double& core : counting->cores)
                core = double((turn++ * 2654435761U) >> 8) / (1U << 24);
        }
        QPainter painter(&image);
        view.draw(painter, QPointF(0, 0), ColourScheme::light, scale);
    }
    rusage after {};
    ::getrusage(RUSAGE_SELF, &after);
    state.counters["switches"]
        = benchmark::Counter(double(after.ru_nvcsw - before.ru_nvcsw), benchmark::Counter::kAvgIterations);
    PixelPainter::setKeepsPictures(true);
}

// Measures the computation of all items' places, with the widths that their settings give.
void measure(benchmark::State& state)
{
    fixture(subjects[0], 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(StripLayout::current().width);
}

// Measures the work of the agent's strip for one tick, when all readings have changed.
void tick(benchmark::State& state)
{
    fixture(subjects[0], 1);
    const auto readings = std::make_shared<FakeReadings>();
    PanelStrip strip(readings);
    strip.setFixedSize(strip.sizeHint());
    strip.show();
    unsigned turn = 0;
    for (auto _ : state) {
        const double load = double((turn++ * 2654435761U) >> 8) / (1U << 24);
        readings->memory = readings->storage = load;
        readings->power = readings->cpuCelsius = 100 * load;
        readings->cores = { load, 1 - load, load / 2, 1 - load / 2 };
        strip.redraw();
    }
}

void yardstick(benchmark::State& state, double scale)
{
    QImage image = fixture(subjects[0], scale);
    const QImage picture = image.copy();
    for (auto _ : state) {
        QPainter painter(&image);
        painter.drawImage(QPointF(0, 0), picture);
        painter.drawText(QPointF(80, 15), QStringLiteral("42%"));
    }
}

void add(
    const char* name, double scale, const char* manner, const std::function<void(benchmark::State&)>& run)
{
    char title[120];
    std::snprintf(title, sizeof title, "%s/scale %g%s", name, scale, manner);
    benchmark::RegisterBenchmark(title, run)->Unit(benchmark::kMicrosecond)->MinTime(0.1);
}

} // namespace

int main(int argc, char** argv)
{
    TestHome home;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    if (!DrawingFixture::prepare())
        std::fputs("the font Inter (package fonts-inter) is missing: figures are for another font\n", stderr);
    benchmark::Initialize(&argc, argv);
    add("strip measured", 1, "", measure);
    add("the agent's strip, new readings", 1, "", tick);
    for (const double scale : { 1.0, 2.0 }) {
        add("yardstick", scale, "", [=](benchmark::State& state) { yardstick(state, scale); });
        for (const Subject& subject : subjects)
            add(subject.name, scale, "",
                [=](benchmark::State& state) { draw(state, subject, scale, true, false); });
        add(subjects[0].name, scale, ", other loads each time",
            [=](benchmark::State& state) { draw(state, subjects[0], scale, true, true); });
        for (const Subject& subject : { subjects[0], subjects[4], subjects[6] })
            add(subject.name, scale, ", by the painter itself",
                [=](benchmark::State& state) { draw(state, subject, scale, false, false); });
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
