#include "KestrumShared/Popover/ColumnRow.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/HistoryGraph.h"
#include "KestrumShared/Popover/InsetDivider.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/SectionTitle.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <limits>

using namespace kestrum;
using namespace PanelFixture;

namespace {

PanelElement onlyElement(const PanelPart& part, const QRectF& rect = QRectF(0, 0, 200, 12))
{
    const QList<PanelElement> told = part.describe(rect, in(light));
    return told.size() == 1 ? told.first() : PanelElement {};
}

} // namespace

/// How the parts that hold or say something are told in words. Titles, graphs, cores and headers have tests of their own.
class PanelDescriptionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aValueIsARowOfTitleAndValue()
    {
        const PanelElement row
            = onlyElement(ValueRow { QStringLiteral("Temperature"), QStringLiteral("48°C") });
        QCOMPARE(row.role, PanelElement::Role::row);
        QCOMPARE(row.name, QStringLiteral("Temperature, 48°C"));
        QCOMPARE(row.columns, (QStringList { QStringLiteral("Temperature"), QStringLiteral("48°C") }));
        QCOMPARE(row.rect, QRectF(0, 0, 200, 12));
        QCOMPARE(onlyElement(ValueRow { QStringLiteral("Temperature"), QString() }).name,
            QStringLiteral("Temperature"));
    }

    void aBarTellsItsShare()
    {
        PanelElement bar = onlyElement(MetricProgressBar { 0.4, std::nullopt, QStringLiteral("Pressure") });
        QCOMPARE(bar.role, PanelElement::Role::bar);
        QCOMPARE(bar.name, QStringLiteral("Pressure"));
        QCOMPARE(bar.fraction, std::optional(0.4));
        for (const auto& [value, share] : { std::pair(-1.0, 0.0), std::pair(7.0, 1.0),
                 std::pair(std::numeric_limits<double>::quiet_NaN(), 0.0) })
            QCOMPARE(onlyElement(MetricProgressBar { value }).fraction, std::optional(share));
        QVERIFY2(!onlyElement(MetricProgressBar { std::nullopt }).fraction, "unknown is not 0 %");
    }

    void decorationsAreNotTold()
    {
        QVERIFY(PanelPart(InsetDivider {}).describe(QRectF(0, 0, 200, 1), in(light)).isEmpty());
        QVERIFY(PanelPart(PanelDivider {}).describe(QRectF(0, 0, 200, 1), in(light)).isEmpty());
    }

    void aSectionIsAGroupWithTheNameOfItsTitle()
    {
        HistoryGraph graph;
        graph.title = QStringLiteral("USAGE");
        graph.name = QStringLiteral("Usage");
        graph.lines.append(HistoryGraph::Line {});
        const ValueRow row { QStringLiteral("Load"), QStringLiteral("1") };
        SectionTitle apps { QStringLiteral("APPS"), { { QStringLiteral("Cores") } } };
        apps.action = { PanelAction::Kind::openSystemMonitor };
        apps.spoken = QStringLiteral("Open System Monitor");
        const std::pair<DenseSection, const char*> sections[]
            = { { { QStringLiteral("VOLUMES"), { row } }, "VOLUMES" },
                  { { std::nullopt, { apps, row } }, "APPS" }, { { std::nullopt, { graph } }, "USAGE" },
                  { { std::nullopt, { row } }, "Load" }, { {}, "" } };
        for (const auto& [section, name] : sections) {
            const PanelElement group = onlyElement(section);
            QCOMPARE(group.role, PanelElement::Role::group);
            QCOMPARE(group.name, QString::fromLatin1(name));
        }
    }

    void whatTheTitleDoesNotSpeakOfIsOutsideTheGroup()
    {
        const ValueRow app { QStringLiteral("Firefox"), QStringLiteral("3.9") };
        const ValueRow load { QStringLiteral("Load"), QStringLiteral("1") };
        const DenseSection apart { QStringLiteral("APPS"), { app }, { InsetDivider {}, load } };
        const DenseSection together { QStringLiteral("APPS"), { app, InsetDivider {}, load } };
        QCOMPARE(drawn(apart, in(light)).image(), drawn(together, in(light)).image());
        const QRectF rect(0, 0, 200, apart.height(in(light)));
        const QList<PanelElement> told = apart.describe(rect, in(light));
        QCOMPARE(told.size(), 2);
        QCOMPARE(told[0].name, QStringLiteral("APPS"));
        QCOMPARE(told[0].children.size(), 2);
        QCOMPARE(told[1].rect, together.describe(rect, in(light))[0].children[2].rect);
        QVERIFY(!told[0].rect.intersects(told[1].rect)); // readers look for what is at a place
    }

    void theElementsOfASectionAreWhereItsPartsAreDrawn()
    {
        const ValueRow first { QStringLiteral("HHH"), QStringLiteral("HHH") };
        const ColumnRow second { QStringLiteral("HH"), { { QStringLiteral("HH"), 44 } } };
        const DenseSection section { QStringLiteral("HIHI"),
            { first, InsetDivider {}, PanelStack { { second, MetricProgressBar { 1 } }, 4 } } };
        PanelEnvironment environment = in(light);
        environment.font = PanelEnvironment::systemFont(12);
        const QRectF rect(7, 30, 250, section.height(environment));
        const PanelPixels pixels(
            { 300, 200 }, [&](QPainter& painter) { section.draw(painter, rect, environment); });
        const PanelElement group = section.describe(rect, environment).constFirst();
        QCOMPARE(group.rect, rect);
        QCOMPARE(group.children.size(), 4);
        QCOMPARE(group.children[3].role, PanelElement::Role::bar);
        QCOMPARE(pixels.drawn(group.children[3].rect.adjusted(-1, -1, 1, 1)), group.children[3].rect);
        for (const PanelElement& element : group.children) {
            QCOMPARE(element.rect.left(), 19.0);
            QCOMPARE(element.rect.width(), 226.0);
            const QRectF ink = pixels.drawn(element.rect.adjusted(0, -3, 0, 3));
            QVERIFY(element.rect.contains(ink));
            QVERIFY(ink.height() > 6);
        }
    }

    void theElementsOfAStackFollowEachOther()
    {
        const PanelStack stack { { ValueRow { QStringLiteral("H"), QString() }, PanelDivider {},
                                     ValueRow { QStringLiteral("I"), QString() } },
            5 };
        const QList<PanelElement> told
            = stack.describe(QRectF(3, 4, 200, stack.height(in(light))), in(light));
        QCOMPARE(told.size(), 2);
        const double line = told[0].rect.height();
        QCOMPARE(told[0].rect, QRectF(3, 4, 200, line));
        QCOMPARE(told[1].rect, QRectF(3, 4 + line + 5 + 1 + 5, 200, line));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelDescriptionTest)
#include "PanelDescriptionTest.moc"
