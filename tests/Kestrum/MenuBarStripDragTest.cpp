#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Items/StripLayout.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace kestrum;

using Sections = StripWindow::Sections;
using enum MonitorSection;

class MenuBarStripDragTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { StripWindow::prepare(); }

    void pressingGrabsTheItemUnderThePointer()
    {
        ShownStrip w;
        w.press(w.middle(memory));
        QCOMPARE(w.strip.dragged(), memory);
        QCOMPARE(w.strip.hovered(), memory);
        QCOMPARE(w.strip.cursor().shape(), Qt::ClosedHandCursor);
    }

    void pressingBesideTheItemsDoesNothing()
    {
        ShownStrip w;
        w.press(w.middle(memory), 24);
        QVERIFY(!w.strip.dragged());
        QVERIFY(w.strip.cursor().shape() != Qt::ClosedHandCursor);
        w.drag(0);
        w.release(0);
        QCOMPARE(storedText("menuBarOrder"), QString());
        QVERIFY(w.standsOnGrid());
    }

    void otherButtonsDoNotDrag()
    {
        ShownStrip w;
        w.send(QEvent::MouseButtonPress, w.at(w.middle(memory)), Qt::RightButton, Qt::RightButton);
        QVERIFY(!w.strip.dragged());
        w.press(w.middle(memory));
        w.send(QEvent::MouseButtonRelease, w.at(w.middle(memory)), Qt::RightButton, Qt::LeftButton);
        QCOMPARE(w.strip.dragged(), memory);
    }

    void theFirstClickInAnInactiveWindowStartsADrag()
    {
        ShownStrip w;
        QWidget other;
        activate(other);
        QVERIFY(!w.window.isActiveWindow());
        w.press(w.middle(cpu));
        QCOMPARE(w.strip.dragged(), cpu);
        w.drag(0);
        QCOMPARE(w.frame(cpu).left(), 0.0);
    }

    void theItemKeepsItsPlaceUnderThePointer()
    {
        ShownStrip w;
        const QRectF before = w.frame(sensors);
        w.press(before.left() + 7.25);
        w.drag(before.left() + 7.25 + 5.5);
        QCOMPARE(w.frame(sensors), before.translated(5.5, 0));
    }

    void aDragEndsAtTheStripsEnds()
    {
        ShownStrip w;
        w.press(w.middle(memory));
        w.drag(-500);
        QCOMPARE(w.frame(memory).left(), 0.0);
        w.drag(2000);
        QCOMPARE(w.frame(memory).right(), w.strip.intrinsicContentSize().width());
    }

    void anItemChangesPlacesWhenItPassesANeighboursMiddle_data()
    {
        addRows<bool>({ { "to the left", true }, { "to the right", false } });
    }
    void anItemChangesPlacesWhenItPassesANeighboursMiddle()
    {
        const auto [toTheLeft] = thisRow<bool>();
        const Sections before { storage, sensors, memory, cpu };
        const Sections after = toTheLeft ? Sections { sensors, storage, memory, cpu }
                                         : Sections { storage, memory, sensors, cpu };
        const MonitorSection neighbour = toTheLeft ? storage : memory;
        StripItems items;
        items.rebuild(before, std::make_shared<SampleReadings>());
        StatusMetricView& dragged = *items.item(sensors)->view;
        const double middle = items.item(neighbour)->view->frame().center().x();
        const double exactly = toTheLeft ? middle : middle - dragged.frame().width();
        items.grab(*items.item(sensors), dragged.frame().left());
        items.drag(exactly);
        // An edge exactly on the middle of the neighbour has not passed that middle.
        QCOMPARE(toTheLeft ? dragged.frame().left() : dragged.frame().right(), middle);
        QCOMPARE(items.sections(), before);
        items.drag(toTheLeft ? exactly - 0.01 : exactly + 0.01);
        QCOMPARE(items.sections(), after);
    }

    void wherePassingBothIsPossibleTheLeftOneGoesFirst()
    {
        StripItems items;
        items.rebuild({ storage, sensors, memory, cpu }, std::make_shared<SampleReadings>());
        StatusMetricView& dragged = *items.item(sensors)->view;
        // After a rebuild with other widths, the dragged item's edges can lie beyond the middles of both neighbours.
        items.item(storage)->view->moveLeftEdgeTo(500);
        items.item(memory)->view->moveLeftEdgeTo(-500);
        items.grab(*items.item(sensors), dragged.frame().left());
        items.drag(dragged.frame().left());
        QCOMPARE(items.sections().first(), sensors);
    }

    void oneFastMovePassesSeveralItems()
    {
        ShownStrip w;
        w.press(w.middle(cpu));
        w.drag(-10);
        QCOMPARE(w.sections(), Sections({ cpu, storage, sensors, memory }));
        QVERIFY(w.standsOnGrid());
    }

    void othersStandOnTheGridWhileOneIsDragged()
    {
        ShownStrip w;
        const double grabbed = w.middle(sensors);
        w.press(grabbed);
        w.drag(grabbed + 3.5);
        QVERIFY(w.standsOnGrid(sensors));
        QVERIFY(!w.standsOnGrid());
        w.drag(grabbed + w.frame(memory).width());
        QCOMPARE(w.sections(), Sections({ storage, memory, sensors, cpu }));
        QVERIFY(w.standsOnGrid(sensors));
    }

    void hoverAndLeavingAreIgnoredDuringADrag()
    {
        ShownStrip w;
        w.press(w.middle(storage));
        w.leave();
        QCOMPARE(w.strip.hovered(), storage);
        QCOMPARE(w.strip.cursor().shape(), Qt::ClosedHandCursor);
        w.drag(w.middle(storage) + 2);
        QCOMPARE(w.strip.hovered(), storage);
    }

    void droppingStoresTheOrderAndSnapsToTheGrid()
    {
        ShownStrip w;
        w.press(w.middle(cpu));
        const double place = 5 + w.frame(cpu).width() / 2;
        w.drag(place);
        QCOMPARE(w.frame(cpu).left(), 5.0);
        w.release(place);
        QVERIFY(!w.strip.dragged());
        QCOMPARE(w.strip.cursor().shape(), Qt::OpenHandCursor);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,storage,sensors,memory"));
        QCOMPARE(w.sections(), Sections({ cpu, storage, sensors, memory }));
        QVERIFY(w.standsOnGrid());
    }

    void hiddenSectionKeepsItsSlot()
    {
        Setting { Keys::showSensorsItem }.set(false);
        ShownStrip w;
        w.press(w.middle(cpu));
        w.drag(-10);
        w.release(-10);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,sensors,storage,memory"));
    }

    void aClickWithoutMovementWritesTheOrder()
    {
        ShownStrip w;
        w.press(w.middle(memory));
        w.release(w.middle(memory));
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("storage,sensors,memory,cpu"));
    }

    void theDraggedItemIsLiftedOff_data()
    {
        addRows<ColourScheme, QColor>({ { "light", ColourScheme::light, QColor(0x1D, 0x1D, 0x1F) },
            { "dark", ColourScheme::dark, QColor(0xF2, 0xF2, 0xF4) } });
    }
    void theDraggedItemIsLiftedOff()
    {
        const auto [scheme, ink] = thisRow<ColourScheme, QColor>();
        SystemAppearance::shared().setScheme(scheme);
        ShownStrip w;
        w.press(w.middle(storage));
        w.drag(w.middle(storage) + 5);
        const double left = w.frame(storage).left();
        // The backdrop is drawn on an opaque piece of the plate, so items behind it do not show through.
        const QColor plate = StripBackground::plate(scheme);
        const QColor ground = w.pixel(left - 2, 11);
        QCOMPARE(ground.alpha(), 255);
        QCOMPARE_LE(std::abs(ground.red() - (plate.red() * 0.86 + ink.red() * 0.14)), 2);
        QCOMPARE_LE(std::abs(ground.blue() - (plate.blue() * 0.86 + ink.blue() * 0.14)), 2);
        // The shadow is stronger below than above.
        const auto shadow = [&](double x, double y) {
            const QColor pixel = w.pixel(x, y);
            return pixel.value() < 10 ? pixel.alpha() : 0;
        };
        QVERIFY(shadow(left - 5, 11) > 15);
        QVERIFY(shadow(left + 10, -0.5) > shadow(left + 10, 22.5) + 10);
        w.release(w.middle(storage));
        QTRY_COMPARE(shadow(-5, 11), 0);
    }

    void theDraggedItemIsDrawnAboveItsNeighbours()
    {
        ShownStrip w;
        // The dragged storage item is the first in order. It is over the sensors item.
        const double grabbed = w.middle(storage);
        w.press(grabbed);
        w.drag(grabbed + w.frame(sensors).width() / 2);
        QVERIFY(w.frame(storage).intersects(w.frame(sensors)));
        const auto drawn = [&w](const Sections& order) {
            QImage image(w.strip.size(), QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            for (const MonitorSection section : order) {
                if (section == storage)
                    StripBackground::drawLifted(
                        painter, w.strip.backdropRect(*w.strip.item(storage)), ColourScheme::light);
                const QPointF corner = w.strip.widgetRect(w.frame(section)).topLeft();
                w.strip.item(section)->view->draw(
                    painter, QPointF(qRound(corner.x()), corner.y()), ColourScheme::light, 1);
            }
            return image;
        };
        QTRY_COMPARE(w.picture(), drawn({ sensors, memory, cpu, storage }));
        QVERIFY(w.picture() != drawn({ storage, sensors, memory, cpu }));
    }

    void neighboursSlideToTheirPlaces()
    {
        ShownStrip w;
        const double before = w.shownLeft(memory);
        const double grabbed = w.middle(cpu);
        w.press(grabbed);
        QElapsedTimer timer;
        timer.start();
        w.drag(grabbed - w.frame(memory).width());
        // The item's place changes at once; the drawn item slides there.
        const double place = w.frame(memory).left();
        QVERIFY(place - before > 50);
        QVERIFY(w.shownLeft(memory) - before < 10);
        const QImage atOnce = w.picture();
        QTRY_VERIFY(w.shownLeft(memory) - before > 10 && w.shownLeft(memory) < place);
        QTRY_COMPARE(w.shownLeft(memory), place);
        QCOMPARE_GE(timer.elapsed(), 100);
        QCOMPARE_LT(timer.elapsed(), 600);
        QVERIFY(w.picture() != atOnce);
        // An item that must turn back while it slides starts from the place where it is drawn.
        w.drag(grabbed);
        QTRY_VERIFY(w.shownLeft(memory) < place - 10);
        const double turned = w.shownLeft(memory);
        w.drag(grabbed - w.frame(memory).width());
        QVERIFY(std::abs(w.shownLeft(memory) - turned) < 5);
        QTRY_COMPARE(w.shownLeft(memory), place);
        QCOMPARE(w.picture(), (QTest::qWait(50), w.picture()));
    }

    void aDroppedItemSlidesToItsPlace()
    {
        ShownStrip w;
        const double grabbed = w.middle(sensors);
        w.press(grabbed);
        w.drag(grabbed + 12);
        const double left = w.shownLeft(sensors);
        w.release(grabbed + 12);
        QVERIFY(w.standsOnGrid());
        QVERIFY(left - w.shownLeft(sensors) < 4);
        QTRY_COMPARE(w.shownLeft(sensors), w.frame(sensors).left());
    }

    void nothingSlidesWhereTheDesktopAsksForLessMotion()
    {
        ShownStrip w;
        SystemAppearance::shared().setReducesMotion(true);
        const double grabbed = w.middle(cpu);
        w.press(grabbed);
        w.drag(grabbed - w.frame(memory).width());
        QCOMPARE(w.shownLeft(memory), w.frame(memory).left());
        w.release(grabbed - w.frame(memory).width());
        for (const auto& item : w.strip.items())
            QCOMPARE(w.shownLeft(item.section), item.view->frame().left());
        SystemAppearance::shared().setReducesMotion(false);
    }

    void onlyWhatMovedIsRepainted()
    {
        ShownStrip w;
        QTest::qWait(30);
        PaintWatcher watcher;
        const double grabbed = w.middle(storage);
        w.press(grabbed);
        QTest::qWait(30);
        w.strip.installEventFilter(&watcher);
        w.drag(grabbed + 3);
        QTRY_VERIFY(!watcher.painted.isEmpty());
        QVERIFY(watcher.painted.contains(w.at(w.middle(storage)).toPoint()));
        QVERIFY(!watcher.painted.contains(w.at(w.middle(cpu)).toPoint()));
    }

    void aRebuildDoesNotCancelADrag()
    {
        ShownStrip w;
        const double grabbed = w.middle(storage);
        w.press(grabbed);
        w.drag(grabbed + 3);
        const double left = w.frame(storage).left();
        Setting { Keys::cpuReadout }.set(CPUReadout::off);
        QSignalSpy rebuilt(&w.strip, &MenuBarStripView::rebuilt);
        QTRY_COMPARE(rebuilt.count(), 1);
        QCOMPARE(w.strip.dragged(), storage);
        QCOMPARE(w.frame(storage).left(), left);
        w.drag(2000);
        QCOMPARE(w.sections().last(), storage);
        w.release(2000);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("sensors,memory,cpu,storage"));
    }

    void anItemHiddenDuringItsDragDoesNoHarm()
    {
        ShownStrip w;
        w.press(w.middle(cpu));
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(w.sections().size(), 3);
        for (const double x : { -50.0, 10.0, 40.0, 80.0, 500.0, 0.0 })
            w.drag(x);
        w.release(0);
        QCOMPARE(w.sections().size(), 3);
        QVERIFY(w.standsOnGrid());
        QVERIFY(storedText("menuBarOrder").endsWith(QStringLiteral(",cpu")));
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripDragTest)
#include "MenuBarStripDragTest.moc"
