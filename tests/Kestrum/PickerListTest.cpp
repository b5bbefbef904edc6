#include "Kestrum/Form/PickerList.h"

#include "tests/Support/PickerFixture.h"
#include "tests/Support/TestHome.h"

#include <QScreen>
#include <QScrollBar>

using namespace kestrum;
using Theme::Colour;

class PickerListTest : public QObject {
    Q_OBJECT
    using Fixture = PickerFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

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
            QImage picture(list->window()->size(), QImage::Format_ARGB32_Premultiplied);
            picture.fill(Qt::transparent);
            list->window()->render(&picture, {}, {}, QWidget::DrawChildren);
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
            const QPoint inset = list->viewport()->mapTo(list->window(), QPoint(0, 0));
            QCOMPARE(picture.pixel(fixture.entry(1).center() + QPoint(0, 10) + inset),
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
            const QPoint inset = list->viewport()->mapTo(list->window(), QPoint(0, 0));
            const QRgb ground = Theme::colour(Colour::card).rgba();
            for (int row = 0; row < fixture.picker->count(); ++row) {
                // The card's own edges are left out.
                const QImage entry = picture.copy(fixture.entry(row).translated(inset).adjusted(5, 0, -5, 0));
                const bool isDivider = row == int(titles.size());
                const bool hasPicture = row < int(titles.size());
                QCOMPARE(pixelsOf(entry, QColor(Qt::red).rgba()), hasPicture ? 144 : 0);
                const int first = direction == Qt::LeftToRight ? 24 : entry.width() - 25;
                QCOMPARE(entry.pixelColor(first, entry.height() / 2) == QColor(Qt::red), hasPicture);
                if (isDivider)
                    QCOMPARE(pixelsOf(entry, ground), entry.width() * (entry.height() - 1));
                else
                    QVERIFY(pixelsOf(entry.copy(44, 4, entry.width() - 88, entry.height() - 8), ground)
                        < (entry.width() - 88) * (entry.height() - 8));
            }
        }
    }

    void theListCutsNothing()
    {
        const Fixture fixture(0, Qt::LeftToRight, red());
        PickerList* list = fixture.opened();
        QVERIFY(list->window()->width() >= list->neededWidth());
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

KESTRUM_TEST_MAIN(QApplication, PickerListTest)
#include "PickerListTest.moc"
