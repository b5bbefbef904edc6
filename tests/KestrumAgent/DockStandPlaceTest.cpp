// Where a popover stands beside the strip, computed from rectangles alone: on X11 the strip keeps to the upper edge of what panels
// leave free, so its other places cannot be had on a display.

#include "KestrumAgent/Panel/DockStand.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

class DockStandPlaceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itStandsBesideTheItem_data()
    {
        QTest::addColumn<QRect>("free");
        QTest::addColumn<QRect>("strip");
        QTest::addColumn<QRect>("item");
        QTest::addColumn<QPoint>("expected");
        const QRect screen(0, 0, 1000, 800);
        const QRect high(600, 0, 400, 22);
        const QRect low(600, 778, 400, 22);
        QTest::newRow("below a high strip") << screen << high << QRect(700, 0, 60, 22) << QPoint(580, 28);
        QTest::newRow("above a low strip") << screen << low << QRect(700, 778, 60, 22) << QPoint(580, 372);
        QTest::newRow("high, at the right edge")
            << screen << high << QRect(930, 0, 60, 22) << QPoint(692, 28);
        QTest::newRow("low, at the right edge")
            << screen << low << QRect(930, 778, 60, 22) << QPoint(692, 372);
        QTest::newRow("low, at the left edge")
            << screen << QRect(0, 778, 400, 22) << QRect(8, 778, 60, 22) << QPoint(8, 372);
        // A panel at the lower edge keeps 40 points for itself, and the strip stands above it.
        QTest::newRow("above a panel") << QRect(0, 0, 1000, 760) << QRect(600, 738, 400, 22)
                                       << QRect(700, 738, 60, 22) << QPoint(580, 332);
        QTest::newRow("second screen, low, at its left edge")
            << QRect(1000, 0, 800, 600) << QRect(1000, 578, 400, 22) << QRect(1008, 578, 60, 22)
            << QPoint(1008, 172);
        // The leading edge of the text is what people must see.
        QTest::newRow("screen too narrow")
            << QRect(0, 0, 310, 800) << QRect(0, 0, 310, 22) << QRect(250, 0, 40, 22) << QPoint(8, 28);
    }
    void itStandsBesideTheItem()
    {
        QFETCH(const QRect, free);
        QFETCH(const QRect, strip);
        QFETCH(const QRect, item);
        QFETCH(const QPoint, expected);
        const QSize size(300, 400);
        QCOMPARE(DockStand::place(size, item, strip, free), QRect(expected, size));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DockStandPlaceTest)
#include "DockStandPlaceTest.moc"
