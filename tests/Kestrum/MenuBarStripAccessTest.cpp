#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>

using namespace kestrum;

using enum MonitorSection;

/// The strip without a pointer: by the keyboard, and with a screen reader.
class MenuBarStripAccessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { StripWindow::prepare(); }

    // Keyboard

    void tabShowsWhereTheKeyboardIs()
    {
        StripWindow w;
        w.show();
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
        StripWindow w;
        w.show();
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
        StripWindow w;
        w.show();
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

    // Screen readers

    void aScreenReaderHearsItemsAndReadouts()
    {
        Setting { Keys::showSensorsItem }.set(false);
        StripWindow w;
        w.show();
        QVERIFY(!w.strip.accessibleName().isEmpty());
        const QString described = w.strip.accessibleDescription();
        QVERIFY2(described.contains(QStringLiteral("58%")), qPrintable(described));
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&w.strip);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 3);
        QAccessibleInterface* first = list->child(0);
        QCOMPARE(first->role(), QAccessible::ListItem);
        QCOMPARE(first->text(QAccessible::Name), StatusMetricView::description(storage));
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
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripAccessTest)
#include "MenuBarStripAccessTest.moc"
