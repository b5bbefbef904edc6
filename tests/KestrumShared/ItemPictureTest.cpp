// Compares drawn items with stored pictures that a person has checked. If an item differs, the test saves its picture and the
// differing pixels in the build folder. With KESTRUM_WRITE_PICTURES set, the test first replaces the stored pictures.

#include "KestrumShared/Items/SampleReadings.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestHome.h"

#include <QRawFont>
#include <QTest>
#include <QtEndian>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

namespace {

// The largest accepted difference in a colour channel of a pixel, 0 to 255. Versions of the font engine round differently.
constexpr int tolerance = 8;

// The version of the Inter font in the stored pictures. Since version 4, some letters have other shapes.
constexpr double editionOfThePictures = 3.019;

double editionOf(const QFont& font)
{
    const QByteArray head = QRawFont::fromFont(font).fontTable("head");
    const double edition = head.size() < 8 ? 0 : qFromBigEndian<quint32>(head.constData() + 4) / 65536.0;
    return std::round(edition * 1000) / 1000;
}

QString folder(const char* variable)
{
    return qEnvironmentVariable(variable, QStringLiteral("."));
}

int difference(QRgb one, QRgb other)
{
    return std::max({ std::abs(qRed(one) - qRed(other)), std::abs(qGreen(one) - qGreen(other)),
        std::abs(qBlue(one) - qBlue(other)) });
}

} // namespace

class ItemPictureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void itemsLookAsTheyDid_data()
    {
        QTest::addColumn<MonitorSection>("section");
        QTest::addColumn<ColourScheme>("scheme");
        QTest::addColumn<int>("scale");
        QTest::addColumn<QByteArray>("style");
        QTest::addColumn<QByteArray>("labels");
        for (const auto& section : allCases<MonitorSection>()) {
            for (const int scale : { 1, 2 }) {
                for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                    const bool isDark = scheme == ColourScheme::dark;
                    QTest::addRow("%s-%s-%d", section.rawValue, isDark ? "dark" : "light", scale)
                        << section.value << scheme << scale << QByteArray("bars")
                        << QByteArray(isDark ? "letters" : "icons");
                }
            }
        }
        QTest::newRow("cpu-wave-light-2")
            << cpu << ColourScheme::light << 2 << QByteArray("wave") << QByteArray("icons");
        QTest::newRow("cpu-compact-dark-2")
            << cpu << ColourScheme::dark << 2 << QByteArray("compact") << QByteArray("icons");
    }
    void itemsLookAsTheyDid()
    {
        QFETCH(MonitorSection, section);
        QFETCH(ColourScheme, scheme);
        QFETCH(int, scale);
        QFETCH(QByteArray, style);
        QFETCH(QByteArray, labels);
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        if (const double edition = editionOf(QGuiApplication::font()); edition != editionOfThePictures)
            QSKIP(qPrintable(QStringLiteral("the pictures are of Inter %1, and here is Inter %2")
                                 .arg(editionOfThePictures)
                                 .arg(edition)));
        set("meterStyle", style);
        set("meterLabelStyle", labels);
        set("cpuFastCoreAccent", "indigo");
        set("temperatureUnit", "celsius");
        const QList<CoreTier> tiers { { QStringLiteral("P"), 4 }, { QStringLiteral("E"), 4 } };
        CoreTopology::useTiers(tiers);

        QImage item
            = DrawingFixture::drawn(section, std::make_shared<SampleReadings>(tiers, 8), scale, scheme);
        item.setDevicePixelRatio(1);
        QImage drawn(item.size(), QImage::Format_RGB32);
        drawn.fill(scheme == ColourScheme::dark ? QColor(0x2B, 0x2C, 0x30) : QColor(Qt::white));
        QPainter(&drawn).drawImage(0, 0, item);

        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const QString stored = QStringLiteral("%1/tests/pictures/%2.png").arg(folder("KESTRUM_SOURCE"), name);
        if (qEnvironmentVariableIsSet("KESTRUM_WRITE_PICTURES"))
            QVERIFY(drawn.save(stored));
        const QImage wanted = QImage(stored).convertToFormat(QImage::Format_RGB32);
        QCOMPARE(drawn.size(), wanted.size());

        QImage where(drawn.size(), QImage::Format_RGB32);
        where.fill(Qt::white);
        int largest = 0;
        for (int y = 0; y < drawn.height(); ++y) {
            for (int x = 0; x < drawn.width(); ++x) {
                const int found = difference(drawn.pixel(x, y), wanted.pixel(x, y));
                largest = std::max(largest, found);
                if (found > tolerance)
                    where.setPixelColor(x, y, Qt::red);
            }
        }
        if (largest > tolerance) {
            const QString place = QStringLiteral("%1/ItemPictureTest-%2").arg(folder("KESTRUM_BUILD"), name);
            drawn.save(place + QStringLiteral("-actual.png"));
            where.save(place + QStringLiteral("-difference.png"));
        }
        QVERIFY2(largest <= tolerance, qPrintable(QStringLiteral("differs by %1").arg(largest)));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ItemPictureTest)
#include "ItemPictureTest.moc"
