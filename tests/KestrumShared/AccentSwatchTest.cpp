#include "KestrumShared/Vocabulary/AccentSwatch.h"
#include "tests/Support/TestHome.h"

#include <QPainter>
#include <QTest>
#include <cmath>

using namespace kestrum;

class AccentSwatchTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keysNameAccentAndSize()
    {
        QCOMPARE(AccentSwatch::cacheKey(MeterAccent::Name::indigo, 14), QStringLiteral("indigo@14.0"));
        QCOMPARE(AccentSwatch::cacheKey(MeterAccent::Name::signal, 12.5), QStringLiteral("signal@12.5"));
        QCOMPARE(AccentSwatch::cacheKey(MeterAccent::custom(QColor::fromRgbF(0.1F, 0.2F, 0.3F)), 10),
            QStringLiteral("custom:srgb:0.1000,0.2000,0.3000@10.0"));
    }

    void keptPicturesAreGivenAgain()
    {
        const QImage first = AccentSwatch::image(MeterAccent::Name::teal, 14);
        QCOMPARE(AccentSwatch::image(MeterAccent::Name::teal, 14).cacheKey(), first.cacheKey());
        QVERIFY(AccentSwatch::image(MeterAccent::Name::pine, 14).cacheKey() != first.cacheKey());
        QVERIFY(AccentSwatch::image(MeterAccent::Name::teal, 15).cacheKey() != first.cacheKey());
        QVERIFY(AccentSwatch::image(MeterAccent::Name::teal, 14, 2).cacheKey() != first.cacheKey());
    }

    void aPictureDrawnAnewIsTheSameAndNotKept()
    {
        const QImage kept = AccentSwatch::image(MeterAccent::Name::teal, 14, 2);
        const QImage drawn = AccentSwatch::drawn(MeterAccent::Name::teal, 14, 2);
        QCOMPARE(drawn, kept);
        QVERIFY(drawn.cacheKey() != kept.cacheKey());
        QVERIFY(AccentSwatch::drawn(MeterAccent::Name::teal, 0).isNull());
    }

    void pictureHasTheAskedSize()
    {
        for (const auto& [scale, pixels] : { std::pair(1.0, 14), std::pair(1.25, 18), std::pair(2.0, 28) }) {
            const QImage image = AccentSwatch::image(MeterAccent::Name::amber, 14, scale);
            QCOMPARE(image.size(), QSize(pixels, pixels));
            QCOMPARE(image.devicePixelRatio(), scale);
        }
    }

    void insideIsTheAccentAndTheEdgeDarker()
    {
        const QColor accent = MeterAccent(MeterAccent::Name::blue).color();
        const QImage image = AccentSwatch::image(MeterAccent::Name::blue, 14, 10);
        QCOMPARE(image.pixelColor(70, 70).rgb(), accent.rgb());
        // The edge is one point wide. Its centre line is the outline, half a point inside the picture. The inner half of the
        // edge covers the accent; the outer half has nothing behind it.
        const QColor inner = image.pixelColor(7, 70);
        QCOMPARE(inner.alpha(), 255);
        QVERIFY(std::abs(inner.red() - 0.75 * accent.red()) <= 2);
        QVERIFY(std::abs(inner.blue() - 0.75 * accent.blue()) <= 2);
        const QColor outer = image.pixelColor(2, 70);
        QCOMPARE(outer.red(), 0);
        QVERIFY(std::abs(outer.alpha() - 64) <= 1);
        QCOMPARE(image.pixelColor(11, 70).rgb(), accent.rgb());
    }

    void itIsWhatAPlainDrawingMakes()
    {
        const MeterAccent accent = MeterAccent::Name::teal;
        for (const double scale : { 1.5, 2.0, 3.0 }) {
            const int pixels = int(std::ceil(12 * scale));
            QImage plain(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
            plain.fill(Qt::transparent);
            plain.setDevicePixelRatio(scale);
            QPainter painter(&plain);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setBrush(accent.color());
            painter.setPen(QPen(QColor::fromRgbF(0, 0, 0, 0.25F), 1));
            painter.drawRoundedRect(QRectF(0.5, 0.5, 11, 11), 3, 3);
            painter.end();
            QCOMPARE(AccentSwatch::drawn(accent, 12, scale), plain);
        }
    }

    void cornersAreRounded()
    {
        const QImage image = AccentSwatch::image(MeterAccent::Name::blue, 14, 10);
        QCOMPARE(image.pixelColor(3, 3).alpha(), 0);
        // The corner has radius 3 around (3.5, 3.5). On the diagonal, the edge begins at 1.03 and the accent at 1.38.
        // With radius 2 the edge would begin at 0.73, with radius 4 at 1.32.
        QCOMPARE(image.pixelColor(8, 8).alpha(), 0);
        QVERIFY(std::abs(image.pixelColor(12, 12).alpha() - 64) <= 1);
        QCOMPARE(image.pixelColor(22, 22).alpha(), 255);
    }

    void noSizeGivesNoPicture()
    {
        QVERIFY(AccentSwatch::image(MeterAccent::Name::blue, 0).isNull());
        QVERIFY(AccentSwatch::image(MeterAccent::Name::blue, -3).isNull());
        QVERIFY(AccentSwatch::image(MeterAccent::Name::blue, 14, 0).isNull());
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, AccentSwatchTest)
#include "AccentSwatchTest.moc"
