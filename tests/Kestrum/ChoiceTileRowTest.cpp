#include "Kestrum/Popovers/ChoiceTileRow.h"

#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TileWindow.h"

#include <QSignalSpy>

using namespace kestrum;

class ChoiceTileRowTest : public QObject {
    Q_OBJECT

    static inline const QStringList three { QStringLiteral("Light"), QStringLiteral("Dark"),
        QStringLiteral("System") };
    static inline const QStringList two { QStringLiteral("Translucent"), QStringLiteral("Opaque") };

    static const QLabel& labelOf(const ChoiceTileRow& row) { return *row.findChild<QLabel*>(); }

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void whereThereIsRoomTheTilesTrailTheText()
    {
        const TileWindow w(three, 600);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(w.tile(i).geometry().topLeft(), QPoint(600 - 12 - 376 + i * 132, w.tile(0).y()));
        QCOMPARE(labelOf(w.row).x(), 12);
        const int above = labelOf(w.row).y();
        const int below = w.row.height() - labelOf(w.row).geometry().bottom() - 1;
        QVERIFY(std::abs(above - below) <= 1);
        QCOMPARE(w.tile(0).y(), w.row.height() - 1 - w.tile(0).geometry().bottom());
    }

    void whereBothDoNotFitTheTilesStandBelow()
    {
        // 404 is the width of the rows in the smallest window.
        const TileWindow w(three, 404);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(w.tile(i).geometry().topLeft(), QPoint(12 + i * 132, w.tile(0).y()));
        QVERIFY(w.tile(0).y() > labelOf(w.row).geometry().bottom());
        QCOMPARE(labelOf(w.row).x(), 12);
        QVERIFY(w.row.height() > w.tile(0).geometry().bottom());
    }

    void theTilesMoveJustBeforeTheyWouldTouchTheText()
    {
        TileWindow w(three);
        const int whole = 12 + labelOf(w.row).sizeHint().width() + 12 + 376 + 12;
        w.resize(whole);
        QVERIFY(w.tile(0).y() < 30);
        QVERIFY(!w.tile(0).geometry().intersects(labelOf(w.row).geometry()));
        w.resize(whole - 1);
        QVERIFY(w.tile(0).y() > labelOf(w.row).geometry().bottom());
        QCOMPARE(w.row.sizeHint().width(), whole);
    }

    void threeTilesFitWhereTheyJustFit()
    {
        TileWindow w(three, 376 + 24);
        QCOMPARE(w.tile(2).y(), w.tile(0).y());
        QCOMPARE(w.tile(2).geometry().right() + 1, 376 + 12);
        const int height = w.row.height();
        w.resize(376 + 23);
        QCOMPARE(w.tile(1).y(), w.tile(0).y());
        QCOMPARE(w.tile(2).x(), 12);
        QVERIFY(w.tile(2).y() > w.tile(0).geometry().bottom());
        QCOMPARE(w.row.height(), height + 12 + w.tile(2).height());
    }

    void noTileIsCutHoweverNarrowItGets()
    {
        TileWindow w(three);
        for (int width = w.row.minimumSizeHint().width(); width < 700; width += 7) {
            w.resize(width);
            for (int i = 0; i < 3; ++i) {
                QVERIFY(w.row.rect().adjusted(12, 12, -12, -12).contains(w.tile(i).geometry()));
                QCOMPARE(w.tile(i).size(), w.tile(i).sizeHint());
                for (int j = 0; j < i; ++j)
                    QVERIFY(!w.tile(i).geometry().intersects(w.tile(j).geometry()));
            }
        }
    }

    void oneRowFollowsTheOther()
    {
        const TileWindow wide(three);
        TileWindow narrow(two, 420);
        QVERIFY(narrow.tile(0).y() < 30);
        narrow.row.alignWith(wide.row);
        narrow.resize(421);
        QVERIFY(narrow.tile(0).y() > labelOf(narrow.row).geometry().bottom());
        QCOMPARE(narrow.tile(0).x(), 12);
        narrow.resize(600);
        QVERIFY(narrow.tile(0).y() < 30);
        QCOMPARE(narrow.tile(1).geometry().right() + 1, 600 - 12);
    }

    void fromTheRightItIsMirrored()
    {
        TileWindow w(three, 404);
        w.window.setLayoutDirection(Qt::RightToLeft);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(w.tile(i).geometry().right() + 1, 404 - 12 - i * 132);
        w.resize(600);
        QCOMPARE(w.tile(2).x(), 12);
        QCOMPARE(labelOf(w.row).geometry().right() + 1, 600 - 12);
    }

    void oneTileIsSelectedOrNone()
    {
        TileWindow w(three);
        QCOMPARE(w.row.index(), -1);
        QSignalSpy choices(&w.row, &ChoiceTileRow::chosen);
        w.row.setIndex(1);
        QCOMPARE(w.row.index(), 1);
        QVERIFY(!w.tile(0).isSelected() && w.tile(1).isSelected() && !w.tile(2).isSelected());
        w.row.setIndex(2);
        QVERIFY(!w.tile(1).isSelected() && w.tile(2).isSelected());
        for (const int nowhere : { -1, 3 }) {
            w.row.setIndex(nowhere);
            QCOMPARE(w.row.index(), -1);
        }
        QCOMPARE(choices.size(), 0);
    }

    void aChoiceIsToldEachTime()
    {
        TileWindow w(three);
        QSignalSpy choices(&w.row, &ChoiceTileRow::chosen);
        w.row.setIndex(1);
        QTest::mouseClick(&w.tile(1), Qt::LeftButton);
        QTest::mouseClick(&w.tile(2), Qt::LeftButton);
        QCOMPARE(choices, (QList<QVariantList> { { 1 }, { 2 } }));
    }

    void everyTileIsATabStopInReadingOrder()
    {
        TileWindow w(three);
        w.tile(0).setFocus();
        for (int i = 1; i < 3; ++i) {
            QTest::keyClick(&w.window, Qt::Key_Tab);
            QVERIFY(w.tile(i).hasFocus());
        }
    }

    void arrowsMoveTheFocusAndChooseNothing()
    {
        TileWindow w(three);
        QSignalSpy choices(&w.row, &ChoiceTileRow::chosen);
        const auto pressed = [&w](int key) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key(key));
            return int(w.row.tiles().indexOf(qobject_cast<ChoiceTile*>(QApplication::focusWidget())));
        };
        w.tile(0).setFocus();
        QCOMPARE(pressed(Qt::Key_Right), 1);
        QVERIFY(w.ring());
        QCOMPARE(pressed(Qt::Key_Down), 2);
        QCOMPARE(pressed(Qt::Key_Right), 2);
        QCOMPARE(pressed(Qt::Key_Left), 1);
        QCOMPARE(pressed(Qt::Key_Up), 0);
        QCOMPARE(pressed(Qt::Key_Up), 0);
        w.window.setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(pressed(Qt::Key_Left), 1);
        QCOMPARE(pressed(Qt::Key_Down), 2);
        QCOMPARE(pressed(Qt::Key_Right), 1);
        QCOMPARE(choices.size(), 0);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(choices, (QList<QVariantList> { { 1 } }));
    }

    void assistiveProgramsSeeAGroupNamedByTheText()
    {
        TileWindow w(three);
        QAccessibleInterface* group = QAccessible::queryAccessibleInterface(&w.row);
        QCOMPARE(heard(group), QStringLiteral("Grouping Appearance"));
        QStringList tiles;
        for (int i = 0; i < group->childCount(); ++i)
            tiles.append(heard(group->child(i)));
        QCOMPARE(
            tiles.join(u'|'), QStringLiteral("StaticText Appearance|Button Light|Button Dark|Button System"));
    }
};

KESTRUM_TEST_MAIN(QApplication, ChoiceTileRowTest)
#include "ChoiceTileRowTest.moc"
