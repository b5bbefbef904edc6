#include "Kestrum/Form/PopupPicker.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/Support/PickerFixture.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QScreen>
#include <QScrollBar>

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
#if QT_VERSION < QT_VERSION_CHECK(6, 8, 0) // later versions create their own list before it is opened
        QVERIFY(fixture.picker->findChildren<QAbstractItemView*>().isEmpty());
#endif
        QVERIFY(fixture.picker->findChildren<PickerList*>().isEmpty());
        fixture.picker->showPopup();
        QCOMPARE(fixture.picker->findChildren<QAbstractItemView*>().size(), 1);
        // The existing list takes over a new font.
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
        const QRect title(6, 4, fixture.picker->width() - 40, 18);
        const QColor ground = Theme::colour(Colour::button);
        QCOMPARE(pixelsOtherThan(fixture.field().copy(title), ground).count, 0);
        fixture.picker->setIndex(1);
        QVERIFY(pixelsOtherThan(fixture.field().copy(title), ground).count > 0);
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
        for (const int turn : { -120, 120 }) {
            QVERIFY(!turnWheel(*fixture.picker, { 0, turn }));
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
        QVERIFY(window.marks(*picker));
        QTest::mousePress(picker, Qt::LeftButton);
        QVERIFY(!window.ring());
    }

    void aPictureStandsBeforeTheTitle()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const Fixture fixture(0, direction, red());
            const QImage field = fixture.field();
            QCOMPARE(pixelsOf(field, Qt::red).count, 144);
            const int x = direction == Qt::LeftToRight ? 12 : field.width() - 13;
            QCOMPARE(field.pixelColor(x, 13), QColor(Qt::red));
        }
    }

    void theFieldFollowsTheScheme()
    {
        const Fixture fixture;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            QCOMPARE(fixture.field().pixelColor(6, 13), Theme::colour(Colour::button));
        }
    }

    void aNarrowFieldShortensItsTitle()
    {
        const Fixture fixture(2);
        QVERIFY(fixture.picker->minimumSizeHint().width() < fixture.picker->sizeHint().width());
        fixture.picker->resize(fixture.picker->minimumSizeHint());
        // The picker's arrows are still drawn.
        const QImage mark = fixture.field().copy(fixture.picker->width() - 20, 5, 12, 16);
        QVERIFY(pixelsOtherThan(mark, Theme::colour(Colour::button)).count > 0);
    }

    void assistiveProgramsMeetAComboBoxNamedByItsRow()
    {
        auto* picker = pickerOf(1);
        auto* row = new Row(QStringLiteral("Readout"), picker);
        ControlWindow window({ row });
        QAccessibleInterface* box = QAccessible::queryAccessibleInterface(picker);
        QCOMPARE(box->role(), QAccessible::ComboBox);
        QCOMPARE(box->text(QAccessible::Value), titles[1]);
        // Qt reports the value of a combo box as its name, so screen readers use the label's text as the name.
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

    void inTheListTheKeyboardGoesAndEnterChooses()
    {
        const Fixture fixture(3);
        PickerList* list = fixture.opened();
        QTest::keyClick(list, Qt::Key_Down); // past the divider
        QCOMPARE(fixture.choices.size(), 0);
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(fixture.lastChoice(), 4);
        QCOMPARE(fixture.choices.size(), 1);
        QTRY_VERIFY(!list->isVisible());

        fixture.opened();
        QTest::keyClick(list, Qt::Key_U);
        QTest::keyClick(list, Qt::Key_Enter);
        QCOMPARE(fixture.lastChoice(), 1);

        fixture.opened();
        QTest::keyClick(list, Qt::Key_Down);
        QTest::keyClick(list, Qt::Key_Escape);
        QTRY_VERIFY(!list->isVisible());
        QCOMPARE(fixture.picker->index(), 1);
        QCOMPARE(fixture.choices.size(), 2);
    }

    void inTheListAClickChooses()
    {
        const Fixture fixture(0);
        PickerList* list = fixture.opened();
        QTest::mouseMove(list->viewport(), fixture.entry(2).center());
        QTRY_COMPARE(list->currentIndex().row(), 2);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, fixture.entry(2).center());
        QCOMPARE(fixture.lastChoice(), 2);
        QTRY_VERIFY(!list->isVisible());
    }

    void theListStandsOnARoundedCardOfTheScheme()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const Fixture fixture(1);
            SystemAppearance::shared().setScheme(scheme);
            PickerList* list = fixture.opened();
            const QImage picture = pictureOf(*list->window());
            // The window includes the shadow, which is darkest at the card and fades out towards the window's edge.
            const QRect card = list->card().translated(-list->window()->pos());
            QVERIFY(picture.rect().adjusted(8, 8, -8, -8).contains(card));
            QCOMPARE(picture.pixelColor(0, 0).alpha(), 0);
            QVERIFY(picture.pixelColor(card.topLeft()).alpha() < 60);
            const auto alpha = [&](int below) {
                return picture.pixelColor(card.center().x(), card.bottom() + below).alpha();
            };
            QVERIFY2(alpha(1) > 15 && alpha(1) < 80, qPrintable(QString::number(alpha(1))));
            QVERIFY(alpha(5) > 0 && alpha(5) < alpha(1));
            QVERIFY(alpha(picture.height() - 1 - card.bottom()) <= 4);
            QCOMPARE(picture.pixelColor(card.center().x(), card.top() + 3), Theme::colour(Colour::card));
            // The current entry is filled.
            QCOMPARE(picture.pixel(fixture.entryInWindow(1).center() + QPoint(0, 10)),
                Theme::colour(Colour::selection).rgba());
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    void onlyTheOneChosenHasATick()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const Fixture fixture(1, direction);
            PickerList* list = fixture.opened();
            QTest::keyClick(list, Qt::Key_Up);
            const QImage picture = list->window()->grab().toImage();
            QVERIFY(fixture.hasTick(picture, 1));
            for (const int row : { 2, 3, 4, 5 })
                QVERIFY2(!fixture.hasTick(picture, row), qPrintable(QString::number(row)));
        }
    }

    void theListShowsPicturesTitlesAndTheDivider()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const Fixture fixture(0, direction, red());
            PickerList* list = fixture.opened();
            const QImage picture = list->window()->grab().toImage();
            const QColor ground = Theme::colour(Colour::card);
            for (int row = 0; row < fixture.picker->count(); ++row) {
                // The card's own edges are left out.
                const QImage entry = picture.copy(fixture.entryInWindow(row).adjusted(5, 0, -5, 0));
                const bool isDivider = row == int(titles.size());
                const bool hasPicture = row < int(titles.size());
                QCOMPARE(pixelsOf(entry, Qt::red).count, hasPicture ? 144 : 0);
                const int first = direction == Qt::LeftToRight ? 24 : entry.width() - 25;
                QCOMPARE(entry.pixelColor(first, entry.height() / 2) == QColor(Qt::red), hasPicture);
                if (isDivider)
                    QCOMPARE(pixelsOf(entry, ground).count, entry.width() * (entry.height() - 1));
                else
                    QVERIFY(pixelsOtherThan(entry.copy(44, 4, entry.width() - 88, entry.height() - 8), ground)
                                .count
                        > 0);
            }
        }
    }

    void theListCutsNothing()
    {
        const Fixture fixture(0, Qt::LeftToRight, red());
        PickerList* list = fixture.opened();
        QVERIFY(list->window()->width() >= list->sizeHintForColumn(0));
        QVERIFY(list->viewport()->width() >= list->sizeHintForIndex(list->model()->index(2, 0)).width());
        for (int row = 0; row < fixture.picker->count(); ++row)
            QVERIFY(list->viewport()->rect().contains(fixture.entry(row)));
        QCOMPARE(list->verticalScrollBar()->maximum(), 0);
    }

    void theListLiesOverItsFieldWithinTheScreen()
    {
        for (const int bottom : { 0, 1 }) {
            for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
                Fixture fixture(0, direction);
                const QRect screen = fixture.window.screen()->availableGeometry();
                fixture.window.move(screen.left() + 100, bottom ? screen.bottom() - 60 : screen.top() + 200);
                const QRect card = fixture.opened()->card();
                QVERIFY(screen.contains(card));
                const QRect field(fixture.picker->mapToGlobal(QPoint(0, 0)), fixture.picker->size());
                QCOMPARE(card.left(), field.left());
                QCOMPARE(card.right(), field.right());
                QVERIFY(card.top() <= field.bottom() + 1 && card.bottom() >= field.top() - 1);
            }
        }
    }

    void theEntryChosenLiesOnTheTitleOfTheField()
    {
        for (const int index : { 0, 1, 3, 4 }) {
            Fixture fixture(index);
            fixture.window.move(fixture.window.screen()->availableGeometry().center() - QPoint(200, 0));
            const PickerList* list = fixture.opened();
            const QRect entry = list->visualRect(list->currentIndex());
            const int top = list->viewport()->mapToGlobal(entry.topLeft()).y();
            QCOMPARE(top, fixture.picker->mapToGlobal(QPoint(0, 0)).y());
            QCOMPARE(entry.height(), fixture.picker->height());
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, PopupPickerTest)
#include "PopupPickerTest.moc"
