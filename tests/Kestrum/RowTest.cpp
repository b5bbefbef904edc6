#include "Kestrum/Form/Row.h"

#include "Kestrum/Form/Card.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Raster/Contrast.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class RowTest : public QObject {
    Q_OBJECT

    struct Fixture {
        Card* card;
        ControlWindow window;

        Fixture(Row* row, int width, Qt::LayoutDirection direction = Qt::LeftToRight)
            : card(new Card({ row }))
            , window(card, width, direction)
        {
        }
    };

    static QLabel& labelOf(const Row& row) { return *row.findChild<QLabel*>(); }

    static inline const QString longText
        = QStringLiteral("Turned off under Allow in the Background, which is a long text that goes on");

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void theLabelLeadsAndTheControlTrails()
    {
        auto* toggle = new Switch;
        auto* row = new Row(QStringLiteral("Launch"), toggle);
        const Fixture fixture(row, 400);
        QCOMPARE(row->height(), 40);
        QCOMPARE(row->width(), 400);
        QCOMPARE(labelOf(*row).x(), 12);
        QCOMPARE(toggle->geometry().right(), 400 - 12 - 1);
        QCOMPARE(toggle->size(), toggle->sizeHint());
        QCOMPARE(toggle->y(), row->height() - 1 - toggle->geometry().bottom());
    }

    void fromTheRightItIsTheOtherWayRound()
    {
        auto* toggle = new Switch;
        auto* row = new Row(QStringLiteral("Launch"), toggle);
        const Fixture fixture(row, 400, Qt::RightToLeft);
        QCOMPARE(toggle->x(), 12);
        QCOMPARE(labelOf(*row).geometry().right(), 400 - 12 - 1);
    }

    void aLongTextWrapsBesideItsControl()
    {
        auto* button = new PushButton(QStringLiteral("Open"));
        auto* row = new Row(longText, button);
        const Fixture fixture(row, 340);
        const QLabel& label = labelOf(*row);
        QVERIFY(label.height() >= 2 * label.fontMetrics().lineSpacing());
        QVERIFY(row->height() >= label.height() + 12);
        QVERIFY(label.geometry().right() < button->x());
        QVERIFY(label.heightForWidth(label.width()) <= label.height());
    }

    void aCompanionComesAndGoesWithoutMovingTheText()
    {
        auto* button = new PushButton(QStringLiteral("Open"));
        auto* companion = new Switch;
        auto* row = new Row(longText, button);
        row->setCompanion(companion);
        const Fixture fixture(row, 340);
        const QRect label = labelOf(*row).geometry();
        const int height = row->height();
        QCOMPARE(companion->geometry().right(), 340 - 12 - 1);
        QCOMPARE(companion->size(), companion->sizeHint());
        QCOMPARE(button->geometry().right(), companion->x() - 8 - 1);
        companion->hide();
        settle();
        QCOMPARE(button->geometry().right(), 340 - 12 - 1);
        QCOMPARE(labelOf(*row).geometry(), label);
        QCOMPARE(row->height(), height);
    }

    void whereLittleRoomIsLeftTheControlMovesBelow()
    {
        auto* button = new PushButton(QStringLiteral("A button with a long text on it"));
        auto* row = new Row(longText, button);
        const Fixture fixture(row, 300);
        QVERIFY(button->y() > labelOf(*row).geometry().bottom());
        QCOMPARE(button->geometry().right(), 300 - 12 - 1);
        QCOMPARE(labelOf(*row).width(), 300 - 24);
        QVERIFY(row->height() > button->geometry().bottom());
    }

    void aTextThatGrowsIsNotCut()
    {
        auto* row = new Row(QStringLiteral("short"));
        const Fixture fixture(row, 300);
        QCOMPARE(row->height(), 40);
        row->setText(longText + longText + longText);
        settle();
        QVERIFY(labelOf(*row).heightForWidth(labelOf(*row).width()) <= labelOf(*row).height());
        QVERIFY(row->height() >= labelOf(*row).height());
        QVERIFY(fixture.card->height() >= row->height());
    }

    void theControlIsNamedByTheText()
    {
        auto* toggle = new Switch;
        const Row row(QStringLiteral("Launch"), toggle);
        QCOMPARE(toggle->accessibleName(), QStringLiteral("Launch"));
        QCOMPARE(labelOf(row).buddy(), toggle);
        auto* button = new PushButton(QStringLiteral("Open"));
        const Row other(QStringLiteral("Turned off"), button);
        QCOMPARE(button->accessibleName(), QString());
    }

    void inksFollowTheScheme()
    {
        auto* row = new Row(QStringLiteral("text"));
        const Fixture fixture(row, 300);
        const auto shown = [row] {
            const QLabel& label = labelOf(*row);
            return label.palette().color(label.foregroundRole());
        };
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            row->setInk(Row::Ink::text);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::text, scheme));
            row->setInk(Row::Ink::secondary);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::secondaryText, scheme));
            row->setInk(Row::Ink::error);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::error, scheme));
            QVERIFY(Contrast::ratio(Theme::colour(Theme::Colour::error, scheme),
                        Theme::colour(Theme::Colour::card, scheme))
                >= 4.5);
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, RowTest)
#include "RowTest.moc"
