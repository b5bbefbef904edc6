#include "KestrumShared/Popover/ValueRow.h"

#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

class ValueRowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aRowsDotIsSevenSquareAndSixBeforeTheTitle()
    {
        const ValueRow row { QStringLiteral("H"), QString(), QColor(Qt::red) };
        const PanelPixels pixels = drawn(row, in(light));
        const QRectF dot = pixels.drawn(QRectF(0, 0, 10, 30));
        QCOMPARE(dot.size(), QSizeF(7, 7));
        QCOMPARE(dot.left(), 0.0);
        QVERIFY_NEAR(dot.center().y(), row.height(in(light)) / 2, 0.5);
        const ValueRow bare { row.title, QString() };
        QCOMPARE(pixels.drawn(QRectF(8, 0, 100, 30)),
            drawn(bare, in(light)).drawn(everywhere).translated(7 + 6, 0));
    }

    void aRowsDotIsRoundedByOne()
    {
        const ValueRow row { QString(), QString(), QColor(Qt::red) };
        const PanelPixels pixels(
            { 7, 7 }, [&](QPainter& painter) { row.draw(painter, QRectF(0, 0, 7, 7), in(light)); }, Qt::white,
            20);
        // On the diagonal, a corner of radius 1 begins at 0.29; with radius 2 it would be 0.59.
        for (const double x : { 0.0, 1.0 }) {
            for (const double y : { 0.0, 1.0 }) {
                const auto at = [&](double inset) {
                    return pixels.at(x == 0 ? inset : 7 - inset, y == 0 ? inset : 7 - inset);
                };
                QCOMPARE(at(0.2), QColor(Qt::white));
                QCOMPARE(at(0.45), QColor(Qt::red));
            }
        }
    }

    void titleAndValueStandOnOneLine()
    {
        const ValueRow row { QStringLiteral("H"), QStringLiteral("H"), QColor(Qt::red) };
        const PanelPixels pixels = drawn(row, in(light));
        const QRectF title = pixels.drawn(QRectF(8, 0, 92, 30));
        const QRectF value = pixels.drawn(QRectF(100, 0, 100, 30));
        QVERIFY_NEAR(value.bottom(), title.bottom(), 0.5);
        QVERIFY_NEAR(value.top(), title.top(), 0.5);
    }

    void aRowWithoutAColourHasNoDotAndNoGapForIt()
    {
        const ValueRow row { QStringLiteral("H"), QString() };
        const QRectF title = drawn(row, in(light)).drawn(everywhere);
        QVERIFY_NEAR(title.left(), QFontMetricsF(in(light).font).leftBearing(QLatin1Char('H')), 0.6);
    }

    void aRowsTitleIsSecondaryAndItsValueIsNot()
    {
        for (const ColourScheme scheme : { light, dark }) {
            const PanelEnvironment environment = in(scheme);
            const ValueRow row { QStringLiteral("HHHH"), QStringLiteral("HHHH") };
            const PanelPixels pixels = drawn(row, environment);
            QVERIFY(!pixels.drawn(QRectF(0, 0, 100, 30), environment.secondaryTextColour()).isNull());
            QVERIFY(pixels.drawn(everywhere, environment.textColour()).left() > 100);
        }
    }

    void aRowsValueEndsAtTheTrailingEdge()
    {
        const ValueRow row { QString(), QStringLiteral("10.24 GB") };
        const QRectF value = drawn(row, in(light)).drawn(everywhere);
        QVERIFY(value.left() > 150);
        QVERIFY_NEAR(value.right(), 200.0, 1.2);
        const QRectF mirrored = drawn(row, in(light, Qt::RightToLeft)).drawn(everywhere);
        QVERIFY_NEAR(mirrored.left(), 0.0, 1.5);
    }

    void digitsOfValuesAreAllAsWide()
    {
        // Without digits of equal width, Inter's "1" is narrower than Inter's "8".
        const QFontMetricsF metrics(in(light).font);
        QVERIFY(
            metrics.horizontalAdvance(QLatin1Char('8')) > metrics.horizontalAdvance(QLatin1Char('1')) + 1);
        const auto start = [](const QString& value) {
            return drawn(ValueRow { QString(), value }, in(light)).drawn(everywhere).left();
        };
        QVERIFY_NEAR(start(QStringLiteral("H1111")), start(QStringLiteral("H8888")), 0.1);
    }

    void textsOfARowHaveTheFontAroundIt()
    {
        PanelEnvironment environment = in(light);
        const ValueRow row { QStringLiteral("HHHH"), QStringLiteral("8888") };
        const PanelPixels small = drawn(row, environment);
        environment.font = PanelEnvironment::systemFont(20);
        QVERIFY_NEAR(row.height(environment), std::round(QFontMetricsF(environment.font).height()), 0.01);
        const PanelPixels large = drawn(row, environment);
        for (const QRectF& half : { QRectF(0, 0, 100, 50), QRectF(100, 0, 100, 50) })
            QVERIFY_NEAR(large.drawn(half).width(), 2 * small.drawn(half).width(), 2.0);
    }

    void aRowOfSmallTextHasRoomForItsDot()
    {
        PanelEnvironment environment = in(light);
        environment.font = PanelEnvironment::systemFont(4);
        QCOMPARE((ValueRow { QStringLiteral("H"), QString(), QColor(Qt::red) }.height(environment)), 7.0);
    }

    void aLongTitleIsCutAndTheValueIsNot()
    {
        const QString value = QStringLiteral("10.24 GB");
        const double whole = drawn(ValueRow { QString(), value }, in(light), 100).drawn(everywhere).width();
        const ValueRow row { QStringLiteral("Memory that is used by all applications"), value,
            QColor(Qt::red) };
        const PanelPixels pixels = drawn(row, in(light), 100);
        const double start = 100 - whole;
        QVERIFY(pixels.drawn(QRectF(start - 5.5, 0, 4, 30)).isNull());
        QVERIFY_NEAR(pixels.drawn(QRectF(start - 2, 0, 200, 30)).width(), whole, 0.6);
        QVERIFY(pixels.drawn(QRectF(8, 0, start - 14, 30)).width() > 20);
    }

    void aValueWithLettersFromTheRightIsSetByTheirRules()
    {
        // The joined forms of these letters are narrower than the separate forms.
        const QString value = QStringLiteral("غيغابايت");
        const PanelEnvironment environment = in(light, Qt::RightToLeft);
        const QRectF ink = drawn(ValueRow { QString(), value }, environment).drawn(everywhere);
        QVERIFY_NEAR(ink.width(), QFontMetricsF(environment.font).tightBoundingRect(value).width(), 2.0);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ValueRowTest)
#include "ValueRowTest.moc"
