#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <QHelpEvent>
#include <QToolTip>

using namespace kestrum;

using enum MonitorSection;

/// Which item the strip finds under the pointer, and what it shows there.
class MenuBarStripPointerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { StripWindow::prepare(); }

    // Hitting

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
        // The same in the widget's own coordinates, which have 22 rows of pixels.
        QVERIFY(w.strip.item(w.strip.stripPoint({ w.at(x).x(), 3 })));
        QVERIFY(!w.strip.item(w.strip.stripPoint({ w.at(x).x(), 2.99 })));
        QVERIFY(w.strip.item(w.strip.stripPoint({ w.at(x).x(), 24.99 })));
        QVERIFY(!w.strip.item(w.strip.stripPoint({ w.at(x).x(), 25 })));
    }

    // Hovering

    void thePointerHoversOverItems()
    {
        StripWindow w;
        w.show();
        w.move(w.middle(sensors));
        QCOMPARE(w.strip.hovered(), sensors);
        QCOMPARE(w.strip.cursor().shape(), Qt::OpenHandCursor);
        w.move(w.middle(sensors), 23);
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void aToolTipSaysHowToMoveAnItem()
    {
        StripWindow w;
        w.show();
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
        StripWindow w;
        w.show();
        w.move(w.middle(sensors));
        w.leave();
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void aWindowInTheBackgroundDoesNotHover()
    {
        StripWindow w;
        w.show();
        w.move(w.middle(sensors));
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QCOMPARE(w.strip.hovered(), std::nullopt);
        w.move(w.middle(sensors));
        QCOMPARE(w.strip.hovered(), std::nullopt);
        QCOMPARE(w.strip.cursor().shape(), Qt::ArrowCursor);
    }

    void theItemUnderThePointerHasABackdrop_data()
    {
        QTest::addColumn<ColourScheme>("scheme");
        QTest::addColumn<QColor>("ink");
        QTest::newRow("light") << ColourScheme::light << QColor(0x1D, 0x1D, 0x1F);
        QTest::newRow("dark") << ColourScheme::dark << QColor(0xF2, 0xF2, 0xF4);
    }

    void theItemUnderThePointerHasABackdrop()
    {
        QFETCH(ColourScheme, scheme);
        QFETCH(QColor, ink);
        SystemAppearance::shared().setScheme(scheme);
        StripWindow w;
        w.show();
        QCOMPARE(w.pixel(-2, 11).alpha(), 0);
        w.move(w.middle(storage));
        const QColor ground = w.pixel(-2, 11);
        QVERIFY2(std::abs(ground.alpha() - 36) <= 1, qPrintable(ground.name(QColor::HexArgb)));
        QVERIFY(std::abs(ground.red() - ink.red()) <= 4);
        QVERIFY(std::abs(ground.blue() - ink.blue()) <= 4);
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

KESTRUM_TEST_MAIN(QApplication, MenuBarStripPointerTest)
#include "MenuBarStripPointerTest.moc"
