#include "KestrumShared/Popover/PopoverHeader.h"

#include "KestrumShared/Popover/CompactHeader.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

const QRectF whole(0, 0, 300, 38);

PopoverHeader header()
{
    PopoverHeader header;
    header.title = QStringLiteral("Memory");
    header.icon = QStringLiteral("memorychip");
    header.value = QStringLiteral("64 %");
    return header;
}

PopoverHeader withTabs()
{
    PopoverHeader header = ::header();
    for (const char* icon : { "cpu", "memorychip", "internaldrive", "sensor" })
        header.tabs.append({ QString::fromLatin1(icon), QString::fromLatin1(icon),
            { PanelAction::Kind::showSection, QString::fromLatin1(icon) } });
    header.tabs[1].isCurrent = true;
    return header;
}

/// The element that does `kind`.
PanelElement found(const PopoverHeader& header, PanelAction::Kind kind, const PanelEnvironment& environment)
{
    for (const PanelElement& element : header.describe(whole, environment)) {
        if (element.action.kind == kind)
            return element;
    }
    return {};
}

PanelEnvironment rows(Qt::LayoutDirection direction = Qt::LeftToRight)
{
    PanelEnvironment environment = in(light, direction);
    environment.font = PanelEnvironment::systemFont(12);
    return environment;
}

} // namespace

class PopoverHeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aHeaderBeginsAsThatOfTheSample()
    {
        const PopoverHeader part = header();
        QCOMPARE(part.height(rows()), 38.0);
        const QImage sample
            = drawn(CompactHeader { part.title, part.icon }, rows(), 300).image().copy(0, 0, 200, 76);
        QCOMPARE(drawn(part, rows(), 300).image().copy(0, 0, 200, 76), sample);
    }

    void pinAndGearStandAtTheTrailingEnd()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const auto distance = [&](const QRectF& rect) {
                return direction == Qt::RightToLeft ? rect.center().x() : 300 - rect.center().x();
            };
            const PanelPixels pixels = drawn(header(), rows(direction), 300);
            const QRectF gear = found(header(), PanelAction::Kind::openSettings, rows(direction)).rect;
            const QRectF pin = found(header(), PanelAction::Kind::togglePin, rows(direction)).rect;
            QCOMPARE(gear.size(), QSizeF(24, 24));
            QCOMPARE(pin.size(), QSizeF(24, 24));
            QCOMPARE(gear.center().y(), 19.0);
            QCOMPARE(distance(gear), 12.0 + 7);
            QCOMPARE(distance(pin), 12.0 + 7 + 26);
            for (const QRectF& target : { gear, pin }) {
                const QRectF ink = pixels.drawn(target);
                QVERIFY_NEAR(ink.center().x(), target.center().x(), 0.6);
                QVERIFY_NEAR(ink.center().y(), target.center().y(), 0.6);
            }
        }
    }

    void theValueStandsBeforeThePinAndIsNeverShortened()
    {
        PopoverHeader part = header();
        part.title = QString(80, u'H');
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const bool isMirrored = direction == Qt::RightToLeft;
            const QRectF place(isMirrored ? 60 : 200, 0, 40, 38);
            const QRectF plain = drawn(header(), rows(direction), 300).drawn(place);
            QVERIFY(plain.width() > 25);
            QVERIFY_NEAR(isMirrored ? plain.left() : 300 - plain.right(), 64.0, 1.5);
            QCOMPARE(drawn(part, rows(direction), 300).drawn(plain.adjusted(-3, 0, 3, 0)), plain);
        }
    }

    void digitsOfTheValueDoNotMove()
    {
        const auto left = [](const char* value) {
            PopoverHeader part;
            part.value = QString::fromLatin1(value);
            part.icon = QStringLiteral("none");
            return drawn(part, rows(), 300).drawn(QRectF(100, 0, 140, 38));
        };
        QVERIFY_NEAR(left("18 %").right(), left("84 %").right(), 0.1);
        QVERIFY_NEAR(left("81 W").left(), left("80 W").left(), 0.1);
    }

    void aPinThatIsInIsFilledAndColoured()
    {
        PopoverHeader part = header();
        const QRectF place = found(part, PanelAction::Kind::togglePin, rows()).rect;
        QVERIFY(drawn(part, rows(), 300).drawn(place, rows().headerColour()).isNull());
        QVERIFY(!found(part, PanelAction::Kind::togglePin, rows()).isChecked);
        part.isPinned = true;
        QVERIFY(!drawn(part, rows(), 300).drawn(place, rows().headerColour()).isNull());
        QVERIFY(found(part, PanelAction::Kind::togglePin, rows()).isChecked);
    }

    void aSymbolHasAPlateAtThePointer()
    {
        PanelEnvironment environment = rows();
        const QRectF gear = found(header(), PanelAction::Kind::openSettings, environment).rect;
        environment.pointer = gear.topLeft() + QPointF(1, 1);
        const PanelPixels pixels = drawn(header(), environment, 300);
        QCOMPARE(pixels.drawn(gear), gear);
        QVERIFY_COLOUR(
            pixels.at(gear.left() + 4, gear.top() + 2), laidOver(environment.trackColour(), Qt::white));
        QVERIFY(header().pointedPlace(whole, environment) != header().pointedPlace(whole, rows()));
    }

    void tabsStandInPlaceOfTheSymbol()
    {
        const PopoverHeader part = withTabs();
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const PanelPixels pixels = drawn(part, rows(direction), 300);
            const QList<PanelElement> told = part.describe(whole, rows(direction));
            for (int i = 0; i < 4; ++i) {
                QCOMPARE(told[i].role, PanelElement::Role::tab);
                QCOMPARE(told[i].isChecked, i == 1);
                QCOMPARE(told[i].action, part.tabs[i].action);
                QCOMPARE(pixels.drawn(told[i].rect, rows().headerColour()).isNull(), i != 1);
                QVERIFY(!pixels.drawn(told[i].rect).isNull());
                const double middle = told[i].rect.center().x();
                QCOMPARE(direction == Qt::RightToLeft ? 300 - middle : middle, 12.0 + 7 + 26 * i);
            }
            QVERIFY(!pixels.drawn(told[4].rect).isNull());
            QVERIFY(!told[4].rect.intersects(told[3].rect.adjusted(5, 0, -5, 0)));
        }
    }

    void aHeaderIsToldInWords()
    {
        const QList<PanelElement> told = header().describe(whole, rows());
        QCOMPARE(told.size(), 3);
        QCOMPARE(told[0].name, QStringLiteral("Memory, 64 %"));
        QCOMPARE(told[0].columns, (QStringList { QStringLiteral("Memory"), QStringLiteral("64 %") }));
        QCOMPARE(told[1].role, PanelElement::Role::checkBox);
        QCOMPARE(told[1].name, QStringLiteral("Keep open"));
        QCOMPARE(told[2].role, PanelElement::Role::button);
        QCOMPARE(told[2].name, QStringLiteral("Settings…"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PopoverHeaderTest)
#include "PopoverHeaderTest.moc"
