#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QPainter>
#include <QSet>
#include <QTest>
#include <algorithm>
#include <cmath>

using namespace kestrum;

namespace {

const char* const names[] = { "cpu", "memorychip", "internaldrive", "sensor", "menubar.rectangle",
    "macwindow", "gearshape", "arrow.down.circle.fill", "arrow.up.right", "pin", "pin.fill" };

QRect inked(const QImage& image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 30)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

} // namespace

class SymbolImageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everySymbolIsThere_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : names)
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void everySymbolIsThere()
    {
        QFETCH(QString, name);
        const QSizeF size = SymbolImage::size(name, 12);
        QVERIFY(size.width() >= 12 && size.width() <= 16);
        QCOMPARE(size.height(), 14.0);
        for (const double scale : { 1.0, 2.0 }) {
            const QImage image = SymbolImage::image(name, 12, Qt::black, scale);
            QCOMPARE(image.size(), (size * scale).toSize());
            // The symbol is not cut off and fills most of the image.
            const QRect ink = inked(image);
            QVERIFY(ink.left() > 0 && ink.right() < image.width() - 1);
            QVERIFY(ink.top() > 0 && ink.bottom() < image.height() - 1);
            QVERIFY(std::max(ink.width(), ink.height()) >= 10 * scale);
        }
    }

    void aPinThatIsInIsFilled()
    {
        const auto inside = [](const char* name) {
            return qAlpha(SymbolImage::image(QString::fromLatin1(name), 12, Qt::black, 4).pixel(28, 14));
        };
        QCOMPARE(inside("pin"), 0);
        QCOMPARE(inside("pin.fill"), 255);
    }

    // The sidebar shows these symbols in one column. They have the same size and colour.
    void theSymbolsOfTheSidebarAreToldApart()
    {
        const auto inkOf = [](const char* name) {
            const QImage image = SymbolImage::image(QString::fromLatin1(name), 14, Qt::black, 4);
            QSet<std::pair<int, int>> ink;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qAlpha(image.pixel(x, y)) > 127)
                        ink.insert({ x - image.width() / 2, y });
                }
            }
            return ink;
        };
        const QList<const char*> pages { "menubar.rectangle", "macwindow", "gearshape" };
        for (int i = 0; i < pages.size(); ++i) {
            for (int j = 0; j < i; ++j) {
                auto common = inkOf(pages[i]);
                auto all = common;
                common.intersect(inkOf(pages[j]));
                all.unite(inkOf(pages[j]));
                const double share = double(common.size()) / double(all.size());
                QVERIFY2(share < 0.4,
                    qPrintable(QStringLiteral("%1 and %2: %3")
                                   .arg(QLatin1StringView(pages[i]), QLatin1StringView(pages[j]))
                                   .arg(share)));
            }
        }
    }

    void sizesAreHalfPoints()
    {
        for (const double pointSize : { 9.0, 11.0, 12.0, 13.0, 16.0, 40.0 }) {
            for (const char* name : names) {
                const QSizeF size = SymbolImage::size(QString::fromLatin1(name), pointSize);
                QCOMPARE_ROW(name, std::round(size.width() * 2), size.width() * 2);
                QVERIFY2(std::abs(size.height() - 14 * pointSize / 12) <= 0.25, name);
            }
        }
    }

    void symbolIsInTheAskedColour()
    {
        const QColor colour(0xF2, 0x30, 0x44);
        const QImage image = SymbolImage::image(QStringLiteral("menubar.rectangle"), 12, colour, 4);
        QCOMPARE(image.devicePixelRatio(), 4.0);
        // This place is inside the symbol's filled bar.
        QCOMPARE(image.pixelColor(32, 16), colour);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() == 255)
                    QCOMPARE(pixel, colour);
            }
        }
    }

    void oddScalesAreRoundedUpToWholePixels()
    {
        const QSizeF size = SymbolImage::size(QStringLiteral("cpu"), 12);
        const QImage image = SymbolImage::image(QStringLiteral("cpu"), 12, Qt::black, 1.3);
        QCOMPARE(image.width(), int(std::ceil(size.width() * 1.3)));
        QCOMPARE(image.height(), int(std::ceil(size.height() * 1.3)));
    }

    void unknownNamesDrawNothing()
    {
        for (const char* name : { "cpu.fill", "", "../../etc/hostname", "CPU" }) {
            QCOMPARE_ROW(name, SymbolImage::size(QString::fromLatin1(name), 12), QSizeF(0, 0));
            QVERIFY2(SymbolImage::image(QString::fromLatin1(name), 12, Qt::black, 2).isNull(), name);
        }
    }

    void noSizeDrawsNothing()
    {
        QCOMPARE(SymbolImage::size(QStringLiteral("cpu"), 0), QSizeF(0, 0));
        QVERIFY(SymbolImage::image(QStringLiteral("cpu"), -1, Qt::black, 2).isNull());
        QVERIFY(SymbolImage::image(QStringLiteral("cpu"), 12, Qt::black, 0).isNull());
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, SymbolImageTest)
#include "SymbolImageTest.moc"
