#include "KestrumShared/Raster/Canvas.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QTest>
#include <cmath>

using namespace kestrum;

namespace {

// Pixels per point. The sheet is 20 × 10 points large.
constexpr double scale = 10;

QImage sheet()
{
    QImage image(200, 100, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

// The area with ink, in points from the lower left corner. The rectangle's `top` is the area's lower edge.
QRectF inked(const QImage& image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 127)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return QRectF(ink.x() / scale, (image.height() - ink.y() - ink.height()) / scale, ink.width() / scale,
        ink.height() / scale);
}

/// A picture of the sheet after a call of `draw`.
template <class Draw> QImage sheetWith(Draw draw)
{
    QImage image = sheet();
    QPainter painter(&image);
    {
        Canvas canvas(painter, QPointF(0, 0), QSizeF(20, 10));
        draw(canvas);
    }
    painter.end();
    return image;
}

template <class Draw> QRectF inkOf(Draw draw)
{
    return inked(sheetWith(draw));
}

} // namespace

class CanvasTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void rectanglesCountFromTheBottomLeft()
    {
        const QRectF rect(3, 2, 5, 4);
        QCOMPARE(inkOf([&](Canvas& canvas) { canvas.fillRect(rect, Qt::red); }), rect);
        QCOMPARE(inkOf([&](Canvas& canvas) { canvas.fillRoundedRect(rect, 1, Qt::red); }), rect);
        const QRectF wide(1, 2, 17, 4);
        QCOMPARE(inkOf([&](Canvas& canvas) { canvas.fillRect(wide, Qt::red); }), wide);
        QCOMPARE(inkOf([&](Canvas& canvas) { canvas.fillRoundedRect(wide, 1, Qt::red); }), wide);
    }

    void strokesStandOnTheEdge()
    {
        const QRectF ink
            = inkOf([](Canvas& canvas) { canvas.strokeRoundedRect(QRectF(3, 2, 5, 4), 1, 0.8, Qt::red); });
        QCOMPARE(ink, QRectF(2.6, 1.6, 5.8, 4.8));
    }

    void curvesGrowUpwards()
    {
        const QImage image = sheetWith([](Canvas& canvas) {
            canvas.fillBelow({ { 2, 1 }, { 10, 9 }, { 18, 1 } }, 1, Qt::red);
        });
        QCOMPARE(inked(image).top(), 1.0);
        QVERIFY(std::abs(inked(image).bottom() - 9) < 0.11);
        QCOMPARE(qAlpha(image.pixel(100, 80)), 255);
        QCOMPARE(qAlpha(image.pixel(30, 60)), 0);
        QCOMPARE(qAlpha(image.pixel(100, 5)), 0);
    }

    void imagesHaveTheirLowerLeftCornerAtTheirOrigin()
    {
        QImage image(20, 30, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::red);
        QCOMPARE(inkOf([&](Canvas& canvas) { canvas.drawImage(QPointF(4, 1), image); }), QRectF(4, 1, 2, 3));
    }

    void lettersOfAColumnStandOnTheirLines()
    {
        QFont font(QStringLiteral("Inter"));
        font.setPixelSize(80);
        const QFontMetricsF metrics(font);
        const auto column = [&](const char* letters) {
            return inkOf([&](Canvas& canvas) {
                canvas.drawColumn(QPointF(3, 0.5), QLatin1StringView(letters), 2, font, Qt::red, 0.1);
            });
        };
        const QRectF one = column("H");
        QVERIFY(std::abs(one.top() - (0.5 + metrics.descent() * 0.1)) <= 0.11);
        QVERIFY(std::abs(one.height() - metrics.capHeight() * 0.1) <= 0.16);
        QVERIFY(one.left() > 3 && one.left() < 4.5);
        const QRectF two = column("HH");
        QCOMPARE(two.left(), one.left());
        QCOMPARE(two.top(), one.top() - 1);
        QCOMPARE(two.bottom(), one.bottom() + 1);
        QVERIFY(std::abs(two.width() - one.width()) <= 0.11);
    }

    void placeOnThePainterIsRespected()
    {
        QImage image = sheet();
        QPainter painter(&image);
        painter.translate(2, 1);
        {
            Canvas canvas(painter, QPointF(5, 3), QSizeF(4, 4));
            canvas.fillRoundedRect(QRectF(0, 0, 4, 1), 0.5, Qt::red);
        }
        painter.end();
        // The canvas's lower edge is 1 + 3 + 4 points below the image's upper edge.
        QCOMPARE(inked(image), QRectF(7, 2, 4, 1));
    }

    void painterIsLeftAsItWasFound()
    {
        QImage image = sheet();
        QPainter painter(&image);
        painter.translate(1, 2);
        painter.setPen(Qt::blue);
        painter.setBrush(Qt::green);
        const QTransform transform = painter.worldTransform();
        const auto hints = painter.renderHints();
        const QFont font = painter.font();
        {
            Canvas canvas(painter, QPointF(1, 1), QSizeF(10, 5));
            canvas.fillRoundedRect(QRectF(0, 0, 2, 5), 1, Qt::red);
            canvas.strokeRoundedRect(QRectF(0, 0, 2, 5), 1, 0.8, Qt::red);
            QFont other;
            other.setPixelSize(40);
            canvas.drawColumn(QPointF(0, 0), QLatin1StringView("x"), 0, other, Qt::red, 0.1);
        }
        QCOMPARE(painter.worldTransform(), transform);
        QCOMPARE(painter.renderHints(), hints);
        QCOMPARE(painter.pen(), QPen(Qt::blue));
        QCOMPARE(painter.brush(), QBrush(Qt::green));
        QCOMPARE(painter.font(), font);
    }

    void clippingIsRespected()
    {
        QImage image = sheet();
        QPainter painter(&image);
        painter.setClipRect(QRectF(0, 0, 5, 10));
        {
            Canvas canvas(painter, QPointF(0, 0), QSizeF(20, 10));
            canvas.fillRoundedRect(QRectF(3, 2, 5, 6), 1, Qt::red);
            canvas.fillBelow({ { 2, 9 }, { 12, 9 } }, 8.5, Qt::red);
        }
        painter.end();
        QCOMPARE(inked(image).right(), 5.0);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, CanvasTest)
#include "CanvasTest.moc"
