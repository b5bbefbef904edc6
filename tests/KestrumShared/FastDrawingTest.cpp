#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Raster/PixelPainter.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <QThreadPool>
#include <sys/resource.h>

using namespace kestrum;
using DrawingFixture::set;

namespace {

// The largest difference in any channel of any pixel, 0 to 255; 255 if the sizes differ.
int difference(const QImage& one, const QImage& other)
{
    int largest = one.size() == other.size() ? 0 : 255;
    for (int y = 0; largest < 255 && y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            largest = std::max({ largest, std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b)) });
        }
    }
    return largest;
}

QImage onGround(const QImage& item, ColourScheme scheme)
{
    QImage image(item.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(scheme == ColourScheme::dark ? QColor(0x1E, 0x1F, 0x22) : QColor(Qt::white));
    QPainter painter(&image);
    QImage pixels = item;
    pixels.setDevicePixelRatio(1);
    painter.drawImage(0, 0, pixels);
    return image;
}

} // namespace

// Fast drawing must give the same pixels as ordinary drawing with the painter.
class FastDrawingTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        set("cpuFastCoreAccent", "indigo");
        set("memoryAccent", "amber");
    }
    void cleanup() { PixelPainter::setKeepsPictures(true); }

    void pixelsAreThoseOfThePlainDrawing_data()
    {
        QTest::addColumn<QByteArray>("style");
        QTest::addColumn<QByteArray>("shape");
        QTest::addColumn<QByteArray>("labels");
        QTest::addColumn<double>("scale");
        for (const char* style : { "bars", "wave", "compact" }) {
            for (const char* shape : { "pill", "square" }) {
                for (const char* labels : { "icons", "letters" }) {
                    for (const double scale : { 1.0, 1.25, 1.5, 2.0, 3.0 })
                        QTest::addRow("%s %s %s %g", style, shape, labels, scale)
                            << QByteArray(style) << QByteArray(shape) << QByteArray(labels) << scale;
                }
            }
        }
    }
    void pixelsAreThoseOfThePlainDrawing()
    {
        QFETCH(QByteArray, style);
        QFETCH(QByteArray, shape);
        QFETCH(QByteArray, labels);
        QFETCH(double, scale);
        set("meterStyle", style);
        set("meterShape", shape);
        set("meterLabelStyle", labels);
        for (const QPointF& topLeft : { QPointF(0, 0), QPointF(3.3, 0), QPointF(7.15, 2.5) }) {
            for (const auto& section : allCases<MonitorSection>()) {
                for (const int cores : { 1, 4, 12 })
                    compare(section.value, cores, scale, topLeft);
            }
        }
    }

    void pixelsStayTheSameWhenPicturesAreUsedAgain()
    {
        // There are many bar heights and fractions of a pixel. Later rounds draw with the pictures that earlier rounds cached.
        set("meterStyle", "bars");
        auto readings = std::make_shared<FakeReadings>();
        CoreTopology::useTiers({ { QStringLiteral("Level 0"), 16 } });
        for (const char* shape : { "pill", "square" }) {
            set("meterShape", shape);
            for (int round = 0; round < 60; ++round) {
                readings->cores.clear();
                for (int core = 0; core < 16; ++core)
                    readings->cores.append(double((round * 37 + core * 101) % 997) / 996);
                compareReadings(
                    readings, MonitorSection::cpu, 2, QPointF(round * 0.37, 0), ColourScheme::light);
            }
        }
    }

    void curvesOfAllKindsLookAsThePainterDrawsThem_data()
    {
        QTest::addColumn<QList<double>>("history");
        QTest::newRow("two samples") << QList<double> { 0.2, 0.9 };
        QTest::newRow("all idle") << QList<double>(36, 0.0);
        QTest::newRow("all busy") << QList<double>(36, 1.0);
        QTest::newRow("beyond both ends") << QList<double> { -1, 2, -1, 0.5, 3, 3, -2, -2, 0.1 };
        QList<double> needles;
        for (int i = 0; i < 120; ++i)
            needles.append(i % 2);
        QTest::newRow("needles thinner than a pixel") << needles;
        QTest::newRow("steps") << QList<double> { 0.25, 0.25, 0.75, 0.75, 0.5, 0.5, 0.0, 0.0, 1.0, 1.0 };
    }
    void curvesOfAllKindsLookAsThePainterDrawsThem()
    {
        QFETCH(QList<double>, history);
        set("meterStyle", "wave");
        auto readings = std::make_shared<FakeReadings>();
        readings->history = history;
        for (const double scale : { 1.0, 1.5, 2.0, 4.0 }) {
            for (const QPointF& topLeft : { QPointF(0, 0), QPointF(0.3, 0.7) })
                compareReadings(readings, MonitorSection::cpu, scale, topLeft, ColourScheme::dark);
        }
    }

    void aTurnedOrTranslucentPainterIsLeftToItself()
    {
        QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
        QPainter painter(&image);
        QVERIFY(PixelPainter::canServe(painter));
        painter.rotate(5);
        QVERIFY(!PixelPainter::canServe(painter));
        painter.resetTransform();
        painter.scale(2, 3);
        QVERIFY(!PixelPainter::canServe(painter));
        painter.resetTransform();
        painter.setOpacity(0.5);
        QVERIFY(!PixelPainter::canServe(painter));
        painter.setOpacity(1);
        painter.setCompositionMode(QPainter::CompositionMode_Plus);
        QVERIFY(!PixelPainter::canServe(painter));
    }

    void noOtherThreadIsWoken()
    {
        // Waiting for another thread, or starting one, counts as a voluntary context switch.
        auto readings = std::make_shared<SampleReadings>();
        for (const char* style : { "bars", "wave", "compact" }) {
            set("meterStyle", style);
            DrawingFixture::drawn(MonitorSection::cpu, readings, 2);
            rusage before {};
            rusage after {};
            ::getrusage(RUSAGE_SELF, &before);
            for (int i = 0; i < 50; ++i)
                DrawingFixture::drawn(MonitorSection::cpu, readings, 2);
            ::getrusage(RUSAGE_SELF, &after);
            // The limit is one switch in ten drawings, because the system sometimes makes a process wait.
            QVERIFY2(after.ru_nvcsw - before.ru_nvcsw < 5, style);
        }
    }

private:
    static void compare(MonitorSection section, int cores, double scale, const QPointF& topLeft)
    {
        const QList<CoreTier> tiers { { QStringLiteral("P"), (cores + 1) / 2 },
            { QStringLiteral("E"), cores / 2 } };
        CoreTopology::useTiers(tiers);
        compareReadings(std::make_shared<SampleReadings>(tiers, cores), section, scale, topLeft,
            cores % 2 ? ColourScheme::light : ColourScheme::dark);
    }

    static void compareReadings(const std::shared_ptr<const MenuBarReadings>& readings,
        MonitorSection section, double scale, const QPointF& topLeft, ColourScheme scheme)
    {
        const auto drawn = [&](bool keepsPictures) {
            PixelPainter::setKeepsPictures(keepsPictures);
            return onGround(DrawingFixture::drawn(section, readings, scale, scheme, topLeft), scheme);
        };
        const QImage plain = drawn(false);
        const QImage fast = drawn(true);
        const int found = difference(plain, fast);
        if (found > 2) {
            const QString place
                = QStringLiteral("%1/FastDrawingTest-%2")
                      .arg(qEnvironmentVariable("KESTRUM_BUILD", QStringLiteral(".")), rawValue(section));
            plain.save(place + QStringLiteral("-plain.png"));
            fast.save(place + QStringLiteral("-fast.png"));
        }
        QVERIFY2(found <= 2,
            qPrintable(QStringLiteral("%1 differs by %2 at %3, %4 (scale %5)")
                           .arg(rawValue(section))
                           .arg(found)
                           .arg(topLeft.x())
                           .arg(topLeft.y())
                           .arg(scale)));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, FastDrawingTest)
#include "FastDrawingTest.moc"
