#include "Kestrum/Form/Switch.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"
#include "tests/ControlWindow.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;
using Theme::Colour;

namespace {

/// A window with a switch and a button, shown and active.
struct Stage {
    QWidget window;
    Switch* toggle;
    PushButton* button;

    explicit Stage(Switch::Size size = Switch::Size::regular)
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

    /// The middle of the knob, in points from the switch's left edge: the middle of what is white.
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

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void itHasTwoSizes()
    {
        QCOMPARE(Switch().sizeHint(), QSize(38, 22));
        QCOMPARE(Switch(Switch::Size::small).sizeHint(), QSize(30, 18));
    }

    void aClickAnywhereOnItAndSpaceTurnIt()
    {
        Stage stage;
        QSignalSpy toggles(stage.toggle, &Switch::toggled);
        for (const QPoint place :
            { QPoint(2, 11), QPoint(19, 11), QPoint(36, 11), QPoint(19, 2), QPoint(19, 20) })
            QTest::mouseClick(stage.toggle, Qt::LeftButton, {}, place);
        QCOMPARE(toggles.size(), 5);
        QVERIFY(stage.toggle->isChecked());
        QTest::keyClick(stage.toggle, Qt::Key_Space);
        QVERIFY(!stage.toggle->isChecked());
    }

    void theKnobStandsAtTheTrailingEndWhenItIsOn()
    {
        for (const auto size : { Switch::Size::regular, Switch::Size::small }) {
            Stage stage(size);
            const QSize points = stage.toggle->sizeHint();
            const double leading = points.height() / 2.0;
            const double trailing = points.width() - leading;
            stage.toggle->follow(false);
            QVERIFY2(std::abs(stage.knob() - leading) < 0.3, qPrintable(QString::number(stage.knob())));
            stage.toggle->follow(true);
            QVERIFY2(std::abs(stage.knob() - trailing) < 0.3, qPrintable(QString::number(stage.knob())));
            stage.toggle->setLayoutDirection(Qt::RightToLeft);
            QVERIFY(std::abs(stage.knob() - leading) < 0.3);
            stage.toggle->follow(false);
            QVERIFY(std::abs(stage.knob() - trailing) < 0.3);
        }
    }

    void theKnobSlidesAndArrives()
    {
        Stage stage;
        QElapsedTimer timer;
        timer.start();
        stage.toggle->click();
        QVERIFY(stage.knob() < 14);
        QTRY_VERIFY(stage.knob() > 12 && stage.knob() < 26);
        QTRY_VERIFY(stage.knob() > 26.5);
        // Not before its time, and not much after it.
        QVERIFY2(
            timer.elapsed() >= 100 && timer.elapsed() < 600, qPrintable(QString::number(timer.elapsed())));
        // Turned back on the way, it goes from where it is.
        stage.toggle->click();
        stage.toggle->click();
        QVERIFY(stage.knob() > 26.5);
    }

    void followingAValueIsAtOnceAndTellsNobody()
    {
        Stage stage;
        QSignalSpy toggles(stage.toggle, &Switch::toggled);
        stage.toggle->follow(true);
        QVERIFY(stage.toggle->isChecked());
        QVERIFY(stage.knob() > 26.5);
        QCOMPARE(toggles.size(), 0);
        stage.toggle->click();
        stage.toggle->follow(true);
        QVERIFY(stage.knob() > 26.5);
        QTest::qWait(60);
        QVERIFY(stage.knob() > 26.5);
    }

    void followingWhatItWasTurnedToLetsItSlide()
    {
        Stage stage;
        // As by a value that is bound to it.
        connect(stage.toggle, &Switch::toggled, stage.toggle, &Switch::follow);
        stage.toggle->click();
        QVERIFY(stage.knob() < 14);
        QTRY_VERIFY(stage.knob() > 26.5);
    }

    void onRequestItDoesNotSlide()
    {
        Stage stage;
        stage.toggle->setSlides(false);
        stage.toggle->click();
        QVERIFY(stage.knob() > 26.5);
        stage.toggle->click();
        QVERIFY(stage.knob() < 11.5);
    }

    void itIsStillWhenNothingMoves()
    {
        Stage stage;
        stage.toggle->click();
        QTRY_VERIFY(stage.knob() > 26.5);
        QTest::qWait(50);
        const auto* slide = stage.toggle->findChild<QVariantAnimation*>();
        QVERIFY(!slide || slide->state() == QAbstractAnimation::Stopped);
    }

    void disabledItIsPalerAndCannotBeTurned()
    {
        Stage stage;
        stage.toggle->follow(true);
        const QImage before = stage.toggle->grab().toImage();
        stage.toggle->setEnabled(false);
        QVERIFY(stage.toggle->grab().toImage() != before);
        QTest::mouseClick(stage.toggle, Qt::LeftButton);
        QTest::keyClick(stage.toggle, Qt::Key_Space);
        QVERIFY(stage.toggle->isChecked());
    }

    void assistiveProgramsSeeACheckBoxWithNameAndState()
    {
        Stage stage;
        stage.toggle->setAccessibleName(QStringLiteral("Launch"));
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(stage.toggle);
        QCOMPARE(accessible->role(), QAccessible::CheckBox);
        QCOMPARE(accessible->text(QAccessible::Name), QStringLiteral("Launch"));
        QVERIFY(accessible->state().checkable && !accessible->state().checked);
        stage.toggle->follow(true);
        QVERIFY(accessible->state().checked && !accessible->state().disabled);
        accessible->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(!stage.toggle->isChecked());
        stage.toggle->setEnabled(false);
        QVERIFY(accessible->state().disabled);
    }

    void theKeyboardMarksTheControlItIsAtAndThePointerDoesNot()
    {
        Stage stage;
        QTest::mouseClick(stage.toggle, Qt::LeftButton);
        QVERIFY(stage.toggle->hasFocus());
        QVERIFY(!stage.ring());
        QTest::keyClick(stage.toggle, Qt::Key_Tab);
        QVERIFY(stage.button->hasFocus());
        QVERIFY(stage.ring());
        QCOMPARE(stage.ring()->geometry(), stage.button->geometry().adjusted(-3, -3, 3, 3));
        QTest::keyClick(stage.button, Qt::Key_Backtab);
        QVERIFY(stage.toggle->hasFocus());
        QCOMPARE(stage.ring()->geometry(), stage.toggle->geometry().adjusted(-3, -3, 3, 3));
        stage.toggle->move(30, 30);
        QCOMPARE(stage.ring()->geometry(), stage.toggle->geometry().adjusted(-3, -3, 3, 3));
        QTest::mouseClick(stage.toggle, Qt::LeftButton);
        QVERIFY(!stage.ring());
    }

    void theMarkIsTwoWideAndOneOutside()
    {
        Stage stage;
        stage.toggle->setFocus();
        stage.button->setFocus(Qt::TabFocusReason);
        QVERIFY(stage.ring());
        // At a straight side.
        const QImage picture = stage.window.grab().toImage();
        const QRgb mark = Theme::colour(Colour::focusRing).rgba();
        const int y = stage.button->geometry().center().y();
        const int left = stage.button->geometry().left();
        QVERIFY(picture.pixel(left - 4, y) != mark);
        QCOMPARE(picture.pixel(left - 3, y), mark);
        QCOMPARE(picture.pixel(left - 2, y), mark);
        QVERIFY(picture.pixel(left - 1, y) != mark);
    }

    void theMarkGoesWithItsControl()
    {
        Stage stage;
        stage.toggle->setFocus();
        stage.button->setFocus(Qt::TabFocusReason);
        QVERIFY(stage.ring());
        // So that the focus has nowhere to go.
        stage.toggle->setFocusPolicy(Qt::NoFocus);
        stage.button->hide();
        QVERIFY(!stage.ring());
        stage.button->show();
        stage.button->clearFocus();
        stage.button->setFocus(Qt::TabFocusReason);
        QVERIFY(stage.ring());
        delete stage.button;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!stage.ring());
    }

    void thePointerOverItShowsOnItsTrackAlone()
    {
        Stage stage;
        // Beside the knob, and on it.
        const auto track = [&stage] { return stage.window.grab().toImage().pixel(20 + 30, 20 + 11); };
        const auto onKnob = [&stage] { return stage.window.grab().toImage().pixel(20 + 11, 20 + 11); };
        const auto point = [&stage](QPoint place) { QTest::mouseMove(stage.window.windowHandle(), place); };
        point({ 5, 90 });
        QTRY_VERIFY(!stage.toggle->underMouse());
        const QRgb plain = track();
        const QRgb knob = onKnob();
        point({ 30, 30 });
        QTRY_VERIFY(track() != plain);
        QCOMPARE(onKnob(), knob);
        stage.toggle->setEnabled(false);
        const QRgb disabled = track();
        point({ 5, 90 });
        QTRY_VERIFY(!stage.toggle->underMouse());
        QCOMPARE(track(), disabled);
        stage.toggle->setEnabled(true);
        QCOMPARE(track(), plain);
    }

    void aSwitchThatIsOnHasTheColourOfWhatIsSelected()
    {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            Stage stage;
            stage.toggle->follow(true);
            QTest::mouseMove(stage.window.windowHandle(), { 5, 90 });
            QTRY_VERIFY(!stage.toggle->underMouse());
            const QImage picture = stage.window.grab().toImage();
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
