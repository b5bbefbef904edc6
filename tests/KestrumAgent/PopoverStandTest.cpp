// Where a popover's window is put beside the strip, and when the one of a status icon goes.

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/TrayStand.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PopoverStandTest : public QObject {
    Q_OBJECT

    /// A status icon's window that is in use, beside another window.
    struct Tray {
        QWidget window, other;
        TrayStand stand;
        QSignalSpy dismissed { &stand, &PopoverStand::dismissed };

        bool isReady()
        {
            other.show();
            stand.show(window, QSize(300, 400), {});
            return QTest::qWaitForWindowActive(&window);
        }
        void turnToOther() { other.activateWindow(); }
    };

private Q_SLOTS:
    void aWindowIsCentredAtItsItemButKeepsItsDistances_data()
    {
        QTest::addColumn<QRect>("item");
        QTest::addColumn<QRect>("strip");
        QTest::addColumn<QPoint>("corner");
        const QRect atTheTop(600, 30, 400, 22);
        QTest::newRow("in the middle") << QRect(650, 30, 60, 22) << atTheTop << QPoint(530, 58);
        QTest::newRow("at the right edge") << QRect(920, 30, 70, 22) << atTheTop << QPoint(692, 58);
        QTest::newRow("at the left edge") << QRect(10, 30, 60, 22) << QRect(0, 30, 400, 22) << QPoint(8, 58);
        QTest::newRow("above a strip at the bottom")
            << QRect(650, 740, 60, 22) << QRect(600, 740, 400, 22) << QPoint(530, 740 - 6 - 500);
    }
    void aWindowIsCentredAtItsItemButKeepsItsDistances()
    {
        QFETCH(const QRect, item);
        QFETCH(const QRect, strip);
        QFETCH(const QPoint, corner);
        const QRect free(0, 30, 1000, 740);
        QCOMPARE(DockStand::place(QSize(300, 500), item, strip, free), QRect(corner, QSize(300, 500)));
    }

    void onAScreenThatIsTooNarrowItsLeadingPartIsSeen()
    {
        const QRect narrow(100, 0, 280, 600);
        QCOMPARE(
            DockStand::place(QSize(300, 400), QRect(200, 0, 60, 22), QRect(100, 0, 280, 22), narrow).left(),
            108);
    }

    void aStatusIconsWindowGoesWhenAnotherIsInUse()
    {
        Tray tray;
        QVERIFY(tray.isReady());
        QCOMPARE(tray.window.size(), QSize(300, 400));
        tray.turnToOther();
        QTRY_COMPARE(tray.dismissed.count(), 1);
    }

    void itHearsOfAnotherSizeOfItsScreenWhileItIsShown()
    {
        Tray tray;
        QVERIFY(tray.isReady());
        QSignalSpy changed(&tray.stand, &PopoverStand::roomChanged);
        QScreen* screen = tray.window.screen();
        Q_EMIT screen->availableGeometryChanged(screen->availableGeometry());
        QCOMPARE(changed.count(), 1);
        tray.stand.hide();
        Q_EMIT screen->availableGeometryChanged(screen->availableGeometry());
        QCOMPARE(changed.count(), 1);
    }

    void aPinnedOneStays()
    {
        Tray tray;
        QVERIFY(tray.isReady());
        tray.stand.setPinned(true);
        tray.turnToOther();
        QTRY_VERIFY(!tray.window.isActiveWindow());
        QTest::qWait(quietTime);
        QVERIFY(tray.dismissed.isEmpty());
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverStandTest)
#include "PopoverStandTest.moc"
