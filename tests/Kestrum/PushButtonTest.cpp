#include "Kestrum/Form/PushButton.h"

#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/PopupPicker.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/TestHome.h"

#include <QSignalSpy>

using namespace kestrum;
using Theme::Colour;

class PushButtonTest : public QObject {
    Q_OBJECT

    /// The three kinds of control that look like a button: a button, a picker and a well.
    struct Fixture {
        PushButton* button = new PushButton(QStringLiteral("Open Login Items…"));
        PopupPicker* picker = new PopupPicker;
        ColourWell* well = new ColourWell;
        ControlWindow window { button, picker, well };

        Fixture()
        {
            picker->addEntry(QStringLiteral("Usage"));
            picker->setIndex(0);
        }
        QList<QWidget*> all() const { return { button, picker, well }; }

        /// The colour of the control's plate, before its text or picture.
        static QColor ground(QWidget& control) { return control.grab().toImage().pixelColor(2, 12); }
        static QColor ground(Colour state)
        {
            return state == Colour::button ? Theme::colour(Colour::button)
                                           : laidOver(Theme::colour(state), Theme::colour(Colour::button));
        }
    };

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void aButtonIsAsWideAsItsTextNeeds()
    {
        const Fixture fixture;
        const PushButton& open = *fixture.button;
        QCOMPARE(open.sizeHint().height(), 26);
        QVERIFY(open.sizeHint().width() >= open.fontMetrics().horizontalAdvance(open.text()) + 20);
        QCOMPARE(heard(fixture.button), QStringLiteral("Button Open Login Items…"));
    }

    void aClickAndSpacePressIt()
    {
        const Fixture fixture;
        QSignalSpy clicks(fixture.button, &PushButton::clicked);
        QTest::mouseClick(fixture.button, Qt::LeftButton);
        QCOMPARE(clicks.size(), 1);
        QTest::keyClick(fixture.button, Qt::Key_Space);
        QCOMPARE(clicks.size(), 2);
    }

    void thePlateShowsThePointerOverIt()
    {
        const Fixture fixture;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            for (QWidget* control : fixture.all()) {
                QVERIFY_COLOUR(Fixture::ground(*control), Fixture::ground(Colour::button));
                control->setAttribute(Qt::WA_UnderMouse);
                QVERIFY_COLOUR(Fixture::ground(*control), Fixture::ground(Colour::buttonHovered));
                control->setAttribute(Qt::WA_UnderMouse, false);
            }
        }
    }

    void thePlateShowsThatItIsHeldDown()
    {
        const Fixture fixture;
        QVERIFY(Fixture::ground(Colour::buttonPressed) != Fixture::ground(Colour::buttonHovered));
        for (QAbstractButton* button :
            { static_cast<QAbstractButton*>(fixture.button), static_cast<QAbstractButton*>(fixture.well) }) {
            button->setDown(true);
            QVERIFY_COLOUR(Fixture::ground(*button), Fixture::ground(Colour::buttonPressed));
            button->setDown(false);
            QVERIFY_COLOUR(Fixture::ground(*button), Fixture::ground(Colour::button));
        }
        // A picker looks pressed as long as its list is open.
        fixture.picker->showPopup();
        QVERIFY_COLOUR(Fixture::ground(*fixture.picker), Fixture::ground(Colour::buttonPressed));
        fixture.picker->hidePopup();
        QVERIFY_COLOUR(Fixture::ground(*fixture.picker), Fixture::ground(Colour::button));
    }

    void whatIsDisabledIsPaleAndShowsNoPointer()
    {
        const Fixture fixture;
        fixture.well->setColour(Qt::black);
        const auto hasPixels = [](QWidget& control, int least, int most) {
            return pixelsThat(control.grab().toImage(),
                       [=](QRgb pixel) { return qGray(pixel) >= least && qGray(pixel) <= most; })
                       .count
                > 0;
        };
        for (QWidget* control : fixture.all()) {
            QVERIFY(hasPixels(*control, 0, 59));
            control->setEnabled(false);
            control->setAttribute(Qt::WA_UnderMouse);
            QVERIFY_COLOUR(Fixture::ground(*control), Fixture::ground(Colour::button));
            QVERIFY(!hasPixels(*control, 0, 120));
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, PushButtonTest)
#include "PushButtonTest.moc"
