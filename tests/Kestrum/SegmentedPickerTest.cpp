#include "Kestrum/Form/SegmentedPicker.h"

#include "Kestrum/Form/Card.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QRadioButton>
#include <QSignalSpy>

using namespace kestrum;
using Theme::Colour;

class SegmentedPickerTest : public QObject {
    Q_OBJECT

    static inline const QStringList segmentTitles { QStringLiteral("Bars"), QStringLiteral("Wave"),
        QStringLiteral("Compact") };

    static SegmentedPicker* pickerOf(const QStringList& segments, int index)
    {
        auto* picker = new SegmentedPicker;
        for (const QString& title : segments)
            picker->addSegment(title);
        picker->setIndex(index);
        return picker;
    }

    /// A picker between two buttons.
    struct Fixture {
        PushButton* before = new PushButton(QStringLiteral("Before"));
        SegmentedPicker* picker;
        PushButton* after = new PushButton(QStringLiteral("After"));
        QSignalSpy choices;
        ControlWindow window;

        explicit Fixture(int index = 0, Qt::LayoutDirection direction = Qt::LeftToRight)
            : picker(pickerOf(segmentTitles, index))
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

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itIsAsWideAsItsTextsAndTwentySixHigh()
    {
        const Fixture fixture;
        QCOMPARE(fixture.picker->sizeHint().height(), 26);
        QCOMPARE(fixture.picker->size(), fixture.picker->sizeHint());
        int end = 0;
        for (int i = 0; i < segmentTitles.size(); ++i) {
            const QRect place = fixture.segment(i)->geometry();
            QCOMPARE(place.left(), end);
            QCOMPARE(place.height(), 26);
            QVERIFY(place.width() >= fixture.window.fontMetrics().horizontalAdvance(segmentTitles[i]) + 20);
            end = place.right() + 1;
        }
        QCOMPARE(end, fixture.picker->width());
    }

    void aClickChoosesAndTellsOnce()
    {
        const Fixture fixture;
        for (const QPoint place : { QPoint(1, 1), fixture.segment(1)->rect().bottomRight() })
            QTest::mouseClick(fixture.segment(1), Qt::LeftButton, {}, place);
        QCOMPARE(fixture.choices.size(), 1);
        QCOMPARE(fixture.lastChoice(), 1);
        QCOMPARE(fixture.picker->index(), 1);
        QVERIFY(!fixture.segment(0)->isChecked());
    }

    void showingAnotherChoiceTellsNobody()
    {
        const Fixture fixture;
        for (const int index : { 2, -1, 1, 3, 0 }) {
            fixture.picker->setIndex(index);
            QCOMPARE(fixture.picker->index(), index == 3 ? -1 : index);
        }
        QCOMPARE(fixture.choices.size(), 0);
    }

    void theArrowsChooseAndStopAtTheEnds()
    {
        const Fixture fixture(1);
        fixture.segment(1)->setFocus(Qt::TabFocusReason);
        fixture.press(Qt::Key_Right);
        QCOMPARE(fixture.picker->index(), 2);
        QVERIFY(fixture.segment(2)->hasFocus());
        fixture.press(Qt::Key_Right);
        QCOMPARE(fixture.picker->index(), 2);
        QCOMPARE(fixture.choices.size(), 1);
        fixture.press(Qt::Key_Left);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.picker->index(), 0);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.choices.size(), 3);
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.lastChoice(), 1);
        QVERIFY(fixture.segment(1)->hasFocus());
    }

    void fromTheRightSegmentsAndArrowsAreMirrored()
    {
        const Fixture fixture(0, Qt::RightToLeft);
        QCOMPARE(fixture.segment(0)->geometry().right() + 1, fixture.picker->width());
        QCOMPARE(fixture.segment(2)->x(), 0);
        fixture.segment(0)->setFocus(Qt::TabFocusReason);
        fixture.press(Qt::Key_Left);
        QCOMPARE(fixture.picker->index(), 1);
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.picker->index(), 2);
        fixture.press(Qt::Key_Right);
        QCOMPARE(fixture.picker->index(), 1);
    }

    void theKeyboardEntersAtTheOneChosenAndLeavesAtOnce()
    {
        for (const int index : { 0, 1, 2 }) {
            const Fixture fixture(index);
            fixture.before->setFocus(Qt::TabFocusReason);
            fixture.press(Qt::Key_Tab);
            QVERIFY(fixture.segment(index)->hasFocus());
            fixture.press(Qt::Key_Tab);
            QVERIFY(fixture.after->hasFocus());
            fixture.press(Qt::Key_Backtab);
            QVERIFY(fixture.segment(index)->hasFocus());
            fixture.press(Qt::Key_Backtab);
            QVERIFY(fixture.before->hasFocus());
            QCOMPARE(fixture.choices.size(), 0);
        }
    }

    void comingToAPickerWithoutAChoiceChoosesNothing()
    {
        const Fixture fixture(-1);
        fixture.before->setFocus(Qt::TabFocusReason);
        fixture.press(Qt::Key_Tab);
        QVERIFY(fixture.segment(0)->hasFocus());
        QCOMPARE(fixture.picker->index(), -1);
        fixture.press(Qt::Key_Tab);
        QVERIFY(fixture.after->hasFocus());
        fixture.press(Qt::Key_Backtab);
        QVERIFY(fixture.segment(0)->hasFocus());
        QCOMPARE(fixture.choices.size(), 0);
        fixture.press(Qt::Key_Space);
        QCOMPARE(fixture.lastChoice(), 0);
    }

    void theKeyboardGoesWithAChoiceMadeElsewhere()
    {
        const Fixture fixture(0);
        fixture.before->setFocus(Qt::TabFocusReason);
        fixture.picker->setIndex(1);
        QVERIFY(fixture.before->hasFocus());
        fixture.press(Qt::Key_Tab);
        QVERIFY(fixture.segment(1)->hasFocus());
        fixture.picker->setIndex(2);
        QVERIFY(fixture.segment(2)->hasFocus());
        QVERIFY(fixture.window.marks(*fixture.segment(2)));
        fixture.picker->setIndex(-1);
        fixture.press(Qt::Key_Tab);
        QVERIFY(fixture.after->hasFocus());
        fixture.press(Qt::Key_Backtab);
        QVERIFY(fixture.segment(0)->hasFocus());
    }

    void theKeyboardsPlaceIsMarkedWhole()
    {
        const Fixture fixture(1);
        QTest::mouseClick(fixture.segment(2), Qt::LeftButton);
        QVERIFY(fixture.segment(2)->hasFocus());
        QVERIFY(!fixture.window.ring());
        fixture.before->setFocus(Qt::TabFocusReason);
        fixture.press(Qt::Key_Tab);
        QVERIFY(fixture.window.marks(*fixture.segment(2)));
        fixture.press(Qt::Key_Left);
        QVERIFY(fixture.window.marks(*fixture.segment(1)));
        // The focus ring follows the control when the page moves it.
        fixture.picker->move(fixture.picker->pos() + QPoint(15, 10));
        QVERIFY(fixture.window.marks(*fixture.segment(1)));
        // Hiding the control moves the focus, and the ring follows.
        fixture.picker->hide();
        QVERIFY(fixture.after->hasFocus());
        QVERIFY(fixture.window.marks(*fixture.after));
    }

    void nothingMovesWhenAnotherIsChosen()
    {
        const Fixture fixture(0);
        QList<QRect> before;
        for (int i = 0; i < segmentTitles.size(); ++i)
            before.append(fixture.segment(i)->geometry());
        const QSize size = fixture.picker->sizeHint();
        for (const int index : { 2, -1, 1 }) {
            fixture.picker->setIndex(index);
            QCOMPARE(fixture.picker->sizeHint(), size);
            for (int i = 0; i < segmentTitles.size(); ++i)
                QCOMPARE(fixture.segment(i)->geometry(), before[i]);
        }
    }

    void theOneChosenStandsOutInBothSchemes()
    {
        const Fixture fixture(0);
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const auto colour = [](Colour of) { return Theme::colour(of).rgba(); };
            const int middle = 13;
            // There is no outline: the plate's colour reaches the plate's edges, and the shade is below.
            for (const QPoint place : { QPoint(2, middle), QPoint(6, middle), QPoint(20, 2), QPoint(20, 22) })
                QCOMPARE(fixture.pixel(0, place), colour(Colour::chosenSegment));
            QCOMPARE(fixture.pixel(0, { 20, 23 }), colour(Colour::segmentShade));
            for (const QPoint place : { QPoint(1, middle), QPoint(20, 1), QPoint(20, 24) })
                QCOMPARE(fixture.pixel(0, place), colour(Colour::segmentTrack));
            for (const QPoint place : { QPoint(2, middle), QPoint(6, middle), QPoint(20, 23) })
                QCOMPARE(fixture.pixel(1, place), colour(Colour::segmentTrack));
        }
    }

    void onePressedOrUnderThePointerIsShownSo()
    {
        const Fixture fixture(0);
        const QRgb still = fixture.pixel(1, { 6, 13 });
        QTest::mousePress(fixture.segment(1), Qt::LeftButton);
        QVERIFY(fixture.pixel(1, { 6, 13 }) != still);
        QTest::mouseRelease(fixture.segment(1), Qt::LeftButton, {}, { -40, 60 });
        QCOMPARE(fixture.picker->index(), 0);
    }

    void disabledItIsPalerAndChoosesNothing()
    {
        const Fixture fixture(0);
        const QImage before = fixture.picker->grab().toImage();
        fixture.picker->setEnabled(false);
        QVERIFY(fixture.picker->grab().toImage() != before);
        QTest::mouseClick(fixture.segment(1), Qt::LeftButton);
        QCOMPARE(fixture.picker->index(), 0);
    }

    void assistiveProgramsMeetAGroupOfRadioButtons()
    {
        const Fixture fixture(1);
        fixture.picker->setAccessibleName(QStringLiteral("Meter"));
        QAccessibleInterface* group = QAccessible::queryAccessibleInterface(fixture.picker);
        QCOMPARE(heard(group), QStringLiteral("Grouping Meter"));
        QCOMPARE(group->childCount(), 3);
        for (int i = 0; i < 3; ++i) {
            QAccessibleInterface* segment = group->child(i);
            QCOMPARE(heard(segment), QStringLiteral("RadioButton ") + segmentTitles[i]);
            QVERIFY(segment->state().checkable && segment->state().focusable);
            QCOMPARE(bool(segment->state().checked), i == 1);
        }
        QAccessibleActionInterface* action = group->child(2)->actionInterface();
        QVERIFY(!action->actionNames().isEmpty());
        action->doAction(action->actionNames().constFirst());
        QTRY_COMPARE(fixture.lastChoice(), 2);
        QVERIFY(group->child(2)->state().checked && !group->child(1)->state().checked);
    }

    void whoeverIsToldCanTakeTheChoiceBack()
    {
        const Fixture fixture(0);
        connect(
            fixture.picker, &SegmentedPicker::chosen, fixture.picker, [&] { fixture.picker->setIndex(0); });
        QTest::mouseClick(fixture.segment(2), Qt::LeftButton);
        QCOMPARE(fixture.picker->index(), 0);
        QVERIFY(!fixture.segment(2)->isChecked());
        fixture.segment(0)->setFocus(Qt::TabFocusReason);
        fixture.press(Qt::Key_Right);
        QCOMPARE(fixture.picker->index(), 0);
        QVERIFY(fixture.segment(0)->hasFocus());
        QCOMPARE(fixture.choices.size(), 2);
    }

    void whereItIsTooWideItStandsInRowsAndNothingIsCut_data() { addDirections(); }
    void whereItIsTooWideItStandsInRowsAndNothingIsCut()
    {
        auto* picker = pickerOf({ QStringLiteral("Balkendiagramm"), QStringLiteral("Wellenlinie"),
                                    QStringLiteral("Zusammengefasst") },
            1);
        auto* row = new Row(QStringLiteral("Darstellung"), picker);
        const auto [direction] = thisRow<Qt::LayoutDirection>();
        const ControlWindow window(new Card({ row }), 240, direction);
        QCOMPARE(picker->width(), 240 - 2 * Theme::rowInset);
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
