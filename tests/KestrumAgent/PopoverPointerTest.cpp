// What the pointer shows in a popover's window, and which lists it holds.

#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PopoverWindowFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QHelpEvent>
#include <QProxyStyle>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PopoverPointerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aGraphKnowsWhereThePointerIsAndIsPaintedAgain()
    {
        PopoverWindowFixture popover;
        QVERIFY(QTest::qWaitForWindowExposed(&popover.window));
        QTest::mouseMove(&popover.window, QPoint(100, 20));
        QTest::qWait(20);
        PaintWatcher watcher;
        popover.window.installEventFilter(&watcher);
        QTest::mouseMove(&popover.window, QPoint(150, 170)); // on the graph
        QTRY_COMPARE(popover.graph.pointer->value_or(QPointF()), QPointF(150, 170));
        QVERIFY(watcher.painted.contains(QPoint(150, 170)));
        QVERIFY(!watcher.painted.contains(QPoint(20, 60))); // not the list
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&popover.window, &leave);
        QTRY_VERIFY(!*popover.graph.pointer);
    }

    void rowsKeepTheirPlacesWhileTheUserIsAtThem()
    {
        PopoverWindowFixture popover;
        QSignalSpy held(&popover.window, &PopoverWindow::listHeld);
        QTest::mouseMove(&popover.window, QPoint(100, 77));
        QTRY_COMPARE(held.count(), 1);
        QCOMPARE(held.last().first().toBool(), true);
        QTest::mouseMove(&popover.window, QPoint(100, 87)); // between two rows
        QTest::qWait(20);
        QCOMPARE(held.count(), 1);
        QTest::mouseMove(&popover.window, QPoint(100, 300));
        QTRY_COMPARE(held.count(), 2);
        QCOMPARE(held.last().first().toBool(), false);
        QTest::keyClick(&popover.window, Qt::Key_Down);
        QCOMPARE(held.count(), 3);
        QCOMPARE(held.last().first().toBool(), true);
        // A pinned window stays when the user turns to another one.
        QEvent away(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(&popover.window, &away);
        QCOMPARE(held.count(), 4);
        QCOMPARE(held.last().first().toBool(), false);
    }

    void whatMovesBelowARestingPointerIsPointedAt()
    {
        PopoverWindowFixture popover;
        popover.show(200);
        QVERIFY(QTest::qWaitForWindowExposed(&popover.window));
        QSignalSpy held(&popover.window, &PopoverWindow::listHeld);
        QTest::mouseMove(&popover.window, QPoint(100, 77)); // on the first row
        QTRY_COMPARE(held.count(), 1);
        QTest::keyClick(&popover.window, Qt::Key_PageDown); // by 143
        QTRY_COMPARE(popover.graph.pointer->value_or(QPointF()), QPointF(100, 77 + 143));
        QCOMPARE(held.count(), 2);
        popover.graph.tall = 100;
        popover.show(200); // so only 43 can be scrolled
        QTRY_COMPARE(popover.graph.pointer->value_or(QPointF()), QPointF(100, 77 + 43));
        const QPoint before = popover.window.geometry().topLeft();
        popover.window.move(popover.window.pos() - QPoint(10, 50));
        QTRY_VERIFY(popover.graph.pointer->value_or(QPointF()) != QPointF(100, 77 + 43));
        const QPoint moved = before - popover.window.geometry().topLeft();
        QVERIFY(moved.x() > 0 && moved.y() > 40);
        QCOMPARE(popover.graph.pointer->value_or(QPointF()), QPointF(100, 77 + 43) + moved);
        popover.window.startAnew();
        popover.show(200);
        QTRY_COMPARE(popover.list.pointer->value_or(QPointF()), QPointF(100, 77) + moved);
        QTest::mouseMove(&popover.window, QPoint(282, 20));
        QTRY_COMPARE(popover.window.cursor().shape(), Qt::PointingHandCursor); // the gear
        popover.window.move(popover.window.pos() + QPoint(0, 50));
        QTRY_COMPARE(popover.window.cursor().shape(), Qt::ArrowCursor);
    }

    void aHeadOfAColumnIsExplainedWhereThePointerRests()
    {
        PopoverWindowFixture popover;
        popover.list.elements[0].children[0].tip = QStringLiteral("Your own programs");
        popover.show();
        QSignalSpy tip(&popover.window, &PopoverWindow::tipRequested);
        for (const QPoint at : { QPoint(20, 55), QPoint(20, 300) }) {
            QHelpEvent event(QEvent::ToolTip, at, popover.window.mapToGlobal(at));
            QApplication::sendEvent(&popover.window, &event);
        }
        QCOMPARE(tip.count(), 2);
        QCOMPARE(tip[0][1].toString(), QStringLiteral("Your own programs"));
        QCOMPARE(tip[0][2].toRect(), QRect(12, 50, 60, 12));
        QVERIFY(tip[1][1].toString().isEmpty());
    }

    void itExplainsAlsoWhileAnotherWindowIsActive()
    {
        struct AtOnce final : QProxyStyle {
            int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* result) const override
            {
                return hint == SH_ToolTip_WakeUpDelay ? 1
                                                      : QProxyStyle::styleHint(hint, option, widget, result);
            }
        } atOnce;
        PopoverWindowFixture popover;
        popover.window.setStyle(&atOnce);
        popover.list.elements[0].children[0].tip = QStringLiteral("Your own programs");
        popover.show();
        QWidget other;
        other.setGeometry(500, 500, 100, 100);
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!popover.window.isActiveWindow());
        QSignalSpy tip(&popover.window, &PopoverWindow::tipRequested);
        QTest::mouseMove(&popover.window, QPoint(20, 55));
        QTRY_COMPARE_WITH_TIMEOUT(tip.count(), 1, 1000);
        QCOMPARE(tip[0][1].toString(), QStringLiteral("Your own programs"));
    }

    void aRowThatHasAFixedPlaceHoldsNoList()
    {
        PopoverWindowFixture popover;
        popover.list.elements.first().children.last().isRanked = false;
        popover.show();
        QTest::mouseMove(&popover.window, QPoint(100, 300));
        QSignalSpy held(&popover.window, &PopoverWindow::listHeld);
        QTest::mouseMove(&popover.window, QPoint(100, 117)); // on the last row
        QTest::keyClick(&popover.window, Qt::Key_End);
        QCOMPARE(popover.focused(), QStringLiteral("Kernel, cores 0.1"));
        QTest::qWait(20);
        QVERIFY(held.isEmpty());
        QTest::mouseMove(&popover.window, QPoint(100, 97));
        QTRY_COMPARE(held.count(), 1);
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverPointerTest)
#include "PopoverPointerTest.moc"
