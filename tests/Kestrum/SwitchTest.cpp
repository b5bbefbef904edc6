#include "Kestrum/Form/Switch.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;
using Theme::Colour;

namespace {

/// A window with a switch and a button, shown and active.
struct SwitchFixture {
    QWidget window;
    Switch* toggle;
    PushButton* button;

    explicit SwitchFixture(Switch::Size size = Switch::Size::regular)
        : toggle(new Switch(size, &window))
        , button(new PushButton(QStringLiteral("Open"), &window))
    {
        window.resize(200, 100);
        toggle->setGeometry(QRect(QPoint(20, 20), toggle->sizeHint()));
        button->setGeometry(QRect(QPoint(100, 20), button->sizeHint()));
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }

    /// The x position of the knob's middle, in points from the switch's left edge, found by its white pixels.
    double knob() const
    {
        QImage picture(toggle->size() * 4, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(4);
        picture.fill(Qt::black);
        toggle->render(&picture);
        double sum = 0;
        int count = 0;
        for (int x = 0; x < picture.width(); ++x) {
            if (qGreen(picture.pixel(x, picture.height() / 2)) > 250) {
                sum += x + 0.5;
                ++count;
            }
        }
        return count == 0 ? -1 : sum / count / 4;
    }
    FocusRing* ring() const
    {
        for (auto* ring : window.findChildren<FocusRing*>()) {
            if (ring->isVisible())
                return ring;
        }
        return nullptr;
    }
};

} // namespace

class SwitchTest : public QObject {
    Q_OBJECT
    using Fixture = SwitchFixture;

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
            QVERIFY2(std::abs(fixture.knob() - leading) < 0.3, qPrintable(QString::number(fixture.knob())));
            fixture.toggle->follow(true);
            QVERIFY2(std::abs(fixture.knob() - trailing) < 0.3, qPrintable(QString::number(fixture.knob())));
            fixture.toggle->setLayoutDirection(Qt::RightToLeft);
            QVERIFY(std::abs(fixture.knob() - leading) < 0.3);
            fixture.toggle->follow(false);
            QVERIFY(std::abs(fixture.knob() - trailing) < 0.3);
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
        QVERIFY2(
            timer.elapsed() >= 100 && timer.elapsed() < 600, qPrintable(QString::number(timer.elapsed())));
        // Toggled during the animation, the knob starts from where it is.
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
        // Follows a bound value.
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
        QCOMPARE(accessible->role(), QAccessible::CheckBox);
        QCOMPARE(accessible->text(QAccessible::Name), QStringLiteral("Launch"));
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
        QVERIFY(!fixture.ring());
        QTest::keyClick(fixture.toggle, Qt::Key_Tab);
        QVERIFY(fixture.button->hasFocus());
        QVERIFY(fixture.ring());
        QCOMPARE(fixture.ring()->geometry(), fixture.button->geometry().adjusted(-3, -3, 3, 3));
        QTest::keyClick(fixture.button, Qt::Key_Backtab);
        QVERIFY(fixture.toggle->hasFocus());
        QCOMPARE(fixture.ring()->geometry(), fixture.toggle->geometry().adjusted(-3, -3, 3, 3));
        fixture.toggle->move(30, 30);
        QCOMPARE(fixture.ring()->geometry(), fixture.toggle->geometry().adjusted(-3, -3, 3, 3));
        QTest::mouseClick(fixture.toggle, Qt::LeftButton);
        QVERIFY(!fixture.ring());
    }

    void theMarkIsTwoWideAndOneOutside()
    {
        Fixture fixture;
        fixture.toggle->setFocus();
        fixture.button->setFocus(Qt::TabFocusReason);
        QVERIFY(fixture.ring());
        // Measured at a straight side.
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
        QVERIFY(fixture.ring());
        // Then the focus has nowhere else to go.
        fixture.toggle->setFocusPolicy(Qt::NoFocus);
        fixture.button->hide();
        QVERIFY(!fixture.ring());
        fixture.button->show();
        fixture.button->clearFocus();
        fixture.button->setFocus(Qt::TabFocusReason);
        QVERIFY(fixture.ring());
        delete fixture.button;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fixture.ring());
    }

    void thePointerOverItShowsOnItsTrackAlone()
    {
        Fixture fixture;
        // The samples are beside the knob and on it.
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

    void everyStateCanBeSeen()
    {
        for (const std::optional<QColor>& accent :
            { std::optional<QColor>(), std::optional(QColor(Qt::yellow)), std::optional(QColor(Qt::white)),
                std::optional(QColor(Qt::black)), std::optional(QColor(Qt::cyan)) }) {
            for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                SystemAppearance::shared().setScheme(scheme, accent);
                const auto of = [](Colour colour) { return Theme::colour(colour); };
                QVERIFY(Theme::contrast(of(Colour::switchKnob), of(Colour::selection)) >= 3);
                QVERIFY(Theme::contrast(of(Colour::switchOutline), of(Colour::switchKnob)) >= 3);
                for (const Colour ground : { Colour::card, Colour::window, Colour::sidebar }) {
                    QVERIFY(Theme::contrast(of(Colour::selection), of(ground)) >= 3);
                    QVERIFY(Theme::contrast(of(Colour::switchOutline), of(ground)) >= 3);
                }
                QVERIFY(Theme::contrast(of(Colour::text), of(Colour::button)) >= 4.5);
            }
        }
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }
};

KESTRUM_TEST_MAIN(QApplication, SwitchTest)
#include "SwitchTest.moc"
