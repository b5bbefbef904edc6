#include "Kestrum/Form/SegmentedPicker.h"

#include "Kestrum/Form/Card.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/ControlWindow.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QRadioButton>
#include <QSignalSpy>

using namespace kestrum;
using Theme::Colour;

namespace {

const QStringList titles { QStringLiteral("Bars"), QStringLiteral("Wave"), QStringLiteral("Compact") };

SegmentedPicker* pickerOf(const QStringList& segments, int index)
{
    auto* picker = new SegmentedPicker;
    for (const QString& title : segments)
        picker->addSegment(title);
    picker->setIndex(index);
    return picker;
}

/// A picker between two buttons.
struct Stage {
    PushButton* before = new PushButton(QStringLiteral("Before"));
    SegmentedPicker* picker;
    PushButton* after = new PushButton(QStringLiteral("After"));
    QSignalSpy choices;
    ControlWindow window;

    explicit Stage(int index = 0, Qt::LayoutDirection direction = Qt::LeftToRight)
        : picker(pickerOf(titles, index))
        , choices(picker, &SegmentedPicker::chosen)
        , window({ before, picker, after }, direction)
    {
    }

    QRadioButton* segment(int index) const { return picker->findChildren<QRadioButton*>()[index]; }
    void press(int key) const { QTest::keyClick(QApplication::focusWidget(), Qt::Key(key)); }
    int lastChoice() const { return choices.isEmpty() ? -1 : choices.last().first().toInt(); }
    QRgb pixel(int index, QPoint place) const
    {
        return picker->grab().toImage().pixel(segment(index)->pos() + place);
    }
};

} // namespace

class SegmentedPickerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itIsAsWideAsItsTextsAndTwentySixHigh()
    {
        const Stage stage;
        QCOMPARE(stage.picker->sizeHint().height(), 26);
        QCOMPARE(stage.picker->size(), stage.picker->sizeHint());
        int end = 0;
        for (int i = 0; i < titles.size(); ++i) {
            const QRect place = stage.segment(i)->geometry();
            QCOMPARE(place.left(), end);
            QCOMPARE(place.height(), 26);
            QVERIFY(place.width() >= stage.window.fontMetrics().horizontalAdvance(titles[i]) + 20);
            end = place.right() + 1;
        }
        QCOMPARE(end, stage.picker->width());
    }

    void aClickChoosesAndTellsOnce()
    {
        const Stage stage;
        for (const QPoint place : { QPoint(1, 1), stage.segment(1)->rect().bottomRight() })
            QTest::mouseClick(stage.segment(1), Qt::LeftButton, {}, place);
        QCOMPARE(stage.choices.size(), 1);
        QCOMPARE(stage.lastChoice(), 1);
        QCOMPARE(stage.picker->index(), 1);
        QVERIFY(!stage.segment(0)->isChecked());
    }

    void showingAnotherChoiceTellsNobody()
    {
        const Stage stage;
        for (const int index : { 2, -1, 1, 3, 0 }) {
            stage.picker->setIndex(index);
            QCOMPARE(stage.picker->index(), index == 3 ? -1 : index);
        }
        QCOMPARE(stage.choices.size(), 0);
    }

    void theArrowsChooseAndStopAtTheEnds()
    {
        const Stage stage(1);
        stage.segment(1)->setFocus(Qt::TabFocusReason);
        stage.press(Qt::Key_Right);
        QCOMPARE(stage.picker->index(), 2);
        QVERIFY(stage.segment(2)->hasFocus());
        stage.press(Qt::Key_Right);
        QCOMPARE(stage.picker->index(), 2);
        QCOMPARE(stage.choices.size(), 1);
        stage.press(Qt::Key_Left);
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.picker->index(), 0);
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.choices.size(), 3);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.lastChoice(), 1);
        QVERIFY(stage.segment(1)->hasFocus());
    }

    void fromTheRightSegmentsAndArrowsAreMirrored()
    {
        const Stage stage(0, Qt::RightToLeft);
        QCOMPARE(stage.segment(0)->geometry().right() + 1, stage.picker->width());
        QCOMPARE(stage.segment(2)->x(), 0);
        stage.segment(0)->setFocus(Qt::TabFocusReason);
        stage.press(Qt::Key_Left);
        QCOMPARE(stage.picker->index(), 1);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.picker->index(), 2);
        stage.press(Qt::Key_Right);
        QCOMPARE(stage.picker->index(), 1);
    }

    void theKeyboardEntersAtTheOneChosenAndLeavesAtOnce()
    {
        for (const int index : { 0, 1, 2 }) {
            const Stage stage(index);
            stage.before->setFocus(Qt::TabFocusReason);
            stage.press(Qt::Key_Tab);
            QVERIFY(stage.segment(index)->hasFocus());
            stage.press(Qt::Key_Tab);
            QVERIFY(stage.after->hasFocus());
            stage.press(Qt::Key_Backtab);
            QVERIFY(stage.segment(index)->hasFocus());
            stage.press(Qt::Key_Backtab);
            QVERIFY(stage.before->hasFocus());
            QCOMPARE(stage.choices.size(), 0);
        }
    }

    void comingToAPickerWithoutAChoiceChoosesNothing()
    {
        const Stage stage(-1);
        stage.before->setFocus(Qt::TabFocusReason);
        stage.press(Qt::Key_Tab);
        QVERIFY(stage.segment(0)->hasFocus());
        QCOMPARE(stage.picker->index(), -1);
        stage.press(Qt::Key_Tab);
        QVERIFY(stage.after->hasFocus());
        stage.press(Qt::Key_Backtab);
        QVERIFY(stage.segment(0)->hasFocus());
        QCOMPARE(stage.choices.size(), 0);
        stage.press(Qt::Key_Space);
        QCOMPARE(stage.lastChoice(), 0);
    }

    void theKeyboardGoesWithAChoiceMadeElsewhere()
    {
        const Stage stage(0);
        stage.before->setFocus(Qt::TabFocusReason);
        stage.picker->setIndex(1);
        QVERIFY(stage.before->hasFocus());
        stage.press(Qt::Key_Tab);
        QVERIFY(stage.segment(1)->hasFocus());
        stage.picker->setIndex(2);
        QVERIFY(stage.segment(2)->hasFocus());
        QCOMPARE(
            stage.window.ring()->geometry(), ControlWindow::around(*stage.segment(2), *stage.window.ring()));
        stage.picker->setIndex(-1);
        stage.press(Qt::Key_Tab);
        QVERIFY(stage.after->hasFocus());
        stage.press(Qt::Key_Backtab);
        QVERIFY(stage.segment(0)->hasFocus());
    }

    void theKeyboardsPlaceIsMarkedWhole()
    {
        const Stage stage(1);
        QTest::mouseClick(stage.segment(2), Qt::LeftButton);
        QVERIFY(stage.segment(2)->hasFocus());
        QVERIFY(!stage.window.ring());
        stage.before->setFocus(Qt::TabFocusReason);
        stage.press(Qt::Key_Tab);
        FocusRing* ring = stage.window.ring();
        QVERIFY(ring);
        QCOMPARE(ring->geometry(), ControlWindow::around(*stage.segment(2), *ring));
        QVERIFY(ring->parentWidget()->rect().contains(ring->geometry()));
        stage.press(Qt::Key_Left);
        ring = stage.window.ring();
        QVERIFY(ring);
        QCOMPARE(ring->geometry(), ControlWindow::around(*stage.segment(1), *ring));
        // It stays where the control is when the page moves it.
        stage.picker->move(stage.picker->pos() + QPoint(15, 10));
        QCOMPARE(ring->geometry(), ControlWindow::around(*stage.segment(1), *ring));
        // And goes on with the keyboard.
        stage.picker->hide();
        QVERIFY(stage.after->hasFocus());
        ring = stage.window.ring();
        QVERIFY(ring);
        QCOMPARE(ring->geometry(), ControlWindow::around(*stage.after, *ring));
    }

    void nothingMovesWhenAnotherIsChosen()
    {
        const Stage stage(0);
        QList<QRect> before;
        for (int i = 0; i < titles.size(); ++i)
            before.append(stage.segment(i)->geometry());
        const QSize size = stage.picker->sizeHint();
        for (const int index : { 2, -1, 1 }) {
            stage.picker->setIndex(index);
            QCOMPARE(stage.picker->sizeHint(), size);
            for (int i = 0; i < titles.size(); ++i)
                QCOMPARE(stage.segment(i)->geometry(), before[i]);
        }
    }

    void theOneChosenStandsOutInBothSchemes()
    {
        const Stage stage(0);
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const auto colour = [](Colour of) { return Theme::colour(of).rgba(); };
            const int middle = 13;
            // No outline: the plate reaches to its edges, and below it stands its shade.
            for (const QPoint place : { QPoint(2, middle), QPoint(6, middle), QPoint(20, 2), QPoint(20, 22) })
                QCOMPARE(stage.pixel(0, place), colour(Colour::chosenSegment));
            QCOMPARE(stage.pixel(0, { 20, 23 }), colour(Colour::segmentShade));
            for (const QPoint place : { QPoint(1, middle), QPoint(20, 1), QPoint(20, 24) })
                QCOMPARE(stage.pixel(0, place), colour(Colour::segmentTrack));
            for (const QPoint place : { QPoint(2, middle), QPoint(6, middle), QPoint(20, 23) })
                QCOMPARE(stage.pixel(1, place), colour(Colour::segmentTrack));
        }
    }

    void onePressedOrUnderThePointerIsShownSo()
    {
        const Stage stage(0);
        const QRgb still = stage.pixel(1, { 6, 13 });
        QTest::mousePress(stage.segment(1), Qt::LeftButton);
        QVERIFY(stage.pixel(1, { 6, 13 }) != still);
        QTest::mouseRelease(stage.segment(1), Qt::LeftButton, {}, { -40, 60 });
        QCOMPARE(stage.picker->index(), 0);
    }

    void disabledItIsPalerAndChoosesNothing()
    {
        const Stage stage(0);
        const QImage before = stage.picker->grab().toImage();
        stage.picker->setEnabled(false);
        QVERIFY(stage.picker->grab().toImage() != before);
        QTest::mouseClick(stage.segment(1), Qt::LeftButton);
        QCOMPARE(stage.picker->index(), 0);
    }

    void assistiveProgramsMeetAGroupOfRadioButtons()
    {
        const Stage stage(1);
        stage.picker->setAccessibleName(QStringLiteral("Meter"));
        QAccessibleInterface* group = QAccessible::queryAccessibleInterface(stage.picker);
        QCOMPARE(group->role(), QAccessible::Grouping);
        QCOMPARE(group->text(QAccessible::Name), QStringLiteral("Meter"));
        QCOMPARE(group->childCount(), 3);
        for (int i = 0; i < 3; ++i) {
            QAccessibleInterface* segment = group->child(i);
            QCOMPARE(segment->role(), QAccessible::RadioButton);
            QCOMPARE(segment->text(QAccessible::Name), titles[i]);
            QVERIFY(segment->state().checkable && segment->state().focusable);
            QCOMPARE(bool(segment->state().checked), i == 1);
        }
        QAccessibleActionInterface* action = group->child(2)->actionInterface();
        QVERIFY(!action->actionNames().isEmpty());
        action->doAction(action->actionNames().constFirst());
        QTRY_COMPARE(stage.lastChoice(), 2);
        QVERIFY(group->child(2)->state().checked && !group->child(1)->state().checked);
    }

    void whoeverIsToldCanTakeTheChoiceBack()
    {
        const Stage stage(0);
        connect(stage.picker, &SegmentedPicker::chosen, stage.picker, [&] { stage.picker->setIndex(0); });
        QTest::mouseClick(stage.segment(2), Qt::LeftButton);
        QCOMPARE(stage.picker->index(), 0);
        QVERIFY(!stage.segment(2)->isChecked());
        stage.segment(0)->setFocus(Qt::TabFocusReason);
        stage.press(Qt::Key_Right);
        QCOMPARE(stage.picker->index(), 0);
        QVERIFY(stage.segment(0)->hasFocus());
        QCOMPARE(stage.choices.size(), 2);
    }

    void whereItIsTooWideItStandsInRowsAndNothingIsCut_data()
    {
        QTest::addColumn<Qt::LayoutDirection>("direction");
        QTest::newRow("from the left") << Qt::LeftToRight;
        QTest::newRow("from the right") << Qt::RightToLeft;
    }

    void whereItIsTooWideItStandsInRowsAndNothingIsCut()
    {
        QFETCH(Qt::LayoutDirection, direction);
        auto* picker = pickerOf({ QStringLiteral("Balkendiagramm"), QStringLiteral("Wellenlinie"),
                                    QStringLiteral("Zusammengefasst") },
            1);
        auto* row = new Row(QStringLiteral("Darstellung"), picker);
        auto* card = new Card({ row });
        ControlWindow window({}, direction);
        static_cast<QVBoxLayout*>(window.layout())->insertWidget(0, card);
        window.resize(280, 400);
        QTRY_COMPARE(picker->width(), 280 - 2 * ControlWindow::margin - 2 * Theme::rowInset);
        QVERIFY(picker->height() > 26);
        QCOMPARE(picker->height(), picker->heightForWidth(picker->width()));
        QVERIFY(row->rect().contains(picker->geometry()));
        QRegion covered;
        for (const auto* segment : picker->findChildren<QRadioButton*>()) {
            QVERIFY(segment->width() >= segment->sizeHint().width());
            QVERIFY(picker->rect().contains(segment->geometry()));
            QVERIFY(!covered.intersects(segment->geometry()));
            covered += segment->geometry();
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, SegmentedPickerTest)
#include "SegmentedPickerTest.moc"
