#include "KestrumShared/Popover/ColumnRow.h"
#include "KestrumShared/Popover/CoreBars.h"
#include "KestrumShared/Popover/DenseSection.h"
#include "KestrumShared/Popover/FlowGraph.h"
#include "KestrumShared/Popover/HistoryGraph.h"
#include "KestrumShared/Popover/InsetDivider.h"
#include "KestrumShared/Popover/MetricProgressBar.h"
#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverHeader.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <functional>

using namespace kestrum;
using namespace PanelFixture;

namespace {

constexpr double panelWidth = 300;

/// What the parts of a panel show. Each value is shown by one part.
struct Shown {
    double value = 0.3;
    double core = 0.3;
    double rate = 1e6;
    QString header = QStringLiteral("49 %");
    QString app = QStringLiteral("3.9");
    QString row = QStringLiteral("48°C");
    double bar = 0.4;
    int apps = 2;
};

PanelPart panel(const Shown& shown)
{
    const auto history = [](double value) {
        QList<HistoryPoint> points;
        for (int i = 149; i >= 0; --i)
            points.append({ 2.0 * i, i == 0 ? value : 0.2 * value });
        return points;
    };
    PopoverHeader header;
    header.title = QStringLiteral("CPU");
    header.icon = QStringLiteral("cpu");
    header.value = shown.header;
    HistoryGraph graph;
    graph.title = QStringLiteral("USAGE");
    graph.lines = { { history(shown.value), Qt::blue } };
    graph.text = [](double value) { return QString::number(value); };
    FlowGraph flow;
    flow.title = { QStringLiteral("ACTIVITY") };
    flow.up = flow.down = history(shown.rate);
    flow.upColour = flow.downColour = Qt::blue;
    flow.text = graph.text;
    CoreBars cores;
    cores.title = QStringLiteral("CORES");
    cores.tiers = { { QString(), { 0.1, shown.core, 0.9 }, Qt::blue } };
    DenseSection apps;
    apps.content = { SectionTitle { QStringLiteral("APPS"), { { QStringLiteral("Cores"), 44 } },
        { PanelAction::Kind::openSystemMonitor } } };
    for (int i = 0; i < shown.apps; ++i) {
        ColumnRow row { QStringLiteral("Firefox"), { { i == 1 ? shown.app : QStringLiteral("2.2"), 44 } } };
        row.action = { PanelAction::Kind::toggleDevice };
        apps.content.append(row);
    }
    apps.content += { InsetDivider {}, ValueRow { QStringLiteral("Temperature"), shown.row },
        MetricProgressBar { shown.bar } };
    return PanelStack { { header, DenseSection { std::nullopt, { graph } },
        DenseSection { std::nullopt, { cores } }, DenseSection { std::nullopt, { flow } }, apps } };
}

} // namespace

class PanelChangesTest : public QObject {
    Q_OBJECT

    /// The changes from one panel to another. They hold all pixels that look different, and no rectangle holds none of them.
    static QList<QRectF> changes(const PanelPart& before, const PanelPart& now,
        const std::optional<QPointF>& pointerBefore = std::nullopt,
        const std::optional<QPointF>& pointer = std::nullopt)
    {
        PanelEnvironment environment = in(light);
        environment.pointer = pointerBefore;
        const QRectF rect(0, 0, panelWidth, now.height(environment));
        const QImage old = drawn(before, environment, panelWidth).image();
        environment.pointer = pointer;
        const QImage present = drawn(now, environment, panelWidth).image();
        const QList<QRectF> changes = now.changes(before, rect, environment, pointerBefore);
        QList<int> found(changes.size(), 0);
        int outside = 0;
        for (int y = 0; y < present.height(); ++y) {
            for (int x = 0; x < present.width(); ++x) {
                if (y < old.height() && old.pixel(x, y) == present.pixel(x, y))
                    continue;
                bool isInside = false;
                for (qsizetype i = 0; i < changes.size(); ++i) {
                    if (changes[i].contains(QPointF(x + 0.5, y + 0.5) / 2)) {
                        isInside = true;
                        ++found[i];
                    }
                }
                outside += isInside ? 0 : 1;
            }
        }
        if (outside > 0)
            QTest::qFail("pixels outside of the changes look different", __FILE__, __LINE__);
        if (found.contains(0))
            QTest::qFail("a change looks the same", __FILE__, __LINE__);
        return changes;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void anEqualPanelChangesNothing() { QVERIFY(changes(panel({}), panel({})).isEmpty()); }

    void aValueChangesThePartThatShowsIt()
    {
        const auto changed = [](const std::function<void(Shown&)>& change) {
            Shown shown;
            change(shown);
            return changes(panel({}), panel(shown));
        };
        const std::function<void(Shown&)> all[] = { [](Shown& shown) { shown.value = 0.9; },
            [](Shown& shown) { shown.core = 0.9; }, [](Shown& shown) { shown.rate = 7e6; },
            [](Shown& shown) { shown.header = QStringLiteral("50 %"); },
            [](Shown& shown) { shown.app = QStringLiteral("4.0"); },
            [](Shown& shown) { shown.row = QStringLiteral("49°C"); }, [](Shown& shown) { shown.bar = 0.5; } };
        double last = 0;
        for (const auto& change : all) {
            const QList<QRectF> rects = changed(change);
            QCOMPARE(rects.size(), 1);
            QVERIFY(rects.first().height() < 110);
            QVERIFY(rects.first().top() != last);
            last = rects.first().top();
        }
        Shown several;
        several.row = QStringLiteral("50°C");
        several.header = QStringLiteral("1 %");
        QCOMPARE(changes(panel({}), panel(several)).size(), 2);
    }

    void aRowMoreChangesItsSection()
    {
        Shown more;
        more.apps = 3;
        const PanelPart now = panel(more);
        const QRectF rect(0, 0, panelWidth, now.height(in(light)));
        QCOMPARE(now.changes(panel({}), rect, in(light), std::nullopt), QList<QRectF> { rect });
    }

    void aPartOfAnotherKindChanges()
    {
        const PanelPart row = ValueRow { QStringLiteral("H"), QStringLiteral("1") };
        const PanelPart other = ColumnRow { QStringLiteral("H"), { { QStringLiteral("1") } } };
        QCOMPARE(other.changes(row, QRectF(0, 0, 100, 12), in(light), std::nullopt).size(), 1);
    }

    void thePointerChangesWhatItPointsAt()
    {
        const PanelPart part = panel({});
        const QPointF nowhere(150, 44);
        const QPointF graph(150, 100);
        const QPointF core(50, 175);
        const QPointF row(50, part.height(in(light)) - 55);
        const QPointF gear(281, 19);
        QVERIFY(changes(part, part, nowhere, QPointF(140, 44)).isEmpty());
        for (const QPointF& place : { graph, core, row, gear }) {
            QCOMPARE(changes(part, part, nowhere, place).size(), 1);
            QCOMPARE(changes(part, part, place, std::nullopt).size(), 1);
            QVERIFY(changes(part, part, place, place + QPointF(0.2, 0)).isEmpty());
        }
        QCOMPARE(changes(part, part, graph, QPointF(250, 100)).size(), 1);
        QCOMPARE(changes(part, part, graph, gear).size(), 2);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelChangesTest)
#include "PanelChangesTest.moc"
