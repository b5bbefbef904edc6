#include "KestrumShared/Popover/ColumnRow.h"

#include "KestrumShared/Popover/ValueRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

ColumnRow row(const QString& name = QStringLiteral("HHH"))
{
    return { name, { { QStringLiteral("HH"), 44, true }, { QStringLiteral("HH"), 44 } } };
}

} // namespace

class ColumnRowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aRowIsAsHighAsOtherRows()
    {
        PanelEnvironment environment = in(light);
        for (const int size : { 10, 12, 20 }) {
            environment.font = PanelEnvironment::systemFont(size);
            QCOMPARE(row().height(environment),
                (ValueRow { QStringLiteral("H"), QStringLiteral("H") }.height(environment)));
            QCOMPARE(row(QString()).height(environment), row().height(environment));
        }
    }

    void columnsEndAtTheirTrailingEdges()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const PanelPixels pixels = drawn(row(), in(light, direction));
            const bool isMirrored = direction == Qt::RightToLeft;
            const QRectF last = pixels.drawn(QRectF(isMirrored ? 0 : 156, 0, 44, 20));
            const QRectF first = pixels.drawn(QRectF(isMirrored ? 44 : 112, 0, 44, 20));
            QVERIFY_NEAR(isMirrored ? last.left() : 200 - last.right(), 1.0, 1.0);
            QVERIFY_NEAR(std::abs(last.left() - first.left()), 44.0, 0.1);
            const QRectF name = pixels.drawn(QRectF(isMirrored ? 100 : 0, 0, 100, 20));
            QVERIFY_NEAR(isMirrored ? 200 - name.right() : name.left(), 1.0, 1.0);
        }
    }

    void theNameIsShortenedAndNoNumberIs()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const bool isMirrored = direction == Qt::RightToLeft;
            const QRectF numbers(isMirrored ? 0 : 136, 0, 64, 20);
            const PanelPixels with = drawn(row(QString(80, u'H')), in(light, direction));
            QCOMPARE(with.image().copy(QRectF(numbers.topLeft() * 2, numbers.size() * 2).toRect()),
                drawn(row(QStringLiteral("H")), in(light, direction))
                    .image()
                    .copy(QRectF(numbers.topLeft() * 2, numbers.size() * 2).toRect()));
            const QRectF name = with.drawn(QRectF(isMirrored ? 64 : 0, 0, 136, 20));
            QVERIFY(name.width() > 110);
        }
    }

    void aNumberWiderThanItsColumnIsWhole()
    {
        ColumnRow wide { QStringLiteral("H"), { { QStringLiteral("HHHHHHHHHH"), 20 } } };
        const QRectF narrow = drawn(wide, in(light)).drawn(QRectF(100, 0, 100, 20));
        wide.columns[0].width = 90;
        QCOMPARE(drawn(wide, in(light)).drawn(QRectF(100, 0, 100, 20)), narrow);
    }

    void coloursAreThoseOfTheTexts()
    {
        ColumnRow part = row();
        PanelPixels pixels = drawn(part, in(light));
        const QRectF first(112, 0, 44, 20);
        const QRectF last(156, 0, 44, 20);
        const QRectF name(0, 0, 60, 20);
        QVERIFY(!pixels.drawn(first, in(light).secondaryTextColour()).isNull());
        QVERIFY(!pixels.drawn(last, in(light).textColour()).isNull());
        QVERIFY(!pixels.drawn(name, in(light).textColour()).isNull());
        part.isNameSecondary = true;
        part.columns[1].colour = QColor(0xF0, 0xB0, 0x40);
        pixels = drawn(part, in(light));
        QVERIFY(pixels.drawn(name, in(light).textColour()).isNull());
        QVERIFY(!pixels.drawn(name, in(light).secondaryTextColour()).isNull());
        const QColor readable = in(light).readable(*part.columns[1].colour, 4.5);
        QVERIFY(readable != *part.columns[1].colour);
        QVERIFY(!pixels.drawn(last, readable).isNull());
    }

    void dotAndIndentMoveTheName()
    {
        const double plain = drawn(row(), in(light)).drawn(everywhere).left();
        ColumnRow part = row();
        part.indent = 10;
        QVERIFY_NEAR(drawn(part, in(light)).drawn(everywhere).left(), plain + 10, 0.1);
        part.colour = Qt::red;
        const PanelPixels pixels = drawn(part, in(light));
        QCOMPARE(pixels.drawn(everywhere, Qt::red).left(), 10.0);
        QVERIFY_NEAR(pixels.drawn(QRectF(19, 0, 100, 20)).left(), plain + 10 + 7 + 6, 0.1);
    }

    void aRowWithoutANameIsBlank()
    {
        ColumnRow part = row(QString());
        part.action = { PanelAction::Kind::toggleDevice };
        PanelEnvironment environment = in(light);
        environment.pointer = QPointF(50, 5);
        QVERIFY(drawn(part, environment).drawn(everywhere).isNull());
        QVERIFY(part.describe(QRectF(0, 0, 200, 12), environment).isEmpty());
    }

    void onlyARowThatCanBePressedHasAPlate()
    {
        ColumnRow part = row();
        PanelEnvironment environment = in(light);
        environment.pointer = QPointF(50, 5);
        QCOMPARE(drawn(part, environment).image(), drawn(part, in(light)).image());
        part.action = { PanelAction::Kind::toggleDevice };
        QVERIFY_COLOUR(drawn(part, environment).at(80, 1), laidOver(environment.trackColour(), Qt::white));
    }

    void aRowIsToldInWords()
    {
        ColumnRow part { QStringLiteral("Firefox"),
            { { QStringLiteral("3.9"), 44 }, { QString(), 44 }, { QStringLiteral("24 %"), 44 } } };
        const QRectF rect(12, 30, 276, 15);
        PanelElement told = part.describe(rect, in(light)).constFirst();
        QCOMPARE(told.role, PanelElement::Role::row);
        QCOMPARE(told.name, QStringLiteral("Firefox, 3.9, 24 %"));
        QCOMPARE(told.columns,
            (QStringList { QStringLiteral("Firefox"), QStringLiteral("3.9"), QStringLiteral("24 %") }));
        QCOMPARE(told.rect, rect);
        part.spoken = QStringLiteral("Firefox, cores 3.9, CPU 24 %");
        part.action = { PanelAction::Kind::toggleDevice, QStringLiteral("id") };
        told = part.describe(rect, in(light)).constFirst();
        QCOMPARE(told.name, part.spoken);
        QCOMPARE(told.action, part.action);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, ColumnRowTest)
#include "ColumnRowTest.moc"
