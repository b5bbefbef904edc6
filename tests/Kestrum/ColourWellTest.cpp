#include "Kestrum/Form/PushButton.h"
#include "tests/Support/ColourWellFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QLabel>
#include <QLibraryInfo>
#include <QScreen>
#include <QSpinBox>
#include <QTranslator>

using namespace kestrum;
using Theme::Colour;

class ColourWellTest : public QObject {
    Q_OBJECT
    using Fixture = ColourWellFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itShowsItsColour()
    {
        const Fixture fixture;
        QCOMPARE(fixture.well->size(), QSize(44, 24));
        QCOMPARE(fixture.shown(), Fixture::violet);
        fixture.well->setColour(QColor(10, 20, 30, 40));
        QCOMPARE(fixture.well->colour(), QColor(10, 20, 30));
        QCOMPARE(fixture.shown(), QColor(10, 20, 30));
        QCOMPARE(fixture.picks.size(), 0);
    }

    void everyColourHasAnEdge()
    {
        const Fixture fixture;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            for (const QColor& colour :
                { QColor(Qt::white), QColor(Qt::black), Theme::colour(Colour::card) }) {
                fixture.well->setColour(colour);
                const QImage picture = fixture.well->grab().toImage();
                QCOMPARE(picture.pixelColor(3, 12), Theme::colour(Colour::outline));
                QCOMPARE(picture.pixelColor(22, 20), Theme::colour(Colour::outline));
            }
        }
    }

    void aClickSpaceAndEnterOpenTheDialog()
    {
        for (const int key : { 0, int(Qt::Key_Space), int(Qt::Key_Return), int(Qt::Key_Enter) }) {
            const Fixture fixture;
            if (key == 0)
                QTest::mouseClick(fixture.well, Qt::LeftButton);
            else
                QTest::keyClick(fixture.well, Qt::Key(key));
            const QPointer<QColorDialog> dialog = fixture.dialog();
            QVERIFY(dialog && dialog->isVisible());
            QCOMPARE(dialog->currentColor(), Fixture::violet);
            QCOMPARE(fixture.picks.size(), 0);
        }
    }

    void anotherClickBringsTheDialogForward()
    {
        struct Ear : QObject {
            int raised = 0;
            bool eventFilter(QObject*, QEvent* event) override
            {
                raised += event->type() == QEvent::ZOrderChange ? 1 : 0;
                return false;
            }
        } ear;
        Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        fixture.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window));
        dialog->installEventFilter(&ear);
        QTest::mouseClick(fixture.well, Qt::LeftButton);
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QCOMPARE(ear.raised, 1);
    }

    void theDialogIsPlainAndLeavesTheWindowUsable()
    {
        const Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        QVERIFY(dialog);
        QVERIFY(!dialog->isModal());
        QVERIFY(dialog->testOption(QColorDialog::DontUseNativeDialog));
        QVERIFY(dialog->testOption(QColorDialog::NoButtons));
        QVERIFY(!dialog->testOption(QColorDialog::ShowAlphaChannel));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("CPU colour"));
        QCOMPARE(dialog->parentWidget()->window(), &fixture.window);
        // The window accepts clicks while the dialog is open.
        QTest::mouseClick(fixture.well, Qt::LeftButton);
        QCOMPARE(fixture.well->findChildren<QColorDialog*>().size(), 1);
        QCOMPARE(fixture.dialog(), dialog);
        QVERIFY(dialog->isVisible());
    }

    void eachMovementInTheDialogIsTold()
    {
        const Fixture fixture;
        QWidget* field = ColourDialogHand::field(*fixture.opened());
        QVERIFY(field);
        QTest::mousePress(field, Qt::LeftButton, {}, { 40, 40 });
        for (const QPoint place : { QPoint(50, 60), QPoint(70, 90), QPoint(120, 30) })
            ColourDialogHand::drag(field, place);
        QTest::mouseRelease(field, Qt::LeftButton, {}, { 120, 30 });
        QCOMPARE(fixture.picks.size(), 4);
        QCOMPARE(fixture.lastPick(), fixture.well->colour());
        QCOMPARE(fixture.lastPick().rgb(), fixture.dialog()->currentColor().rgb());
        QCOMPARE(fixture.lastPick().alpha(), 255);
        // A click at the same place is no movement.
        QTest::mouseClick(field, Qt::LeftButton, {}, { 120, 30 });
        QCOMPARE(fixture.picks.size(), 4);
    }

    void aColourThatIsFollowedMovesTheDialogAndIsNotTold()
    {
        const Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        for (const QColor& colour : { QColor(200, 100, 50), QColor(Qt::black), QColor(1, 2, 3, 4),
                 QColor::fromRgbF(0.12345F, 0.6789F, 0.5F), QColor::fromHsvF(0.3F, 0.7F, 0.9F) }) {
            fixture.well->setColour(colour);
            QCOMPARE(dialog->currentColor().rgb(), QColor(colour).rgb());
            QCOMPARE(dialog->currentColor().alpha(), 255);
            QCOMPARE(fixture.picks.size(), 0);
        }
        // The well keeps a colour that is finer than the dialog's 8 bits per component.
        const QColor fine = QColor::fromRgbF(0.5011F, 0.2513F, 0.7507F);
        fixture.well->setColour(fine);
        QCOMPARE(fixture.well->colour(), fine);
        QCOMPARE(fixture.picks.size(), 0);
    }

    void whatComesBackRoundedDoesNotMoveTheDialog()
    {
        // This colour is almost black, so 8-bit red, green and blue hardly determine the hue.
        const QColor dark = QColor::fromHsv(10, 200, 6);
        QList<QList<int>> ways;
        for (const bool isFollowing : { false, true }) {
            const Fixture fixture;
            fixture.well->setColour(dark);
            const QPointer<QColorDialog> dialog = fixture.opened();
            // The owner rounds each component to four decimals, like the store.
            connect(fixture.well, &ColourWell::picked, fixture.well, [&](const QColor& colour) {
                const auto rounded = [](float part) { return float(std::round(part * 10000) / 10000); };
                if (isFollowing)
                    fixture.well->setColour(QColor::fromRgbF(
                        rounded(colour.redF()), rounded(colour.greenF()), rounded(colour.blueF())));
            });
            QWidget* field = ColourDialogHand::field(*dialog);
            QList<int> way; // hue, saturation and so on, after each movement
            QTest::mousePress(field, Qt::LeftButton, {}, { 10, 150 });
            for (int x = 11; x < 200; x += 9) {
                ColourDialogHand::drag(field, { x, 160 - x / 2 });
                for (const auto* part : dialog->findChildren<QSpinBox*>())
                    way.append(part->value());
                QCOMPARE(dialog->currentColor().rgb(), fixture.well->colour().rgb());
            }
            QTest::mouseRelease(field, Qt::LeftButton, {}, { 199, 61 });
            QVERIFY(fixture.picks.size() > 5);
            ways.append(way);
        }
        QVERIFY(!ways[0].isEmpty());
        QCOMPARE(ways[1], ways[0]);
    }

    void escapeClosesTheDialogAndItOpensAnew()
    {
        const Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_VERIFY(!dialog);
        QCOMPARE(fixture.well->colour(), Fixture::violet);
        QCOMPARE(fixture.picks.size(), 0);
        fixture.well->setColour(Qt::red);
        const QPointer<QColorDialog> again = fixture.opened();
        QVERIFY(again);
        QCOMPARE(again->currentColor(), QColor(Qt::red));
    }

    void theDialogGoesWithTheWellInTheMidstOfADrag()
    {
        Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        QWidget* field = ColourDialogHand::field(*dialog);
        QTest::mousePress(field, Qt::LeftButton, {}, { 40, 40 });
        ColourDialogHand::drag(field, { 50, 60 });
        const qsizetype told = fixture.picks.size();
        delete fixture.page;
        QVERIFY(!dialog);
        QTest::qWait(50);
        QCOMPARE(fixture.picks.size(), told);
    }

    void whoeverIsToldCanRemoveThePage()
    {
        Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        connect(fixture.well, &ColourWell::picked, &fixture.window, [&] { fixture.page->deleteLater(); });
        QWidget* field = ColourDialogHand::field(*dialog);
        QTest::mousePress(field, Qt::LeftButton, {}, { 40, 40 });
        QTRY_VERIFY(!fixture.page);
        QVERIFY(!dialog);
    }

    void theDialogGoesWhenTheWellOrItsWindowIsHidden()
    {
        Fixture fixture;
        QPointer<QColorDialog> dialog = fixture.opened();
        fixture.well->hide();
        QTRY_VERIFY(!dialog);
        fixture.well->show();
        dialog = fixture.opened();
        QVERIFY(dialog);
        fixture.window.close();
        QTRY_VERIFY(!dialog);
        QCOMPARE(fixture.picks.size(), 0);
    }

    void theDialogStaysWhenTheWindowIsMinimised()
    {
        const Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        QHideEvent minimised;
        QSpontaneKeyEvent::setSpontaneous(&minimised);
        QCoreApplication::instance()->notify(fixture.well, &minimised);
        QTest::qWait(20);
        QVERIFY(dialog && dialog->isVisible());
    }

    void theDialogFollowsTheSchemeAndTheDirection()
    {
        const Fixture fixture;
        const QPointer<QColorDialog> dialog = fixture.opened();
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            QCOMPARE(dialog->palette().color(QPalette::Window), Theme::colour(Colour::window));
            const auto* label = dialog->findChild<QLabel*>();
            QVERIFY(label);
            QCOMPARE(label->palette().color(QPalette::WindowText), Theme::colour(Colour::text));
        }
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(dialog->layoutDirection(), Qt::RightToLeft);
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }

    void assistiveProgramsMeetAButtonWithItsColour()
    {
        const Fixture fixture;
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(fixture.well);
        QCOMPARE(heard(accessible), QStringLiteral("Button ") + Fixture::name);
        QCOMPARE(accessible->text(QAccessible::Description), QStringLiteral("#6b6bf2"));
        fixture.well->setColour(Qt::red);
        QCOMPARE(accessible->text(QAccessible::Description), QStringLiteral("#ff0000"));
        accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_VERIFY(fixture.dialog());
    }

    void theKeyboardsPlaceIsMarkedWhole()
    {
        // The page has no space around the well.
        auto* tight = new QWidget;
        auto* well = new ColourWell(tight);
        tight->setFixedSize(well->sizeHint());
        well->resize(well->sizeHint());
        ControlWindow window({ tight });
        well->clearFocus();
        well->setFocus(Qt::TabFocusReason);
        QVERIFY(window.marks(*well));
        tight->move(100, 50);
        QVERIFY(window.marks(*well));
        QTest::mousePress(well, Qt::LeftButton);
        QVERIFY(!window.ring());
        well->clearFocus();
        well->setFocus(Qt::TabFocusReason);
        QVERIFY(window.marks(*well));
        delete tight;
        QVERIFY(!window.ring());
    }

    void disabledItIsPalerAndOpensNothing()
    {
        const Fixture fixture;
        fixture.well->setEnabled(false);
        QVERIFY(fixture.shown() != Fixture::violet);
        QTest::mouseClick(fixture.well, Qt::LeftButton);
        QVERIFY(!fixture.dialog());
    }

    void theDialogOpensBesideTheWindow_data()
    {
        // The window is at the right of the screen, and the dialog at the right of the window.
        addRows<Qt::LayoutDirection, bool, bool>({ { "after the text's end", Qt::LeftToRight, false, true },
            { "where there is the room", Qt::LeftToRight, true, false },
            { "from the right", Qt::RightToLeft, true, false },
            { "from the right, where there is the room", Qt::RightToLeft, false, true } });
    }
    void theDialogOpensBesideTheWindow()
    {
        const auto [direction, isWindowAtRight, isDialogAtRight] = thisRow<Qt::LayoutDirection, bool, bool>();
        Fixture fixture;
        const QRect screen = fixture.window.screen()->availableGeometry();
        fixture.window.setLayoutDirection(direction);
        fixture.page->setFixedSize(100, 100);
        fixture.window.resize(140, 300);
        fixture.window.move(
            isWindowAtRight ? screen.right() + 1 - fixture.window.width() : screen.left(), 100);
        settle();
        const QRect dialog = fixture.opened()->frameGeometry();
        const QRect window = fixture.window.frameGeometry();
        QCOMPARE(dialog.left() > window.right(), isDialogAtRight);
        QCOMPARE(dialog.right() >= window.left(), isDialogAtRight);
        QVERIFY(screen.contains(dialog));
    }

    void whereThereIsNoRoomBesideTheWindowTheDialogStaysOnTheScreen()
    {
        Fixture fixture;
        const QRect screen = fixture.window.screen()->availableGeometry();
        fixture.window.setGeometry(screen.adjusted(60, 60, -20, -60));
        settle();
        const QRect dialog = fixture.opened()->frameGeometry();
        QVERIFY(screen.contains(dialog));
        QCOMPARE(dialog.left(), screen.left());
    }

    // Arabic letters join, and the marker of an access key changes their shapes.
    void nothingIsCutInTheDialogInArabic()
    {
        QTranslator arabic;
        QVERIFY(arabic.load(QStringLiteral("qtbase_ar"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)));
        QCoreApplication::installTranslator(&arabic);
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        {
            const Fixture fixture;
            const QPointer<QColorDialog> dialog = fixture.opened();
            int seen = 0;
            for (auto* label : dialog->findChildren<QLabel*>()) {
                if (label->text().isEmpty())
                    continue;
                ++seen;
                const auto ink = [label] {
                    return pixelsThat(label->grab().toImage(), [](QRgb pixel) {
                        return qGray(pixel) < 128;
                    }).count;
                };
                const int shown = ink();
                label->resize(label->width() + 40, label->height());
                QVERIFY2(shown >= ink(), qPrintable(label->text()));
            }
            QVERIFY(seen >= 8);
        }
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        QCoreApplication::removeTranslator(&arabic);
    }
};

KESTRUM_TEST_MAIN(QApplication, ColourWellTest)
#include "ColourWellTest.moc"
