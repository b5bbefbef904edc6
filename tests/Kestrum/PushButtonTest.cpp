#include "Kestrum/Form/PushButton.h"

#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/PopupPicker.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QSignalSpy>

using namespace kestrum;
using Theme::Colour;

namespace {

/// The three kinds of control that look like a button: a button, a picker and a well.
struct PushButtonFixture {
    PushButton* button = new PushButton(QStringLiteral("Open Login Items…"));
    PopupPicker* picker = new PopupPicker;
    ColourWell* well = new ColourWell;
    ControlWindow window { button, picker, well };

    PushButtonFixture()
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

} // namespace

class PushButtonTest : public QObject {
    Q_OBJECT
    using Fixture = PushButtonFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void aButtonIsAsWideAsItsTextNeeds()
    {
        const Fixture fixture;
        const PushButton& open = *fixture.button;
        QCOMPARE(open.sizeHint().height(), 26);
        QVERIFY(open.sizeHint().width() >= open.fontMetrics().horizontalAdvance(open.text()) + 20);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(fixture.button);
        QCOMPARE(accessible->role(), QAccessible::Button);
        QCOMPARE(accessible->text(QAccessible::Name), open.text());
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
        const auto darkest = [](QWidget& control) {
            const QImage image = control.grab().toImage();
            int least = 255;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    least = std::min(least, qGray(image.pixel(x, y)));
            }
            return least;
        };
        for (QWidget* control : fixture.all()) {
            QVERIFY(darkest(*control) < 60);
            control->setEnabled(false);
            control->setAttribute(Qt::WA_UnderMouse);
            QVERIFY_COLOUR(Fixture::ground(*control), Fixture::ground(Colour::button));
            QVERIFY(darkest(*control) > 120);
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, PushButtonTest)
#include "PushButtonTest.moc"
