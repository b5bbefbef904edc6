#include "Kestrum/Form/PopupPicker.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/PickerStage.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QWheelEvent>

using namespace kestrum;
using Stage = PickerStage;
using Theme::Colour;

class PopupPickerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itIsAsWideAsItsLongestTitleWhateverIsChosen()
    {
        const Stage stage;
        const QSize size = stage.picker->size();
        QCOMPARE(size.height(), 26);
        QVERIFY(size.width() > stage.picker->fontMetrics().horizontalAdvance(titles[2]) + 30);
        for (int i = -1; i < 5; ++i) {
            stage.picker->setIndex(i);
            QCOMPARE(stage.picker->sizeHint(), size);
        }
        QCOMPARE(Stage(0, Qt::LeftToRight, red()).picker->width(), size.width() + 20);
    }

    void anotherFontMakesAnotherWidth()
    {
        const Stage stage;
        const auto wanted = [&stage] {
            int widest = 0;
            for (const QString& title : titles)
                widest = std::max(widest, stage.picker->fontMetrics().horizontalAdvance(title));
            return widest + 39;
        };
        QVERIFY(std::abs(stage.picker->sizeHint().width() - wanted()) <= 1);
        for (const int pixels : { 24, 9 }) {
            QFont font = stage.picker->font();
            font.setPixelSize(pixels);
            stage.picker->setFont(font);
            QVERIFY(std::abs(stage.picker->sizeHint().width() - wanted()) <= 1);
        }
    }

    void thereIsNoListBeforeItIsOpened()
    {
        const Stage stage(0, Qt::LeftToRight, red());
#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0) // which makes one of its own as soon as there is a choice
        QVERIFY(stage.picker->findChildren<QAbstractItemView*>().isEmpty());
#endif
        QVERIFY(stage.picker->findChildren<PickerList*>().isEmpty());
        stage.picker->showPopup();
        QCOMPARE(stage.picker->findChildren<QAbstractItemView*>().size(), 1);
        // A list that is there follows another font.
        const int before = stage.picker->view()->sizeHintForRow(0);
        QFont font = stage.picker->font();
        font.setPixelSize(30);
        stage.picker->setFont(font);
        QVERIFY(stage.picker->view()->sizeHintForRow(0) > before);
        const auto place = [&stage](int row) {
            return stage.picker->view()->visualRect(stage.picker->model()->index(row, 0));
        };
        QCOMPARE(place(1).top() - place(0).top(), stage.picker->view()->sizeHintForRow(0));
        stage.picker->hidePopup();
    }

    void withoutAChoiceTheFieldIsEmpty()
    {
        const Stage stage(-1);
        QCOMPARE(stage.picker->index(), -1);
        QCOMPARE(stage.picker->currentText(), QString());
        const QImage empty = stage.picker->grab().toImage();
        const QRgb ground = Theme::colour(Colour::button).rgba();
        const QRect title(6, 4, stage.picker->width() - 40, 18);
        QCOMPARE(pixelsOf(empty.copy(title), ground), title.width() * title.height());
        stage.picker->setIndex(1);
        QVERIFY(
            pixelsOf(stage.picker->grab().toImage().copy(title), ground) < title.width() * title.height());
    }

    void entriesAddedChooseNothing()
    {
        PopupPicker picker;
        QSignalSpy choices(&picker, &PopupPicker::chosen);
        picker.addEntry(titles[0]);
        picker.addEntry(titles[1]);
        QCOMPARE(picker.index(), -1);
        QCOMPARE(choices.size(), 0);
    }

    void dividersAreNotCounted()
    {
        const Stage stage(4);
        QCOMPARE(stage.picker->currentText(), QStringLiteral("Custom"));
        QCOMPARE(stage.picker->index(), 4);
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.lastChoice(), 3);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.lastChoice(), 4);
        stage.picker->setIndex(5);
        QCOMPARE(stage.picker->index(), -1);
    }

    void showingAnotherChoiceTellsNobody()
    {
        const Stage stage;
        for (const int index : { 2, -1, 1, 7, 0 }) {
            stage.picker->setIndex(index);
            QCOMPARE(stage.picker->index(), index == 7 ? -1 : index);
        }
        QCOMPARE(stage.choices.size(), 0);
    }

    void theClosedFieldIsWorkedByTheKeyboard()
    {
        const Stage stage(1);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.picker->index(), 2);
        QCOMPARE(stage.lastChoice(), 2);
        stage.press(Qt::Key_Up);
        stage.press(Qt::Key_Up);
        stage.press(Qt::Key_Up);
        QCOMPARE(stage.lastChoice(), 0);
        QCOMPARE(stage.choices.size(), 3);
        stage.press(Qt::Key_P);
        QCOMPARE(stage.lastChoice(), 3);
    }

    void withoutAChoiceTheKeyboardBeginsAtAnEnd()
    {
        const Stage stage(-1);
        stage.press(Qt::Key_Down);
        QCOMPARE(stage.lastChoice(), 0);
        const Stage other(-1);
        other.press(Qt::Key_Up);
        QVERIFY(other.picker->index() >= -1);
        QCOMPARE(other.lastChoice(), other.picker->index());
    }

    void theWheelOverItIsLeftToThePage()
    {
        const Stage stage(1);
        const QPoint place = stage.picker->rect().center();
        for (const int turn : { -120, 120 }) {
            QWheelEvent wheel(place, stage.picker->mapToGlobal(place), {}, { 0, turn }, Qt::NoButton, {},
                Qt::NoScrollPhase, false);
            QApplication::sendEvent(stage.picker, &wheel);
            QVERIFY(!wheel.isAccepted());
            QCOMPARE(stage.picker->index(), 1);
        }
    }

    void aClickAndTheKeyboardOpenTheList()
    {
        for (const auto& [key, modifiers] : { std::pair(Qt::Key_Space, Qt::KeyboardModifiers()),
                 std::pair(Qt::Key_Down, Qt::KeyboardModifiers(Qt::AltModifier)) }) {
            const Stage stage(1);
            stage.press(key, modifiers);
            QTRY_VERIFY(stage.picker->view()->isVisible());
            QTest::keyClick(stage.picker->view(), Qt::Key_Escape);
            QTRY_VERIFY(!stage.picker->view()->isVisible());
            QCOMPARE(stage.choices.size(), 0);
        }
        const Stage stage(1);
        QVERIFY(stage.opened());
        QVERIFY(stage.picker->view()->isVisible());
    }

    void theKeyboardsPlaceIsMarkedAgainWhenTheListHasClosed()
    {
        auto* button = new PushButton(QStringLiteral("Before"));
        auto* picker = pickerOf(1);
        const ControlWindow window({ button, picker });
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Tab);
        QVERIFY(picker->hasFocus());
        QVERIFY(window.ring());
        QTest::keyClick(picker, Qt::Key_Space);
        QTRY_VERIFY(picker->view()->isVisible());
        QTest::keyClick(picker->view(), Qt::Key_Escape);
        QTRY_VERIFY(picker->hasFocus());
        QVERIFY(window.ring());
        QCOMPARE(window.ring()->geometry(), ControlWindow::around(*picker, *window.ring()));
        QTest::mousePress(picker, Qt::LeftButton);
        QVERIFY(!window.ring());
    }

    void aPictureStandsBeforeTheTitle()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const Stage stage(0, direction, red());
            const QImage field = stage.picker->grab().toImage();
            QCOMPARE(pixelsOf(field, QColor(Qt::red).rgba()), 144);
            const int x = direction == Qt::LeftToRight ? 12 : field.width() - 13;
            QCOMPARE(field.pixelColor(x, 13), QColor(Qt::red));
        }
    }

    void theFieldFollowsTheScheme()
    {
        const Stage stage;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            QCOMPARE(stage.picker->grab().toImage().pixelColor(6, 13), Theme::colour(Colour::button));
        }
    }

    void aNarrowFieldShortensItsTitle()
    {
        const Stage stage(2);
        QVERIFY(stage.picker->minimumSizeHint().width() < stage.picker->sizeHint().width());
        stage.picker->resize(stage.picker->minimumSizeHint());
        QVERIFY(!stage.picker->grab().toImage().isNull());
        // What marks it as a picker stays.
        const QImage field = stage.picker->grab().toImage();
        QVERIFY(pixelsOf(field.copy(field.width() - 20, 5, 12, 16), Theme::colour(Colour::button).rgba())
            < 12 * 16);
    }

    void assistiveProgramsMeetAComboBoxNamedByItsRow()
    {
        auto* picker = pickerOf(1);
        auto* row = new Row(QStringLiteral("Readout"), picker);
        ControlWindow window({ row });
        QAccessibleInterface* box = QAccessible::queryAccessibleInterface(picker);
        QCOMPARE(box->role(), QAccessible::ComboBox);
        QCOMPARE(box->text(QAccessible::Value), titles[1]);
        // The toolkit names a combo box by its value; readers find its name by its label.
        QCOMPARE(picker->accessibleName(), QStringLiteral("Readout"));
        const auto labels = box->relations(QAccessible::Label);
        QCOMPARE(labels.size(), 1);
        QCOMPARE(labels.first().first->text(QAccessible::Name), QStringLiteral("Readout"));
        QVERIFY(box->actionInterface()->actionNames().contains(QAccessibleActionInterface::showMenuAction()));

        picker->showPopup();
        QAccessibleInterface* list = box->child(0);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->childCount(), 6);
        QCOMPARE(list->child(2)->text(QAccessible::Name), titles[2]);
        picker->hidePopup();
    }
};

KESTRUM_TEST_MAIN(QApplication, PopupPickerTest)
#include "PopupPickerTest.moc"
