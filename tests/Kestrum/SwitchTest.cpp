#include "Kestrum/Form/Switch.h"

#include "Kestrum/Form/PushButton.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace kestrum;
using Theme::Colour;

class SwitchTest : public QObject {
    Q_OBJECT

    struct Fixture {
        Switch* toggle;
        PushButton* button = new PushButton(QStringLiteral("Open"));
        ControlWindow window;

        explicit Fixture(Switch::Size size = Switch::Size::regular)
            : toggle(new Switch(size))
            , window({ toggle, button })
        {
        }

        /// The x position of the knob's middle, in points from the switch's left edge, found by its white pixels.
        double knob() const
        {
            const QImage picture
                = pictureOf(*toggle, Qt::black, 4).copy(0, toggle->height() * 2, toggle->width() * 4, 1);
            const QRect white = pixelsThat(picture, [](QRgb pixel) { return qGreen(pixel) > 250; }).place;
            return white.isNull() ? -1 : (white.left() + white.width() / 2.0) / 4;
        }
    };

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itHasTwoSizes()
    {
        QCOMPARE(Switch().sizeHint(), QSize(38, 22));
        QCOMPARE(Switch(Switch::Size::small).sizeHint(), QSize(30, 18));
    }

    void aClickAnywhereOnItAndSpaceTurnIt()
    {
        Fixture fixture;
        QSignalSpy toggles(fixture.toggle, &Switch::toggled);
        for (const QPoint place :
            { QPoint(2, 11), QPoint(19, 11), QPoint(36, 11), QPoint(19, 2), QPoint(19, 20) })
            QTest::mouseClick(fixture.toggle, Qt::LeftButton, {}, place);
        QCOMPARE(toggles.size(), 5);
        QVERIFY(fixture.toggle->isChecked());
        QTest::keyClick(fixture.toggle, Qt::Key_Space);
        QVERIFY(!fixture.toggle->isChecked());
    }

    void theKnobStandsAtTheTrailingEndWhenItIsOn()
    {
        for (const auto size : { Switch::Size::regular, Switch::Size::small }) {
            Fixture fixture(size);
            const QSize points = fixture.toggle->sizeHint();
            const double leading = points.height() / 2.0;
            const double trailing = points.width() - leading;
            fixture.toggle->follow(false);
            QCOMPARE_LT(std::abs(fixture.knob() - leading), 0.3);
            fixture.toggle->follow(true);
            QCOMPARE_LT(std::abs(fixture.knob() - trailing), 0.3);
            fixture.toggle->setLayoutDirection(Qt::RightToLeft);
            QCOMPARE_LT(std::abs(fixture.knob() - leading), 0.3);
            fixture.toggle->follow(false);
            QCOMPARE_LT(std::abs(fixture.knob() - trailing), 0.3);
        }
    }

    void theKnobSlidesAndArrives()
    {
        Fixture fixture;
        QElapsedTimer timer;
        timer.start();
        fixture.toggle->click();
        QVERIFY(fixture.knob() < 14);
        QTRY_VERIFY(fixture.knob() > 12 && fixture.knob() < 26);
        QTRY_VERIFY(fixture.knob() > 26.5);
        // The animation takes its full time, and not much longer.
        QCOMPARE_GE(timer.elapsed(), 100);
        QCOMPARE_LT(timer.elapsed(), 600);
        // If the switch is toggled during the animation, the knob moves on from its present place.
        fixture.toggle->click();
        fixture.toggle->click();
        QVERIFY(fixture.knob() > 26.5);
    }

    void followingAValueIsAtOnceAndTellsNobody()
    {
        Fixture fixture;
        QSignalSpy toggles(fixture.toggle, &Switch::toggled);
        fixture.toggle->follow(true);
        QVERIFY(fixture.toggle->isChecked());
        QVERIFY(fixture.knob() > 26.5);
        QCOMPARE(toggles.size(), 0);
        fixture.toggle->click();
        fixture.toggle->follow(true);
        QVERIFY(fixture.knob() > 26.5);
        QTest::qWait(60);
        QVERIFY(fixture.knob() > 26.5);
    }

    void followingWhatItWasTurnedToLetsItSlide()
    {
        Fixture fixture;
        // The switch follows the value that it has changed.
        connect(fixture.toggle, &Switch::toggled, fixture.toggle, &Switch::follow);
        fixture.toggle->click();
        QVERIFY(fixture.knob() < 14);
        QTRY_VERIFY(fixture.knob() > 26.5);
    }

    void onRequestItDoesNotSlide()
    {
        Fixture fixture;
        fixture.toggle->setSlides(false);
        fixture.toggle->click();
        QVERIFY(fixture.knob() > 26.5);
        fixture.toggle->click();
        QVERIFY(fixture.knob() < 11.5);
    }

    void itIsStillWhenNothingMoves()
    {
        Fixture fixture;
        fixture.toggle->click();
        QTRY_VERIFY(fixture.knob() > 26.5);
        QTest::qWait(50);
        const auto* slide = fixture.toggle->findChild<QVariantAnimation*>();
        QVERIFY(!slide || slide->state() == QAbstractAnimation::Stopped);
    }

    void disabledItIsPalerAndCannotBeTurned()
    {
        Fixture fixture;
        fixture.toggle->follow(true);
        const QImage before = fixture.toggle->grab().toImage();
        fixture.toggle->setEnabled(false);
        QVERIFY(fixture.toggle->grab().toImage() != before);
        QTest::mouseClick(fixture.toggle, Qt::LeftButton);
        QTest::keyClick(fixture.toggle, Qt::Key_Space);
        QVERIFY(fixture.toggle->isChecked());
    }

    void assistiveProgramsSeeACheckBoxWithNameAndState()
    {
        Fixture fixture;
        fixture.toggle->setAccessibleName(QStringLiteral("Launch"));
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(fixture.toggle);
        QCOMPARE(heard(accessible), QStringLiteral("CheckBox Launch"));
        QVERIFY(accessible->state().checkable && !accessible->state().checked);
        fixture.toggle->follow(true);
        QVERIFY(accessible->state().checked && !accessible->state().disabled);
        accessible->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(!fixture.toggle->isChecked());
        fixture.toggle->setEnabled(false);
        QVERIFY(accessible->state().disabled);
    }

    void theKeyboardMarksTheControlItIsAtAndThePointerDoesNot()
    {
        Fixture fixture;
        QTest::mouseClick(fixture.toggle, Qt::LeftButton);
        QVERIFY(fixture.toggle->hasFocus());
        QVERIFY(!fixture.window.ring());
        QTest::keyClick(fixture.toggle, Qt::Key_Tab);
        QVERIFY(fixture.button->hasFocus());
        QVERIFY(fixture.window.marks(*fixture.button));
        QTest::keyClick(fixture.button, Qt::Key_Backtab);
        QVERIFY(fixture.toggle->hasFocus());
        QVERIFY(fixture.window.marks(*fixture.toggle));
        fixture.toggle->move(30, 30);
        QVERIFY(fixture.window.marks(*fixture.toggle));
        QTest::mouseClick(fixture.toggle, Qt::LeftButton);
        QVERIFY(!fixture.window.ring());
    }

    void theMarkIsTwoWideAndOneOutside()
    {
        Fixture fixture;
        fixture.toggle->setFocus();
        fixture.button->setFocus(Qt::TabFocusReason);
        QVERIFY(fixture.window.ring());
        // Measure the mark at a straight side of the button.
        const QImage picture = fixture.window.grab().toImage();
        const QRgb mark = Theme::colour(Colour::focusRing).rgba();
        const int y = fixture.button->geometry().center().y();
        const int left = fixture.button->geometry().left();
        QVERIFY(picture.pixel(left - 4, y) != mark);
        QCOMPARE(picture.pixel(left - 3, y), mark);
        QCOMPARE(picture.pixel(left - 2, y), mark);
        QVERIFY(picture.pixel(left - 1, y) != mark);
    }

    void theMarkGoesWithItsControl()
    {
        Fixture fixture;
        fixture.toggle->setFocus();
        fixture.button->setFocus(Qt::TabFocusReason);
        QVERIFY(fixture.window.ring());
        // Now no other control can get the focus.
        fixture.toggle->setFocusPolicy(Qt::NoFocus);
        fixture.button->hide();
        QVERIFY(!fixture.window.ring());
        fixture.button->show();
        fixture.button->clearFocus();
        fixture.button->setFocus(Qt::TabFocusReason);
        QVERIFY(fixture.window.ring());
        delete fixture.button;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fixture.window.ring());
    }

    void thePointerOverItShowsOnItsTrackAlone()
    {
        Fixture fixture;
        // One sample is on the track beside the knob, the other on the knob.
        const auto track = [&fixture] { return fixture.window.grab().toImage().pixel(20 + 30, 20 + 11); };
        const auto onKnob = [&fixture] { return fixture.window.grab().toImage().pixel(20 + 11, 20 + 11); };
        const auto point
            = [&fixture](QPoint place) { QTest::mouseMove(fixture.window.windowHandle(), place); };
        point({ 5, 90 });
        QTRY_VERIFY(!fixture.toggle->underMouse());
        const QRgb plain = track();
        const QRgb knob = onKnob();
        point({ 30, 30 });
        QTRY_VERIFY(track() != plain);
        QCOMPARE(onKnob(), knob);
        fixture.toggle->setEnabled(false);
        const QRgb disabled = track();
        point({ 5, 90 });
        QTRY_VERIFY(!fixture.toggle->underMouse());
        QCOMPARE(track(), disabled);
        fixture.toggle->setEnabled(true);
        QCOMPARE(track(), plain);
    }

    void aSwitchThatIsOnHasTheColourOfWhatIsSelected()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            Fixture fixture;
            fixture.toggle->follow(true);
            QTest::mouseMove(fixture.window.windowHandle(), { 5, 90 });
            QTRY_VERIFY(!fixture.toggle->underMouse());
            const QImage picture = fixture.window.grab().toImage();
            QCOMPARE(picture.pixel(20 + 9, 20 + 11), Theme::colour(Colour::selection).rgba());
            QCOMPARE(picture.pixel(20 + 27, 20 + 11), Theme::colour(Colour::switchKnob).rgba());
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }
};

KESTRUM_TEST_MAIN(QApplication, SwitchTest)
#include "SwitchTest.moc"
