#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "KestrumShared/Drawing/StripLayout.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

namespace {

using Sections = QList<MonitorSection>;
constexpr auto cpu = MonitorSection::cpu;
constexpr auto memory = MonitorSection::memory;
constexpr auto storage = MonitorSection::storage;
constexpr auto sensors = MonitorSection::sensors;

/// A strip in a window of its own, and a hand that works its mouse at exact places, given in strip coordinates.
struct Fixture {
    QWidget window;
    MenuBarStripView strip { &window };

    Fixture()
    {
        window.resize(600, 80);
        strip.setGeometry(QRect(QPoint(20, 20), strip.sizeHint()));
        QObject::connect(
            &strip, &MenuBarStripView::rebuilt, &strip, [this] { strip.resize(strip.sizeHint()); });
    }

    void show()
    {
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        strip.clearFocus();
    }

    QPointF at(double x, double y = 11) const
    {
        const double top = MenuBarStripView::room.height() + StatusMetricView::height;
        return { x + MenuBarStripView::room.width(), top - y };
    }

    void send(QEvent::Type type, const QPointF& point, Qt::MouseButton button, Qt::MouseButtons held)
    {
        QMouseEvent event(type, point, strip.mapToGlobal(point), button, held, Qt::NoModifier);
        QApplication::sendEvent(&strip, &event);
    }
    void move(double x, double y = 11) { send(QEvent::MouseMove, at(x, y), Qt::NoButton, Qt::NoButton); }
    void press(double x, double y = 11)
    {
        send(QEvent::MouseButtonPress, at(x, y), Qt::LeftButton, Qt::LeftButton);
    }
    void drag(double x) { send(QEvent::MouseMove, at(x), Qt::NoButton, Qt::LeftButton); }
    void release(double x) { send(QEvent::MouseButtonRelease, at(x), Qt::LeftButton, Qt::NoButton); }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&strip, &event);
    }

    QRectF frame(MonitorSection section) const { return strip.item(section)->view->frame(); }
    double middle(MonitorSection section) const { return frame(section).center().x(); }

    Sections sections() const
    {
        Sections sections;
        for (const auto& item : strip.items())
            sections.append(item.section);
        return sections;
    }

    /// Whether all items, or all but one, stand 8 points apart from 0 on.
    bool standsOnGrid(std::optional<MonitorSection> but = std::nullopt) const
    {
        double x = 0;
        for (const auto& item : strip.items()) {
            if (item.section != but && std::abs(item.view->frame().left() - x) > 1e-9)
                return false;
            x += item.view->frame().width() + 8;
        }
        return true;
    }

    QImage picture(double scale = 1)
    {
        QImage image((QSizeF(strip.size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::transparent);
        strip.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }

    QColor pixel(double x, double y)
    {
        const QPointF place = at(x, y);
        return picture().pixelColor(int(std::floor(place.x())), int(std::floor(place.y())));
    }
};

QString storedOrder()
{
    return SharedSettings::store().storedDictionary().value(QLatin1StringView("menuBarOrder")).toString();
}

} // namespace

class MenuBarStripViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults()); }

    void init()
    {
        SharedSettings::store().apply({}, SharedSettings::store().storedDictionary().keys());
        QTest::qWait(20); // let the notice of it pass
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    // Building

    void itemsStandEightPointsApartInTheStoredOrder()
    {
        Fixture f;
        QCOMPARE(f.sections(), Sections({ storage, sensors, memory, cpu }));
        QVERIFY(f.standsOnGrid());
        double width = 3 * 8;
        for (const auto& item : f.strip.items()) {
            QCOMPARE(item.view->frame().width(), StatusMetricView::itemWidth(item.section));
            QCOMPARE(item.view->frame().height(), 22.0);
            QCOMPARE(item.view->frame().top(), 0.0);
            width += item.view->frame().width();
        }
        QCOMPARE(f.strip.intrinsicContentSize(), QSizeF(width, 22));
    }

    void hiddenItemsTakeNoRoom()
    {
        Setting { Keys::showSensorsItem }.set(false);
        Fixture f;
        QCOMPARE(f.sections(), Sections({ storage, memory, cpu }));
        QVERIFY(f.standsOnGrid());
    }

    void onlyAStoredFalseHides_data()
    {
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("isShown");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << true;
        QTest::newRow("true") << QJsonValue(true) << true;
        QTest::newRow("false") << QJsonValue(false) << false;
        QTest::newRow("a text") << QJsonValue(QStringLiteral("false")) << true;
    }

    void onlyAStoredFalseHides()
    {
        QFETCH(QJsonValue, stored);
        if (!stored.isUndefined())
            SharedSettings::store().set("showCPUItem", stored);
        Fixture f;
        QTEST(f.strip.item(cpu) != nullptr, "isShown");
    }

    void anEmptyOrderGivesNoItemsAndNoWidth()
    {
        Fixture f;
        f.strip.rebuild(Sections());
        QVERIFY(f.strip.items().isEmpty());
        QCOMPARE(f.strip.intrinsicContentSize(), QSizeF(0, 22));
        QVERIFY(!f.picture().isNull());
        f.show();
        f.press(0);
        f.drag(5);
        f.release(5);
        QVERIFY(!f.strip.dragged());
        QTest::keyClick(&f.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(storedOrder(), QString());
    }

    void anOrderThatNamesNothingIsCompleted()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("?,,x"));
        Fixture f;
        QCOMPARE(f.sections(), Sections({ sensors, storage, memory, cpu }));
    }

    void withAllItemsHiddenTheStoredOrderStaysAsItIs()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,bogus"));
        for (const auto& entry : allCases<MonitorSection>())
            Setting { MeterSettings::visibilityKey(entry.value) }.set(false);
        Fixture f;
        f.show();
        f.press(3);
        f.release(3);
        QVERIFY(f.strip.items().isEmpty());
        QCOMPARE(f.strip.intrinsicContentSize().width(), 0.0);
        QCOMPARE(storedOrder(), QStringLiteral("cpu,bogus"));
    }

    // Hitting

    void theGroundOfAnItemReachesFourPointsToEachSide()
    {
        Fixture f;
        const QRectF first = f.frame(storage);
        QVERIFY(!f.strip.item(QPointF(-4.01, 11)));
        QCOMPARE(f.strip.item(QPointF(-4, 11))->section, storage);
        QCOMPARE(f.strip.item(QPointF(first.right() + 3.99, 11))->section, storage);
    }

    void theMiddleOfAGapBelongsToTheRightHandItem()
    {
        Fixture f;
        const double border = f.frame(storage).right() + 4;
        QCOMPARE(border, f.frame(sensors).left() - 4);
        QCOMPARE(f.strip.item(QPointF(border, 11))->section, sensors);
        QVERIFY(!f.strip.item(QPointF(f.frame(cpu).right() + 4, 11)));
    }

    void theGroundIsNoHigherThanTheItem()
    {
        Fixture f;
        const double x = f.middle(memory);
        QVERIFY(f.strip.item(QPointF(x, 22)));
        QVERIFY(!f.strip.item(QPointF(x, 22.01)));
        QVERIFY(f.strip.item(QPointF(x, 0.01)));
        QVERIFY(!f.strip.item(QPointF(x, 0)));
        // The same in the widget's own rows of pixels: 22 of them.
        QVERIFY(f.strip.item(f.strip.stripPoint({ f.at(x).x(), 3 })));
        QVERIFY(!f.strip.item(f.strip.stripPoint({ f.at(x).x(), 2.99 })));
        QVERIFY(f.strip.item(f.strip.stripPoint({ f.at(x).x(), 24.99 })));
        QVERIFY(!f.strip.item(f.strip.stripPoint({ f.at(x).x(), 25 })));
    }

    // Hovering

    void thePointerHoversOverItems()
    {
        Fixture f;
        f.show();
        f.move(f.middle(sensors));
        QCOMPARE(f.strip.hovered(), sensors);
        QCOMPARE(f.strip.cursor().shape(), Qt::OpenHandCursor);
        f.move(f.middle(sensors), 23);
        QCOMPARE(f.strip.hovered(), std::nullopt);
        QCOMPARE(f.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void leavingEndsTheHover()
    {
        Fixture f;
        f.show();
        f.move(f.middle(sensors));
        f.leave();
        QCOMPARE(f.strip.hovered(), std::nullopt);
        QCOMPARE(f.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void aWindowInTheBackgroundDoesNotHover()
    {
        Fixture f;
        f.show();
        f.move(f.middle(sensors));
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QCOMPARE(f.strip.hovered(), std::nullopt);
        f.move(f.middle(sensors));
        QCOMPARE(f.strip.hovered(), std::nullopt);
        QCOMPARE(f.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void theItemUnderThePointerHasABackdrop_data()
    {
        QTest::addColumn<ColourScheme>("scheme");
        QTest::addColumn<int>("level");
        QTest::newRow("light") << ColourScheme::light << 0;
        QTest::newRow("dark") << ColourScheme::dark << 255;
    }

    void theItemUnderThePointerHasABackdrop()
    {
        QFETCH(ColourScheme, scheme);
        QFETCH(int, level);
        SystemAppearance::shared().setScheme(scheme);
        Fixture f;
        f.show();
        QCOMPARE(f.pixel(-2, 11).alpha(), 0);
        f.move(f.middle(storage));
        const QColor ground = f.pixel(-2, 11);
        QVERIFY2(std::abs(ground.alpha() - 36) <= 1, qPrintable(ground.name(QColor::HexArgb)));
        QVERIFY(std::abs(ground.red() - level) <= 4);
        QCOMPARE(f.pixel(-4.5, 11).alpha(), 0);
        QVERIFY(f.pixel(-3.5, 11).alpha() > 30);
        QCOMPARE(f.pixel(f.frame(storage).right() + 5, 11).alpha(), 0);
        // Six points round: the very corner is empty, and the edge full where the curve ends.
        QVERIFY(f.pixel(-3.5, 21.5).alpha() <= 2);
        QVERIFY(f.pixel(2.5, 21.5).alpha() >= 34);
        f.leave();
        QCOMPARE(f.pixel(-2, 11).alpha(), 0);
    }

    // Dragging

    void pressingGrabsTheItemUnderThePointer()
    {
        Fixture f;
        f.show();
        f.press(f.middle(memory));
        QCOMPARE(f.strip.dragged(), memory);
        QCOMPARE(f.strip.hovered(), memory);
        QCOMPARE(f.strip.cursor().shape(), Qt::ClosedHandCursor);
    }

    void pressingBesideTheItemsDoesNothing()
    {
        Fixture f;
        f.show();
        f.press(f.middle(memory), 24);
        QVERIFY(!f.strip.dragged());
        QVERIFY(f.strip.cursor().shape() != Qt::ClosedHandCursor);
        f.drag(0);
        f.release(0);
        QCOMPARE(storedOrder(), QString());
        QVERIFY(f.standsOnGrid());
    }

    void otherButtonsDoNotDrag()
    {
        Fixture f;
        f.show();
        f.send(QEvent::MouseButtonPress, f.at(f.middle(memory)), Qt::RightButton, Qt::RightButton);
        QVERIFY(!f.strip.dragged());
        f.press(f.middle(memory));
        f.send(QEvent::MouseButtonRelease, f.at(f.middle(memory)), Qt::RightButton, Qt::LeftButton);
        QCOMPARE(f.strip.dragged(), memory);
    }

    void theFirstClickInAnInactiveWindowStartsADrag()
    {
        Fixture f;
        f.show();
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!f.window.isActiveWindow());
        f.press(f.middle(cpu));
        QCOMPARE(f.strip.dragged(), cpu);
        f.drag(0);
        QCOMPARE(f.frame(cpu).left(), 0.0);
    }

    void theItemKeepsItsPlaceUnderThePointer()
    {
        Fixture f;
        f.show();
        const QRectF before = f.frame(sensors);
        f.press(before.left() + 7.25);
        f.drag(before.left() + 7.25 + 5.5);
        QCOMPARE(f.frame(sensors), before.translated(5.5, 0));
    }

    void aDragEndsAtTheStripsEnds()
    {
        Fixture f;
        f.show();
        f.press(f.middle(memory));
        f.drag(-500);
        QCOMPARE(f.frame(memory).left(), 0.0);
        f.drag(2000);
        QCOMPARE(f.frame(memory).right(), f.strip.intrinsicContentSize().width());
    }

    void anItemChangesPlacesWhenItPassesANeighboursMiddle_data()
    {
        QTest::addColumn<bool>("toTheLeft");
        QTest::newRow("to the left") << true;
        QTest::newRow("to the right") << false;
    }

    void anItemChangesPlacesWhenItPassesANeighboursMiddle()
    {
        QFETCH(bool, toTheLeft);
        const Sections before { storage, sensors, memory, cpu };
        const Sections after = toTheLeft ? Sections { sensors, storage, memory, cpu }
                                         : Sections { storage, memory, sensors, cpu };
        const MonitorSection neighbour = toTheLeft ? storage : memory;
        Fixture f;
        StripItems items;
        items.rebuild(before, std::make_shared<SampleReadings>());
        StatusMetricView& dragged = *items.item(sensors)->view;
        const double middle = items.item(neighbour)->view->frame().center().x();
        const double exactly = toTheLeft ? middle : middle - dragged.frame().width();
        items.drag(sensors, dragged, exactly);
        // An edge exactly on the middle has not passed it.
        QCOMPARE(toTheLeft ? dragged.frame().left() : dragged.frame().right(), middle);
        QCOMPARE(items.sections(), before);
        items.drag(sensors, dragged, toTheLeft ? exactly - 0.01 : exactly + 0.01);
        QCOMPARE(items.sections(), after);
    }

    void wherePassingBothIsPossibleTheLeftOneGoesFirst()
    {
        StripItems items;
        items.rebuild({ storage, sensors, memory, cpu }, std::make_shared<SampleReadings>());
        StatusMetricView& dragged = *items.item(sensors)->view;
        // As after a rebuild with other widths: both neighbours' middles lie beyond the dragged item's edges.
        items.item(storage)->view->moveLeftEdgeTo(500);
        items.item(memory)->view->moveLeftEdgeTo(-500);
        items.drag(sensors, dragged, dragged.frame().left());
        QCOMPARE(items.sections().first(), sensors);
    }

    void oneFastMovePassesSeveralItems()
    {
        Fixture f;
        f.show();
        f.press(f.middle(cpu));
        f.drag(-10);
        QCOMPARE(f.sections(), Sections({ cpu, storage, sensors, memory }));
        QVERIFY(f.standsOnGrid());
    }

    void othersStandOnTheGridWhileOneIsDragged()
    {
        Fixture f;
        f.show();
        const double grabbed = f.middle(sensors);
        f.press(grabbed);
        f.drag(grabbed + 3.5);
        QVERIFY(f.standsOnGrid(sensors));
        QVERIFY(!f.standsOnGrid());
        f.drag(grabbed + f.frame(memory).width());
        QCOMPARE(f.sections(), Sections({ storage, memory, sensors, cpu }));
        QVERIFY(f.standsOnGrid(sensors));
    }

    void hoverAndLeavingAreIgnoredDuringADrag()
    {
        Fixture f;
        f.show();
        f.press(f.middle(storage));
        f.leave();
        QCOMPARE(f.strip.hovered(), storage);
        QCOMPARE(f.strip.cursor().shape(), Qt::ClosedHandCursor);
        f.drag(f.middle(storage) + 2);
        QCOMPARE(f.strip.hovered(), storage);
    }

    void droppingStoresTheOrderAndSnapsToTheGrid()
    {
        Fixture f;
        f.show();
        f.press(f.middle(cpu));
        const double place = 5 + f.frame(cpu).width() / 2;
        f.drag(place);
        QCOMPARE(f.frame(cpu).left(), 5.0);
        f.release(place);
        QVERIFY(!f.strip.dragged());
        QCOMPARE(f.strip.cursor().shape(), Qt::OpenHandCursor);
        QCOMPARE(storedOrder(), QStringLiteral("cpu,storage,sensors,memory"));
        QCOMPARE(f.sections(), Sections({ cpu, storage, sensors, memory }));
        QVERIFY(f.standsOnGrid());
    }

    void hiddenSectionKeepsItsSlot()
    {
        Setting { Keys::showSensorsItem }.set(false);
        Fixture f;
        f.show();
        f.press(f.middle(cpu));
        f.drag(-10);
        f.release(-10);
        QCOMPARE(storedOrder(), QStringLiteral("cpu,sensors,storage,memory"));
    }

    void aClickWithoutMovementWritesTheOrder()
    {
        Fixture f;
        f.show();
        f.press(f.middle(memory));
        f.release(f.middle(memory));
        QCOMPARE(storedOrder(), QStringLiteral("storage,sensors,memory,cpu"));
    }

    void theDraggedItemHasTheBackdrop()
    {
        Fixture f;
        f.show();
        f.press(f.middle(storage));
        f.drag(f.middle(storage) + 5);
        QVERIFY(std::abs(f.pixel(f.frame(storage).left() - 2, 11).alpha() - 36) <= 1);
    }

    void theDraggedItemIsDrawnAboveItsNeighbours()
    {
        Fixture f;
        f.show();
        // The dragged storage item, which comes first in order, over the sensors item.
        const double grabbed = f.middle(storage);
        f.press(grabbed);
        f.drag(grabbed + f.frame(sensors).width() / 2);
        QVERIFY(f.frame(storage).intersects(f.frame(sensors)));
        const auto drawn = [&f](const Sections& order) {
            QImage image(f.strip.size(), QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0, 0, 0, qRound(0.14 * 255)));
            const auto rect = f.strip.backdropRect(*f.strip.item(storage));
            painter.drawRoundedRect(QRectF(QPointF(qRound(rect.left()), rect.top()),
                                        QPointF(qRound(rect.right()), rect.bottom())),
                6, 6);
            for (const MonitorSection section : order) {
                const QPointF corner = f.strip.widgetRect(f.frame(section)).topLeft();
                f.strip.item(section)->view->draw(
                    painter, QPointF(qRound(corner.x()), corner.y()), ColourScheme::light, 1);
            }
            return image;
        };
        QCOMPARE(f.picture(), drawn({ sensors, memory, cpu, storage }));
        QVERIFY(f.picture() != drawn({ storage, sensors, memory, cpu }));
    }

    void onlyWhatMovedIsRepainted()
    {
        Fixture f;
        f.show();
        QTest::qWait(30);
        struct Watcher : QObject {
            QRegion painted;
            bool eventFilter(QObject* watched, QEvent* event) override
            {
                if (event->type() == QEvent::Paint)
                    painted += static_cast<QPaintEvent*>(event)->region();
                return QObject::eventFilter(watched, event);
            }
        } watcher;
        const double grabbed = f.middle(storage);
        f.press(grabbed);
        QTest::qWait(30);
        f.strip.installEventFilter(&watcher);
        f.drag(grabbed + 3);
        QTRY_VERIFY(!watcher.painted.isEmpty());
        QVERIFY(watcher.painted.contains(f.at(f.middle(storage)).toPoint()));
        QVERIFY(!watcher.painted.contains(f.at(f.middle(cpu)).toPoint()));
    }

    // Rebuilding

    void everyChangeOfTheSettingsRebuilds()
    {
        Fixture f;
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,memory,sensors,storage"));
        QTRY_COMPARE(f.sections(), Sections({ cpu, memory, sensors, storage }));
        Setting { Keys::showMemoryItem }.set(false);
        QTRY_COMPARE(f.sections(), Sections({ cpu, sensors, storage }));
        const double width = f.frame(cpu).width();
        Setting { Keys::cpuReadout }.set(CPUReadout::off);
        QTRY_VERIFY(f.frame(cpu).width() < width);
        QSignalSpy rebuilt(&f.strip, &MenuBarStripView::rebuilt);
        SharedSettings::store().set("somethingElse", 1);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    void theAgentsSignalRebuilds()
    {
        Fixture f;
        QSignalSpy rebuilt(&f.strip, &MenuBarStripView::rebuilt);
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    void aRebuildDoesNotCancelADrag()
    {
        Fixture f;
        f.show();
        const double grabbed = f.middle(storage);
        f.press(grabbed);
        f.drag(grabbed + 3);
        const double left = f.frame(storage).left();
        Setting { Keys::cpuReadout }.set(CPUReadout::off);
        QSignalSpy rebuilt(&f.strip, &MenuBarStripView::rebuilt);
        QTRY_COMPARE(rebuilt.count(), 1);
        QCOMPARE(f.strip.dragged(), storage);
        QCOMPARE(f.frame(storage).left(), left);
        f.drag(2000);
        QCOMPARE(f.sections().last(), storage);
        f.release(2000);
        QCOMPARE(storedOrder(), QStringLiteral("sensors,memory,cpu,storage"));
    }

    void anItemHiddenDuringItsDragDoesNoHarm()
    {
        Fixture f;
        f.show();
        f.press(f.middle(cpu));
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(f.sections().size(), 3);
        for (const double x : { -50.0, 10.0, 40.0, 80.0, 500.0, 0.0 })
            f.drag(x);
        f.release(0);
        QCOMPARE(f.sections().size(), 3);
        QVERIFY(f.standsOnGrid());
        QVERIFY(storedOrder().endsWith(QStringLiteral(",cpu")));
    }

    // Drawing

    void itemsAreAsSharpAsWhenDrawnAlone_data()
    {
        QTest::addColumn<double>("scale");
        QTest::newRow("1") << 1.0;
        QTest::newRow("2") << 2.0;
        QTest::newRow("1.5") << 1.5;
    }

    void itemsAreAsSharpAsWhenDrawnAlone()
    {
        QFETCH(double, scale);
        Fixture f;
        const QImage strip = f.picture(scale);
        for (const auto& item : f.strip.items()) {
            const QRectF frame = f.strip.widgetRect(item.view->frame());
            QImage alone(strip.size(), QImage::Format_ARGB32_Premultiplied);
            alone.setDevicePixelRatio(scale);
            alone.fill(Qt::transparent);
            QPainter painter(&alone);
            const double top = frame.top();
            item.view->draw(painter, QPointF(0, top), ColourScheme::light, scale);
            painter.end();
            // Whole columns of the item, which must be the same ones shifted by whole pixels.
            const int width = int(frame.width() * scale) - 1;
            const int left = qRound(frame.left() * scale);
            QCOMPARE(strip.copy(left, 0, width, strip.height()), alone.copy(0, 0, width, strip.height()));
        }
    }

    // Keyboard

    void tabShowsWhereTheKeyboardIs()
    {
        Fixture f;
        f.show();
        const QImage plain = f.picture();
        f.strip.setFocus(Qt::TabFocusReason);
        QCOMPARE(f.strip.focused(), storage);
        QVERIFY(f.picture() != plain);
        // The ring is 1 beside the backdrop's ground and 2 wide.
        QCOMPARE(f.pixel(-4.5, 11).alpha(), 0);
        QCOMPARE(f.pixel(-5.5, 11).alpha(), 255);
        QCOMPARE(f.pixel(-6.5, 11).alpha(), 255);
        f.strip.clearFocus();
        QCOMPARE(f.picture(), plain);
        f.strip.setFocus(Qt::MouseFocusReason);
        QCOMPARE(f.picture(), plain);
        QTest::keyClick(&f.strip, Qt::Key_Right);
        QVERIFY(f.picture() != plain);
        f.press(f.middle(storage));
        f.release(f.middle(storage));
        f.leave();
        QCOMPARE(f.picture(), plain);
    }

    void arrowsMoveTheMarkAndStopAtTheEnds()
    {
        Fixture f;
        f.show();
        f.strip.setFocus(Qt::TabFocusReason);
        QTest::keyClick(&f.strip, Qt::Key_Left);
        QCOMPARE(f.strip.focused(), storage);
        for (const MonitorSection expected : { sensors, memory, cpu, cpu }) {
            QTest::keyClick(&f.strip, Qt::Key_Right);
            QCOMPARE(f.strip.focused(), expected);
        }
        QCOMPARE(storedOrder(), QString());
    }

    void altAndArrowsMoveTheItem()
    {
        Setting { Keys::showSensorsItem }.set(false);
        Fixture f;
        f.show();
        f.strip.setFocus(Qt::TabFocusReason);
        QTest::keyClick(&f.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(f.strip.focused(), storage);
        QCOMPARE(storedOrder(), QStringLiteral("memory,sensors,storage,cpu"));
        QVERIFY(f.standsOnGrid());
        QTest::keyClick(&f.strip, Qt::Key_Right, Qt::AltModifier);
        QTest::keyClick(&f.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(storedOrder(), QStringLiteral("memory,sensors,cpu,storage"));
        QTest::keyClick(&f.strip, Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(storedOrder(), QStringLiteral("memory,sensors,storage,cpu"));
    }

    // Screen readers

    void aScreenReaderHearsItemsAndReadouts()
    {
        Setting { Keys::showSensorsItem }.set(false);
        Fixture f;
        f.show();
        QVERIFY(!f.strip.accessibleName().isEmpty());
        const QString described = f.strip.accessibleDescription();
        QVERIFY2(described.contains(QStringLiteral("58%")), qPrintable(described));
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&f.strip);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 3);
        QAccessibleInterface* first = list->child(0);
        QCOMPARE(first->role(), QAccessible::ListItem);
        QCOMPARE(first->text(QAccessible::Name), StatusMetricView::description(storage));
        QCOMPARE(first->text(QAccessible::Value), QStringLiteral("58%"));
        QCOMPARE(list->indexOfChild(first), 0);
        QCOMPARE(first->parent(), list);
        const QRect place = first->rect();
        QCOMPARE(place.topLeft(), f.strip.mapToGlobal(QPoint(7, 3)));
        QCOMPARE(list->childAt(place.center().x(), place.center().y()), first);

        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,memory,sensors,storage"));
        QTRY_COMPARE(f.sections().first(), cpu);
        QCOMPARE(list->child(2), first);
        QVERIFY(f.strip.accessibleDescription() != described);
    }

    void aHiddenItemIsNotRead()
    {
        Fixture f;
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&f.strip);
        QAccessibleInterface* last = list->child(3);
        QVERIFY(last->isValid());
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(list->childCount(), 3);
        QVERIFY(!last->isValid());
        QVERIFY(!list->child(3));
        QCOMPARE(list->indexOfChild(last), -1);
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripViewTest)
#include "MenuBarStripViewTest.moc"
