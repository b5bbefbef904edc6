#include "KestrumShared/Settings/MeterSettings.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <QHelpEvent>
#include <QSignalSpy>
#include <QToolTip>

using namespace kestrum;

using Sections = StripWindow::Sections;
using enum MonitorSection;

class MenuBarStripViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { StripWindow::prepare(); }

    void itemsStandEightPointsApartInTheStoredOrder()
    {
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ storage, sensors, memory, cpu }));
        QVERIFY(w.standsOnGrid());
        double width = 3 * 8;
        for (const auto& item : w.strip.items()) {
            QCOMPARE(item.view->frame().width(), StatusMetricView::itemWidth(item.section));
            QCOMPARE(item.view->frame().height(), 22.0);
            QCOMPARE(item.view->frame().top(), 0.0);
            width += item.view->frame().width();
        }
        QCOMPARE(w.strip.intrinsicContentSize(), QSizeF(width, 22));
    }

    void hiddenItemsTakeNoRoom()
    {
        Setting { Keys::showSensorsItem }.set(false);
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ storage, memory, cpu }));
        QVERIFY(w.standsOnGrid());
    }

    void onlyAStoredFalseHides_data()
    {
        addRows<QJsonValue, bool>({ { "absent", QJsonValue::Undefined, true }, { "true", true, true },
            { "false", false, false }, { "a text", QStringLiteral("false"), true } });
    }
    void onlyAStoredFalseHides()
    {
        const auto [stored, isShown] = thisRow<QJsonValue, bool>();
        if (!stored.isUndefined())
            SharedSettings::store().set("showCPUItem", stored);
        StripWindow w;
        QCOMPARE(w.strip.item(cpu) != nullptr, isShown);
    }

    void anEmptyOrderGivesNoItemsAndNoWidth()
    {
        StripWindow w;
        w.strip.rebuild(Sections());
        QVERIFY(w.strip.items().isEmpty());
        QCOMPARE(w.strip.intrinsicContentSize(), QSizeF(0, 22));
        QVERIFY(!w.picture().isNull());
        w.show();
        w.press(0);
        w.drag(5);
        w.release(5);
        QVERIFY(!w.strip.dragged());
        QTest::keyClick(&w.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(storedText("menuBarOrder"), QString());
    }

    void anOrderThatNamesNothingIsCompleted()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("?,,x"));
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ sensors, storage, memory, cpu }));
    }

    void withAllItemsHiddenTheStoredOrderStaysAsItIs()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,bogus"));
        for (const auto& entry : allCases<MonitorSection>())
            Setting { MeterSettings::visibilityKey(entry.value) }.set(false);
        ShownStrip w;
        w.press(3);
        w.release(3);
        QVERIFY(w.strip.items().isEmpty());
        QCOMPARE(w.strip.intrinsicContentSize().width(), 0.0);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,bogus"));
    }

    void everyChangeOfTheSettingsRebuilds()
    {
        StripWindow w;
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,memory,sensors,storage"));
        QTRY_COMPARE(w.sections(), Sections({ cpu, memory, sensors, storage }));
        Setting { Keys::showMemoryItem }.set(false);
        QTRY_COMPARE(w.sections(), Sections({ cpu, sensors, storage }));
        const double width = w.frame(cpu).width();
        Setting { Keys::cpuReadout }.set(CPUReadout::off);
        QTRY_VERIFY(w.frame(cpu).width() < width);
        QSignalSpy rebuilt(&w.strip, &MenuBarStripView::rebuilt);
        SharedSettings::store().set("somethingElse", 1);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    void theAgentsSignalRebuilds()
    {
        StripWindow w;
        QSignalSpy rebuilt(&w.strip, &MenuBarStripView::rebuilt);
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    void itemsAreAsSharpAsWhenDrawnAlone_data()
    {
        addRows<double>({ { "1", 1 }, { "2", 2 }, { "1.5", 1.5 } });
    }
    void itemsAreAsSharpAsWhenDrawnAlone()
    {
        const auto [scale] = thisRow<double>();
        StripWindow w;
        const QImage strip = w.picture(scale);
        for (const auto& item : w.strip.items()) {
            const QRectF frame = w.strip.widgetRect(item.view->frame());
            QImage alone(strip.size(), QImage::Format_ARGB32_Premultiplied);
            alone.setDevicePixelRatio(scale);
            alone.fill(Qt::transparent);
            QPainter painter(&alone);
            item.view->draw(painter, QPointF(0, frame.top()), ColourScheme::light, scale);
            painter.end();
            // Compare whole pixel columns of the item: a move by whole pixels must not change them.
            const int width = int(frame.width() * scale) - 1;
            const int left = qRound(frame.left() * scale);
            QCOMPARE(strip.copy(left, 0, width, strip.height()), alone.copy(0, 0, width, strip.height()));
        }
    }

    void tabShowsWhereTheKeyboardIs()
    {
        ShownStrip w;
        const QImage plain = w.picture();
        w.strip.setFocus(Qt::TabFocusReason);
        QCOMPARE(w.strip.focused(), storage);
        QVERIFY(w.picture() != plain);
        // The ring starts 1 outside of the item's backdrop and is 2 wide.
        QCOMPARE(w.pixel(-4.5, 11).alpha(), 0);
        QCOMPARE(w.pixel(-5.5, 11).alpha(), 255);
        QCOMPARE(w.pixel(-6.5, 11).alpha(), 255);
        w.strip.clearFocus();
        QCOMPARE(w.picture(), plain);
        w.strip.setFocus(Qt::MouseFocusReason);
        QCOMPARE(w.picture(), plain);
        QTest::keyClick(&w.strip, Qt::Key_Right);
        QVERIFY(w.picture() != plain);
        w.press(w.middle(storage));
        w.release(w.middle(storage));
        w.leave();
        QCOMPARE(w.picture(), plain);
    }

    void arrowsMoveTheMarkAndStopAtTheEnds()
    {
        ShownStrip w;
        w.strip.setFocus(Qt::TabFocusReason);
        QTest::keyClick(&w.strip, Qt::Key_Left);
        QCOMPARE(w.strip.focused(), storage);
        for (const MonitorSection expected : { sensors, memory, cpu, cpu }) {
            QTest::keyClick(&w.strip, Qt::Key_Right);
            QCOMPARE(w.strip.focused(), expected);
        }
        QCOMPARE(storedText("menuBarOrder"), QString());
    }

    void altAndArrowsMoveTheItem()
    {
        Setting { Keys::showSensorsItem }.set(false);
        ShownStrip w;
        w.strip.setFocus(Qt::TabFocusReason);
        QTest::keyClick(&w.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(w.strip.focused(), storage);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("memory,sensors,storage,cpu"));
        QVERIFY(w.standsOnGrid());
        QTest::keyClick(&w.strip, Qt::Key_Right, Qt::AltModifier);
        QTest::keyClick(&w.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("memory,sensors,cpu,storage"));
        QTest::keyClick(&w.strip, Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("memory,sensors,storage,cpu"));
    }

    void aScreenReaderHearsItemsAndReadouts()
    {
        Setting { Keys::showSensorsItem }.set(false);
        ShownStrip w;
        QVERIFY(!w.strip.accessibleName().isEmpty());
        const QString described = w.strip.accessibleDescription();
        QVERIFY2(described.contains(QStringLiteral("58%")), qPrintable(described));
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&w.strip);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 3);
        QAccessibleInterface* first = list->child(0);
        QCOMPARE(heard(first), QStringLiteral("ListItem ") + StatusMetricView::description(storage));
        QCOMPARE(first->text(QAccessible::Value), QStringLiteral("58%"));
        QCOMPARE(list->indexOfChild(first), 0);
        QCOMPARE(first->parent(), list);
        const QRect place = first->rect();
        QCOMPARE(place.topLeft(), w.strip.mapToGlobal(QPoint(7, 3)));
        QCOMPARE(list->childAt(place.center().x(), place.center().y()), first);

        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,memory,sensors,storage"));
        QTRY_COMPARE(w.sections().first(), cpu);
        QCOMPARE(list->child(2), first);
        QVERIFY(w.strip.accessibleDescription() != described);
    }

    void aScreenReaderHearsHowToMoveAnItem()
    {
        StripWindow w;
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&w.strip);
        const QString hint = QStringLiteral("Drag to move, or press Alt with an arrow key.");
        // The hint follows the readout, which assistive programs can get only from this text.
        QCOMPARE(list->child(0)->text(QAccessible::Description), QStringLiteral("58%. ") + hint);
        SharedSettings::store().set("storageReadout", QStringLiteral("off"));
        QTRY_COMPARE(list->child(0)->text(QAccessible::Value), QString());
        QCOMPARE(list->child(0)->text(QAccessible::Description), hint);
    }

    void aHiddenItemIsNotRead()
    {
        StripWindow w;
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&w.strip);
        QAccessibleInterface* last = list->child(3);
        QVERIFY(last->isValid());
        Setting { Keys::showCPUItem }.set(false);
        QTRY_COMPARE(list->childCount(), 3);
        QVERIFY(!last->isValid());
        QVERIFY(!list->child(3));
        QCOMPARE(list->indexOfChild(last), -1);
    }

    void theGroundOfAnItemReachesFourPointsToEachSide()
    {
        StripWindow w;
        const QRectF first = w.frame(storage);
        QVERIFY(!w.strip.item(QPointF(-4.01, 11)));
        QCOMPARE(w.strip.item(QPointF(-4, 11))->section, storage);
        QCOMPARE(w.strip.item(QPointF(first.right() + 3.99, 11))->section, storage);
    }

    void theMiddleOfAGapBelongsToTheRightHandItem()
    {
        StripWindow w;
        const double border = w.frame(storage).right() + 4;
        QCOMPARE(border, w.frame(sensors).left() - 4);
        QCOMPARE(w.strip.item(QPointF(border, 11))->section, sensors);
        QVERIFY(!w.strip.item(QPointF(w.frame(cpu).right() + 4, 11)));
    }

    void theGroundIsNoHigherThanTheItem()
    {
        StripWindow w;
        const double x = w.middle(memory);
        QVERIFY(w.strip.item(QPointF(x, 22)));
        QVERIFY(!w.strip.item(QPointF(x, 22.01)));
        QVERIFY(w.strip.item(QPointF(x, 0.01)));
        QVERIFY(!w.strip.item(QPointF(x, 0)));
        // The same check in widget coordinates: the item is 22 rows of pixels high.
        QVERIFY(w.strip.item(w.strip.stripPoint({ w.at(x).x(), 3 })));
        QVERIFY(!w.strip.item(w.strip.stripPoint({ w.at(x).x(), 2.99 })));
        QVERIFY(w.strip.item(w.strip.stripPoint({ w.at(x).x(), 24.99 })));
        QVERIFY(!w.strip.item(w.strip.stripPoint({ w.at(x).x(), 25 })));
    }

    void thePointerHoversOverItems()
    {
        ShownStrip w;
        w.move(w.middle(sensors));
        QCOMPARE(w.strip.hovered(), sensors);
        QCOMPARE(w.strip.cursor().shape(), Qt::OpenHandCursor);
        w.move(w.middle(sensors), 23);
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void aToolTipSaysHowToMoveAnItem()
    {
        ShownStrip w;
        const auto rest = [&w](double x, double y = 11) {
            // A hidden tool tip stays on the screen for a moment.
            QToolTip::hideText();
            if (!QTest::qWaitFor([] { return QToolTip::text().isEmpty(); }))
                return QStringLiteral("the one before");
            const QPoint at = w.at(x, y).toPoint();
            QHelpEvent event(QEvent::ToolTip, at, w.strip.mapToGlobal(at));
            QApplication::sendEvent(&w.strip, &event);
            return QToolTip::text();
        };
        const QString hint = QStringLiteral("Drag to move, or press Alt with an arrow key.");
        QCOMPARE(rest(w.middle(sensors)), hint);
        QCOMPARE(rest(w.middle(cpu)), hint);
        // There is no tool tip beside the items, and none during a drag.
        QCOMPARE(rest(w.middle(sensors), 24), QString());
        rest(w.middle(cpu));
        w.press(w.middle(cpu));
        QTRY_COMPARE(QToolTip::text(), QString());
        QCOMPARE(rest(w.middle(cpu)), QString());
        w.release(w.middle(cpu));
    }

    void leavingEndsTheHover()
    {
        ShownStrip w;
        w.move(w.middle(sensors));
        w.leave();
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void aWindowInTheBackgroundDoesNotHover()
    {
        ShownStrip w;
        w.move(w.middle(sensors));
        QWidget other;
        activate(other);
        QCOMPARE(w.strip.hovered(), std::nullopt);
        w.move(w.middle(sensors));
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void theItemUnderThePointerHasABackdrop_data()
    {
        addRows<ColourScheme, QColor>({ { "light", ColourScheme::light, QColor(0x1D, 0x1D, 0x1F) },
            { "dark", ColourScheme::dark, QColor(0xF2, 0xF2, 0xF4) } });
    }
    void theItemUnderThePointerHasABackdrop()
    {
        const auto [scheme, ink] = thisRow<ColourScheme, QColor>();
        SystemAppearance::shared().setScheme(scheme);
        ShownStrip w;
        QCOMPARE(w.pixel(-2, 11).alpha(), 0);
        w.move(w.middle(storage));
        const QColor ground = w.pixel(-2, 11);
        QCOMPARE_LE(std::abs(ground.alpha() - 36), 1);
        QCOMPARE_LE(std::abs(ground.red() - ink.red()), 4);
        QCOMPARE_LE(std::abs(ground.blue() - ink.blue()), 4);
        QCOMPARE(w.pixel(-4.5, 11).alpha(), 0);
        QVERIFY(w.pixel(-3.5, 11).alpha() > 30);
        QCOMPARE(w.pixel(w.frame(storage).right() + 5, 11).alpha(), 0);
        // The corner radius is 6: the very corner is empty, and the edge is opaque where the curve ends.
        QVERIFY(w.pixel(-3.5, 21.5).alpha() <= 2);
        QVERIFY(w.pixel(2.5, 21.5).alpha() >= 34);
        w.leave();
        QCOMPARE(w.pixel(-2, 11).alpha(), 0);
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripViewTest)
#include "MenuBarStripViewTest.moc"
