#include "Kestrum/Form/PopupPicker.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/Support/PickerFixture.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QWheelEvent>

using namespace kestrum;
using Theme::Colour;

class PopupPickerTest : public QObject {
    Q_OBJECT
    using Fixture = PickerFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itIsAsWideAsItsLongestTitleWhateverIsChosen()
    {
        const Fixture fixture;
        const QSize size = fixture.picker->size();
        QCOMPARE(size.height(), 26);
        QVERIFY(size.width() > fixture.picker->fontMetrics().horizontalAdvance(titles[2]) + 30);
        for (int i = -1; i < 5; ++i) {
            fixture.picker->setIndex(i);
            QCOMPARE(fixture.picker->sizeHint(), size);
        }
        QCOMPARE(Fixture(0, Qt::LeftToRight, red()).picker->width(), size.width() + 20);
    }

    void anotherFontMakesAnotherWidth()
    {
        const Fixture fixture;
        const auto wanted = [&fixture] {
            int widest = 0;
            for (const QString& title : titles)
                widest = std::max(widest, fixture.picker->fontMetrics().horizontalAdvance(title));
            return widest + 39;
        };
        QVERIFY(std::abs(fixture.picker->sizeHint().width() - wanted()) <= 1);
        for (const int pixels : { 24, 9 }) {
            QFont font = fixture.picker->font();
            font.setPixelSize(pixels);
            fixture.picker->setFont(font);
            QVERIFY(std::abs(fixture.picker->sizeHint().width() - wanted()) <= 1);
        }
    }

    void thereIsNoListBeforeItIsOpened()
    {
        const Fixture fixture(0, Qt::LeftToRight, red());
#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0) // newer versions make a view of their own with the first choice
        QVERIFY(fixture.picker->findChildren<QAbstractItemView*>().isEmpty());
#endif
        QVERIFY(fixture.picker->findChildren<PickerList*>().isEmpty());
        fixture.picker->showPopup();
        QCOMPARE(fixture.picker->findChildren<QAbstractItemView*>().size(), 1);
        // A list that exists already follows the new font.
        const int before = fixture.picker->view()->sizeHintForRow(0);
        QFont font = fixture.picker->font();
        font.setPixelSize(30);
        fixture.picker->setFont(font);
        QVERIFY(fixture.picker->view()->sizeHintForRow(0) > before);
        const auto place = [&fixture](int row) {
            return fixture.picker->view()->visualRect(fixture.picker->model()->index(row, 0));
        };
        QCOMPARE(place(1).top() - place(0).top(), fixture.picker->view()->sizeHintForRow(0));
        fixture.picker->hidePopup();
    }

    void withoutAChoiceTheFieldIsEmpty()
    {
        const Fixture fixture(-1);
        QCOMPARE(fixture.picker->index(), -1);
        QCOMPARE(fixture.picker->currentText(), QString());
        const QImage empty = fixture.picker->grab().toImage();
        const QRgb ground = Theme::colour(Colour::button).rgba();
        const QRect title(6, 4, fixture.picker->width() - 40, 18);
        QCOMPARE(pixelsOf(empty.copy(title), ground), title.width() * title.height());
        fixture.picker->setIndex(1);
        QVERIFY(
            pixelsOf(fixture.picker->grab().toImage().copy(title), ground) < title.width() * title.height());
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
        const Fixture fixture(4);
        QCOMPARE(fixture.picker->currentText(), QStringLiteral("Custom"));
        QCOMPARE(fixture.picker->index(), 4);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.lastChoice(), 3);
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.lastChoice(), 4);
        fixture.picker->setIndex(5);
        QCOMPARE(fixture.picker->index(), -1);
    }

    void showingAnotherChoiceTellsNobody()
    {
        const Fixture fixture;
        for (const int index : { 2, -1, 1, 7, 0 }) {
            fixture.picker->setIndex(index);
            QCOMPARE(fixture.picker->index(), index == 7 ? -1 : index);
        }
        QCOMPARE(fixture.choices.size(), 0);
    }

    void theClosedFieldIsWorkedByTheKeyboard()
    {
        const Fixture fixture(1);
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.picker->index(), 2);
        QCOMPARE(fixture.lastChoice(), 2);
        fixture.press(Qt::Key_Up);
        fixture.press(Qt::Key_Up);
        fixture.press(Qt::Key_Up);
        QCOMPARE(fixture.lastChoice(), 0);
        QCOMPARE(fixture.choices.size(), 3);
        fixture.press(Qt::Key_P);
        QCOMPARE(fixture.lastChoice(), 3);
    }

    void withoutAChoiceTheKeyboardBeginsAtAnEnd()
    {
        const Fixture fixture(-1);
        fixture.press(Qt::Key_Down);
        QCOMPARE(fixture.lastChoice(), 0);
        const Fixture other(-1);
        other.press(Qt::Key_Up);
        QVERIFY(other.picker->index() >= -1);
        QCOMPARE(other.lastChoice(), other.picker->index());
    }

    void theWheelOverItIsLeftToThePage()
    {
        const Fixture fixture(1);
        const QPoint place = fixture.picker->rect().center();
        for (const int turn : { -120, 120 }) {
            QWheelEvent wheel(place, fixture.picker->mapToGlobal(place), {}, { 0, turn }, Qt::NoButton, {},
                Qt::NoScrollPhase, false);
            QApplication::sendEvent(fixture.picker, &wheel);
            QVERIFY(!wheel.isAccepted());
            QCOMPARE(fixture.picker->index(), 1);
        }
    }

    void aClickAndTheKeyboardOpenTheList()
    {
        for (const auto& [key, modifiers] : { std::pair(Qt::Key_Space, Qt::KeyboardModifiers()),
                 std::pair(Qt::Key_Down, Qt::KeyboardModifiers(Qt::AltModifier)) }) {
            const Fixture fixture(1);
            fixture.press(key, modifiers);
            QTRY_VERIFY(fixture.picker->view()->isVisible());
            QTest::keyClick(fixture.picker->view(), Qt::Key_Escape);
            QTRY_VERIFY(!fixture.picker->view()->isVisible());
            QCOMPARE(fixture.choices.size(), 0);
        }
        const Fixture fixture(1);
        QVERIFY(fixture.opened());
        QVERIFY(fixture.picker->view()->isVisible());
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
            const Fixture fixture(0, direction, red());
            const QImage field = fixture.picker->grab().toImage();
            QCOMPARE(pixelsOf(field, QColor(Qt::red).rgba()), 144);
            const int x = direction == Qt::LeftToRight ? 12 : field.width() - 13;
            QCOMPARE(field.pixelColor(x, 13), QColor(Qt::red));
        }
    }

    void theFieldFollowsTheScheme()
    {
        const Fixture fixture;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            QCOMPARE(fixture.picker->grab().toImage().pixelColor(6, 13), Theme::colour(Colour::button));
        }
    }

    void aNarrowFieldShortensItsTitle()
    {
        const Fixture fixture(2);
        QVERIFY(fixture.picker->minimumSizeHint().width() < fixture.picker->sizeHint().width());
        fixture.picker->resize(fixture.picker->minimumSizeHint());
        QVERIFY(!fixture.picker->grab().toImage().isNull());
        // The arrows that mark a picker stay.
        const QImage field = fixture.picker->grab().toImage();
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
        // The toolkit uses a combo box's value as its name; screen readers take its name from its label.
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
