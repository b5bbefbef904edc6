#include "Kestrum/Form/Row.h"

#include "Kestrum/Form/Card.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Switch.h"
#include "Kestrum/Form/Theme.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QTest>
#include <QVBoxLayout>

using namespace kestrum;

namespace {

/// A window with a card that contains rows.
struct RowFixture {
    QWidget window;
    Card* card = new Card;

    explicit RowFixture(std::initializer_list<Row*> rows)
    {
        window.setPalette(Theme::palette(ColourScheme::light));
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(card);
        layout->addStretch(1);
        for (Row* row : rows)
            card->add(row);
    }
    void showAt(int width)
    {
        window.resize(width, 400);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTest::qWait(20);
    }
};

QLabel& labelOf(const Row& row)
{
    return *row.findChild<QLabel*>();
}

const QString longText
    = QStringLiteral("Turned off under Allow in the Background, which is a long text that goes on");

} // namespace

class RowTest : public QObject {
    Q_OBJECT
    using Fixture = RowFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void theLabelLeadsAndTheControlTrails()
    {
        auto* toggle = new Switch;
        auto* row = new Row(QStringLiteral("Launch"), toggle);
        Fixture fixture({ row });
        fixture.showAt(400);
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
        Fixture fixture({ row });
        fixture.window.setLayoutDirection(Qt::RightToLeft);
        fixture.showAt(400);
        QCOMPARE(toggle->x(), 12);
        QCOMPARE(labelOf(*row).geometry().right(), 400 - 12 - 1);
    }

    void aLongTextWrapsBesideItsControl()
    {
        auto* button = new PushButton(QStringLiteral("Open"));
        auto* row = new Row(longText, button);
        Fixture fixture({ row });
        fixture.showAt(340);
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
        Fixture fixture({ row });
        fixture.showAt(340);
        const QRect label = labelOf(*row).geometry();
        const int height = row->height();
        QCOMPARE(companion->geometry().right(), 340 - 12 - 1);
        QCOMPARE(companion->size(), companion->sizeHint());
        QCOMPARE(button->geometry().right(), companion->x() - 8 - 1);
        companion->hide();
        QTest::qWait(20);
        QCOMPARE(button->geometry().right(), 340 - 12 - 1);
        QCOMPARE(labelOf(*row).geometry(), label);
        QCOMPARE(row->height(), height);
    }

    void whereLittleRoomIsLeftTheControlMovesBelow()
    {
        auto* button = new PushButton(QStringLiteral("A button with a long text on it"));
        auto* row = new Row(longText, button);
        Fixture fixture({ row });
        fixture.showAt(300);
        QVERIFY(button->y() > labelOf(*row).geometry().bottom());
        QCOMPARE(button->geometry().right(), 300 - 12 - 1);
        QCOMPARE(labelOf(*row).width(), 300 - 24);
        QVERIFY(row->height() > button->geometry().bottom());
    }

    void aTextThatGrowsIsNotCut()
    {
        auto* row = new Row(QStringLiteral("short"));
        Fixture fixture({ row });
        fixture.showAt(300);
        QCOMPARE(row->height(), 40);
        row->setText(longText + longText + longText);
        QTest::qWait(20);
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
        Fixture fixture({ row });
        const auto shown = [&] {
            const QLabel& label = labelOf(*row);
            return label.palette().color(label.foregroundRole());
        };
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            fixture.window.setPalette(Theme::palette(scheme));
            row->setInk(Row::Ink::text);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::text, scheme));
            row->setInk(Row::Ink::secondary);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::secondaryText, scheme));
            row->setInk(Row::Ink::error);
            QCOMPARE(shown(), Theme::colour(Theme::Colour::error, scheme));
            QVERIFY(Theme::contrast(Theme::colour(Theme::Colour::error, scheme),
                        Theme::colour(Theme::Colour::card, scheme))
                >= 4.5);
        }
    }

    void hairlinesStandBetweenTheRowsThatAreShown()
    {
        auto* first = new Row(QStringLiteral("1"));
        auto* second = new Row(QStringLiteral("2"));
        auto* third = new Row(QStringLiteral("3"));
        Fixture fixture({ first, second, third });
        const auto hairlines = [&fixture] {
            // Measured in a column without text.
            const QImage picture = fixture.card->grab().toImage();
            const int x = picture.width() - 30;
            QList<int> found;
            for (int y = 5; y < picture.height() - 5; ++y) {
                if (picture.pixel(x, y) != picture.pixel(x, 4))
                    found.append(y);
            }
            return found;
        };
        fixture.showAt(300);
        QCOMPARE(hairlines(), QList<int>({ 40, 80 }));
        second->hide();
        QTest::qWait(20);
        QCOMPARE(hairlines(), QList<int>({ 40 }));
        first->hide();
        QTest::qWait(20);
        QCOMPARE(hairlines(), QList<int>());
    }
};

KESTRUM_TEST_MAIN(QApplication, RowTest)
#include "RowTest.moc"
