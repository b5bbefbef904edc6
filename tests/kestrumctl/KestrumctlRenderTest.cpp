#include "tests/Support/DescribedStrip.h"
#include "tests/Support/Pixels.h"

#include <QGuiApplication>
#include <QImageReader>
#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace kestrum;

namespace {

QString picturePath()
{
    return TestHome::root() + QStringLiteral("/picture.png");
}

QImage rendered(const char* what)
{
    QFile::remove(picturePath());
    if (const auto result = ctl("render -o", QStringList(picturePath()) + words(what)); result != done())
        qWarning("%d %s", result.code, result.errors.constData());
    QImageReader reader(picturePath());
    return reader.format() == "png" ? reader.read() : QImage();
}

bool isEmpty(const QImage& image, const QRect& rect)
{
    return areaOf(image.copy(rect), [](const QColor& pixel) { return pixel.alpha() != 0; }).isNull();
}

// The largest difference between two pictures of the same size, in any colour or alpha component of any pixel.
int largestDifference(const QImage& one, const QImage& other)
{
    int largest = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            for (const int difference :
                { qRed(a) - qRed(b), qGreen(a) - qGreen(b), qBlue(a) - qBlue(b), qAlpha(a) - qAlpha(b) })
                largest = std::max(largest, std::abs(difference));
        }
    }
    return largest;
}

} // namespace

class KestrumctlRenderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void aPictureHasTheItemsSizeTimesTheScale_data()
    {
        QTest::addColumn<QByteArray>("what");
        QTest::addColumn<double>("scale");
        for (const char* what : { "cpu", "memory", "storage", "sensors", "strip" }) {
            for (const double scale : { 1.0, 2.0 })
                QTest::addRow("%s at %g", what, scale) << QByteArray(what) << scale;
        }
        for (const double scale : { 0.1, 0.75, 1.25, 1.5, 3.0, 16.0 })
            QTest::addRow("cpu at %g", scale) << QByteArray("cpu") << scale;
    }

    void aPictureHasTheItemsSizeTimesTheScale()
    {
        QFETCH(const QByteArray, what);
        QFETCH(const double, scale);
        const QJsonObject strip = described("--cores 4,2");
        const auto section = fromRawValue<MonitorSection>(QString::fromLatin1(what));
        const double width = section ? number(item(strip, *section), "width") : number(strip, "width");
        const QImage image = rendered(what + " --cores 4,2 --scale " + QByteArray::number(scale));
        QCOMPARE(image.width(), int(std::ceil(width * scale - 1e-6)));
        QCOMPARE(image.height(), int(std::ceil(22 * scale - 1e-6)));
    }

    void coresMakeThePictureWide()
    {
        for (const int cores : { 1, 2, 8, 64 }) {
            const QByteArray options = "--cores " + QByteArray::number(cores);
            const double width = number(item(described(options), MonitorSection::cpu), "width");
            QCOMPARE(rendered("cpu --scale 2 " + options).width(), int(std::ceil(width * 2 - 1e-6)));
        }
    }

    void theGroundIsTransparent()
    {
        const QImage image = rendered("strip --scale 2 --cores 4");
        QVERIFY(image.hasAlphaChannel());
        QVERIFY(!isEmpty(image, image.rect()));
        for (const QPoint corner : { image.rect().topLeft(), image.rect().topRight(),
                 image.rect().bottomLeft(), image.rect().bottomRight() })
            QCOMPARE(image.pixelColor(corner).alpha(), 0);
        // The first item ends at this x position, and a gap follows.
        const double end = number(item(described("--cores 4"), MonitorSection::storage), "width");
        QVERIFY(isEmpty(image, QRect(int(end * 2) + 1, 0, 14, image.height())));
    }

    void lightAndDarkDiffer()
    {
        const QImage light = rendered("memory --scale 2 --appearance light");
        const QImage dark = rendered("memory --scale 2 --appearance dark");
        QCOMPARE(light.size(), dark.size());
        QVERIFY(light != dark);
        // The readout is dark on a light panel and light on a dark one.
        const auto brightness = [](const QImage& image) {
            double sum = 0;
            double weight = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = image.width() / 2 + 20; x < image.width(); ++x) {
                    const QColor colour = image.pixelColor(x, y);
                    sum += colour.lightnessF() * colour.alphaF();
                    weight += colour.alphaF();
                }
            }
            return sum / weight;
        };
        QVERIFY2(brightness(light) < 0.3, QByteArray::number(brightness(light)).constData());
        QVERIFY2(brightness(dark) > 0.7, QByteArray::number(brightness(dark)).constData());
    }

    void lightIsTheAppearanceWhenNoneIsGiven()
    {
        QCOMPARE(rendered("cpu"), rendered("cpu --appearance light --scale 1"));
    }

    void theStripShowsTheItemsWhereTheyAreDescribed()
    {
        // At a whole-numbered place, as that of the first item, the item's pixels equal those of the item drawn alone.
        const QImage strip = rendered("strip --scale 2 --cores 2");
        const QImage storage = rendered("storage --scale 2 --cores 2");
        QCOMPARE(strip.copy(0, 0, storage.width() - 1, storage.height()),
            storage.copy(0, 0, storage.width() - 1, storage.height()));
        // Every item has ink at its left edge, and the gap before it is empty.
        const QJsonObject description = described("--cores 2");
        for (const MonitorSection section : MeterSettings::storedOrder()) {
            const double x = number(item(description, section), "x") * 2;
            QVERIFY(x == 0 || isEmpty(strip, QRect(int(std::ceil(x)) - 14, 0, 14, strip.height())));
            QVERIFY(!isEmpty(strip, QRect(int(x), 0, 8, strip.height())));
        }
    }

    void aHiddenItemIsDrawnByNameButNotInTheStrip()
    {
        const QImage all = rendered("strip --cores 2");
        set(Keys::showMemoryItem, false);
        QVERIFY(!rendered("memory").isNull());
        const double width = StatusMetricView::itemWidth(MonitorSection::memory);
        QVERIFY(std::abs(all.width() - rendered("strip --cores 2").width() - (width + 8)) <= 1);
    }

    void aStripWithoutItemsIsNoPicture()
    {
        for (const auto& entry : allCases<MonitorSection>())
            set(MeterSettings::visibilityKey(entry.value), false);
        QFile::remove(picturePath());
        QVERIFY_FAILED(ctl("render strip -o", { picturePath() }), 1, "all items are hidden");
        QVERIFY(!QFile::exists(picturePath()));
        QCOMPARE(number(described(), "width"), 0.0);
    }

    void aVeryWidePictureIsDrawnToItsEnd()
    {
        // The picture is wider than Qt's painter can draw, so it consists of pieces. A core takes 5.9 points, at scale 16.
        set(Keys::cpuReadout, CPUReadout::off);
        const QImage wide = rendered("cpu --scale 16 --cores 350");
        QVERIFY(wide.width() > 32767);
        const int bar = int(5.9 * 16);
        QVERIFY(!isEmpty(wide, wide.rect().adjusted(wide.width() - 2 * bar, 0, 0, 0)));
        // The pieces join exactly: the sample loads of fast cores repeat after 30 bars, which are a whole number of pixels.
        const int period = 30 * 59 * 16 / 10;
        const QRect first(wide.width() / 8, 0, period, wide.height());
        for (QRect next = first.translated(period, 0); next.right() < wide.width() - 2 * bar;
             next.translate(period, 0))
            QVERIFY2(largestDifference(wide.copy(first), wide.copy(next)) <= 2,
                QByteArray::number(next.left()).constData());
        QVERIFY(largestDifference(wide.copy(first), wide.copy(first.translated(period / 2, 0))) > 100);
    }

    void tiersAreToldApartByColour()
    {
        set(Keys::meterShape, MeterShape::square);
        QVERIFY(SharedSettings::store().set(Keys::cpuAccent.name, QStringLiteral("custom:srgb:1.0,0.0,0.0")));
        QVERIFY(SharedSettings::store().set(
            Keys::cpuFastCoreAccent.name, QStringLiteral("custom:srgb:0.0,0.0,1.0")));
        const auto bars = [](const QImage& image) {
            // Collects the runs of one pure colour at the foot of the bars.
            QByteArray runs;
            for (int x = 0; x < image.width(); ++x) {
                const QColor colour = image.pixelColor(x, image.height() - 4 * 4);
                const char kind = colour == QColor(Qt::red) ? 'e' : colour == QColor(Qt::blue) ? 'p' : ' ';
                if (kind != ' ' && !runs.endsWith(kind))
                    runs += kind;
                else if (kind == ' ' && !runs.endsWith(' '))
                    runs += ' ';
            }
            return runs.replace(" ", "");
        };
        QCOMPARE(bars(rendered("cpu --scale 4 --cores 2,3")), QByteArray("eeepp"));
        QCOMPARE(bars(rendered("cpu --scale 4 --cores 4")), QByteArray("pppp"));
    }

    void aPictureFollowsTheSettingsInEffect()
    {
        const QImage before = rendered("cpu --cores 4");
        QCOMPARE(rendered("cpu --cores 4"), before);
        set(Keys::meterShape, MeterShape::square);
        QVERIFY(rendered("cpu --cores 4") != before);
    }

    void accentsAreThoseThatTheProgramsStoreAtTheirStart_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::newRow("nothing stored") << QByteArray("{}");
        QTest::newRow("an accent for all") << QByteArray(R"({"accentChoice": "teal"})");
        QTest::newRow("fast cores like all")
            << QByteArray(R"({"accentChoice": "pine", "performanceCoreAccent": "nonsense"})");
        QTest::newRow("chosen already") << QByteArray(
            R"({"accentChoice": "teal", "performanceCoreAccent": "amber", "cpuAccent": "blue", "memoryAccent": "x"})");
    }

    void accentsAreThoseThatTheProgramsStoreAtTheirStart()
    {
        QFETCH(const QByteArray, stored);
        const QJsonObject values = QJsonDocument::fromJson(stored).object();
        SharedSettings::store().apply(values, {});
        const QImage before = rendered("strip --cores 4,4 --scale 2");
        QCOMPARE(SharedSettings::store().storedDictionary(), values);
        QVERIFY(MeterSettings::migrateAccents());
        QCOMPARE(before, rendered("strip --cores 4,4 --scale 2"));
    }

    void aPictureGoesToStandardOutputToo()
    {
        const auto result = ctl("render cpu -o -");
        QCOMPARE(result.code, 0);
        QCOMPARE(QImage::fromData(result.output, "PNG"), rendered("cpu"));
    }

    void aPictureThatCannotBeWrittenFailsWithTheReason()
    {
        QVERIFY_FAILED(ctl("render cpu -o", { TestHome::root() + QStringLiteral("/nowhere/picture.png") }), 1,
            "nowhere/picture.png\": No such file");
        QVERIFY_FAILED(
            Kestrumctl::inShell("exec \"$0\" render cpu -o - > /dev/full"), 1, "No space left on device");
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, KestrumctlRenderTest)
#include "KestrumctlRenderTest.moc"
