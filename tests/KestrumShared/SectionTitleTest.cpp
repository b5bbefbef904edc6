#include "KestrumShared/Popover/SectionTitle.h"

#include "KestrumShared/Popover/ColumnRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const PanelAction press { PanelAction::Kind::openSystemMonitor };
const PanelAction reset { PanelAction::Kind::resetHighest };

SectionTitle apps()
{
    return { QStringLiteral("APPS"), { { QStringLiteral("HH"), 44 }, { QStringLiteral("HHH"), 44 } } };
}

} // namespace

class SectionTitleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void headsStandAboveTheNumbersOfTheirColumns()
    {
        const ColumnRow row { QStringLiteral("H"),
            { { QStringLiteral("HH"), 44 }, { QStringLiteral("HHH"), 44 } } };
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const bool isMirrored = direction == Qt::RightToLeft;
            const PanelPixels title = drawn(apps(), in(light, direction));
            const PanelPixels numbers = drawn(row, in(light, direction));
            // The last column, and the one before it.
            for (const double distance : { 0.0, 44.0 }) {
                const QRectF column(isMirrored ? distance : 200 - 44 - distance, 0, 44, 20);
                const QRectF head = title.drawn(column);
                const QRectF number = numbers.drawn(column);
                QVERIFY(!head.isNull() && !number.isNull());
                QVERIFY_NEAR(isMirrored ? head.left() : head.right(),
                    isMirrored ? number.left() : number.right(), 0.6);
            }
        }
    }

    void headsAreSecondaryAndTheTitleIsNot()
    {
        const PanelPixels pixels = drawn(apps(), in(light));
        QVERIFY(!pixels.drawn(QRectF(0, 0, 60, 20), in(light).headerColour()).isNull());
        QVERIFY(pixels.drawn(QRectF(100, 0, 100, 20), in(light).headerColour()).isNull());
        QVERIFY(!pixels.drawn(QRectF(100, 0, 100, 20), in(light).secondaryTextColour()).isNull());
    }

    void aLongTitleIsShortenedAndAHeadIsNot()
    {
        SectionTitle title { QString(60, u'H'), { { QStringLiteral("Last 5 minutes") } } };
        const QRectF head = drawn(SectionTitle { QString(), title.heads }, in(light)).drawn(everywhere);
        for (const PanelAction& action : { PanelAction(), press }) {
            title.action = action;
            const PanelPixels pixels = drawn(title, in(light));
            QCOMPARE(pixels.drawn(QRectF(head.left() - 6, 0, 200, 20)), head);
            QVERIFY(pixels.drawn(QRectF(0, 0, head.left() - 6, 20)).right() > head.left() - 30);
        }
    }

    void anArrowStandsBehindATitleThatCanBePressed()
    {
        SectionTitle title { QStringLiteral("APPS") };
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const bool isMirrored = direction == Qt::RightToLeft;
            title.action = {};
            const QRectF plain = drawn(title, in(light, direction)).drawn(everywhere);
            title.action = press;
            const PanelPixels pixels = drawn(title, in(light, direction));
            const QRectF all = pixels.drawn(everywhere);
            QVERIFY_NEAR(
                isMirrored ? all.right() : all.left(), isMirrored ? plain.right() : plain.left(), 0.1);
            const double more = all.width() - plain.width();
            QVERIFY(more > 8 && more < 14);
            // The arrow points away from the title, and upwards.
            const double tip = isMirrored ? all.left() : all.right() - 1.5;
            const QRectF edge = pixels.drawn(QRectF(tip, 0, 1.5, 20));
            QVERIFY(edge.center().y() < 6);
        }
    }

    void whatCanBePressedHasAPlateAtThePointer()
    {
        SectionTitle title = apps();
        title.heads[0].action = reset;
        PanelEnvironment environment = in(light);
        const QImage plain = drawn(title, environment).image();
        environment.pointer = QPointF(10, 5);
        QCOMPARE(drawn(title, environment).image(), plain);
        environment.pointer = QPointF(150, 5);
        QVERIFY(drawn(title, environment).image() != plain);
        QCOMPARE(title.pointedPlace(QRectF(0, 0, 200, 12), environment), 1);
        title.action = press;
        environment.pointer = QPointF(10, 5);
        QCOMPARE(title.pointedPlace(QRectF(0, 0, 200, 12), environment), 0);
    }

    void aTitleIsToldWithItsHeads()
    {
        const QRectF rect(12, 30, 200, 12);
        const QList<PanelElement> told = SectionTitle { QStringLiteral("CORES"),
            { { QStringLiteral("16") } } }.describe(rect, in(light));
        QCOMPARE(told.size(), 1);
        QCOMPARE(told[0].role, PanelElement::Role::text);
        QCOMPARE(told[0].name, QStringLiteral("CORES, 16"));
        QCOMPARE(told[0].columns, (QStringList { QStringLiteral("CORES"), QStringLiteral("16") }));
        QCOMPARE(told[0].rect, rect);
    }

    void whatCanBePressedIsAButtonWhereItIsDrawn()
    {
        SectionTitle title = apps();
        title.action = press;
        title.spoken = QStringLiteral("Open System Monitor");
        title.heads[0].action = reset;
        title.heads[1].tip = QStringLiteral("Your own programs");
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const QList<PanelElement> told = title.describe(QRectF(0, 0, 200, 12), in(light, direction));
            QCOMPARE(told.size(), 3);
            QCOMPARE(told[0].role, PanelElement::Role::button);
            QCOMPARE(told[0].name, QStringLiteral("APPS, Open System Monitor"));
            QCOMPARE(told[0].action, press);
            QCOMPARE(told[1].role, PanelElement::Role::button);
            QCOMPARE(told[1].action, reset);
            QCOMPARE(told[2].role, PanelElement::Role::text);
            QCOMPARE(told[2].tip, title.heads[1].tip);
            const PanelPixels pixels = drawn(title, in(light, direction));
            double ink = 0;
            for (const PanelElement& element : told) {
                const QRectF found = pixels.drawn(element.rect);
                QVERIFY_NEAR(found.width(), element.rect.width(), 3.0);
                ink += found.width();
            }
            // Nothing is drawn elsewhere.
            QVERIFY(ink < pixels.drawn(everywhere).width());
            QCOMPARE(told[0].rect.left() > 100, direction == Qt::RightToLeft);
            QCOMPARE(told[1].rect.left() > told[2].rect.left(), direction == Qt::RightToLeft);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, SectionTitleTest)
#include "SectionTitleTest.moc"
