#include "Kestrum/Form/Card.h"

#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QLabel>

using namespace kestrum;
using Theme::Colour;

namespace {

/// A card as wide as its window.
struct CardFixture {
    Card* card;
    ControlWindow window;

    explicit CardFixture(Card* shown, Qt::LayoutDirection direction = Qt::LeftToRight)
        : card(shown)
        , window({}, direction)
    {
        static_cast<QVBoxLayout*>(window.layout())->insertWidget(0, card);
        settle();
    }
    static void settle() { QTest::qWait(20); }

    QLabel* label(const QString& text) const
    {
        for (auto* label : card->findChildren<QLabel*>()) {
            if (label->text() == text && label->isVisible())
                return label;
        }
        return nullptr;
    }
    /// The height that a plain label needs for the same text.
    static int textHeight(const QLabel& label)
    {
        QLabel plain(label.text());
        plain.setFont(label.font());
        plain.setWordWrap(true);
        return plain.heightForWidth(label.width());
    }
    /// The y positions of the lines between the contents, from the card's top, measured in a column without text.
    QList<int> hairlines() const
    {
        const QImage picture = card->grab().toImage();
        const QColor ground = Theme::colour(Colour::card);
        QList<int> lines;
        // A line at the very top would lie on the card's edge.
        if (picture.pixel(picture.width() - 40, 0)
            != picture.pixel(picture.width() - 40, picture.height() - 1))
            lines.append(0);
        for (int y = 4; y < picture.height() - 4; ++y) {
            if (picture.pixelColor(picture.width() - 40, y) != ground)
                lines.append(y);
        }
        return lines;
    }
};

QWidget* content(int height)
{
    auto* widget = new QWidget;
    widget->setFixedHeight(height);
    return widget;
}

} // namespace

class CardTest : public QObject {
    Q_OBJECT
    using Fixture = CardFixture;

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void contentsStandOneBelowTheOtherWithHairlinesBetween()
    {
        const Fixture fixture(new Card({ content(40), content(50), content(60) }));
        QCOMPARE(fixture.card->height(), 150);
        QCOMPARE(fixture.hairlines(), QList<int>({ 40, 90 }));
        const QImage picture = fixture.card->grab().toImage();
        QCOMPARE(picture.pixelColor(11, 40), Theme::colour(Colour::card));
        QVERIFY(picture.pixelColor(12, 40) != Theme::colour(Colour::card));
        QVERIFY(picture.pixelColor(picture.width() - 13, 40) != Theme::colour(Colour::card));
        QCOMPARE(picture.pixelColor(picture.width() - 12, 40), Theme::colour(Colour::card));
    }

    void aHiddenContentTakesNoRoomAndNoLine()
    {
        auto* first = content(40);
        auto* middle = content(50);
        auto* last = content(60);
        const Fixture fixture(new Card({ first, middle, last }));
        middle->hide();
        fixture.settle();
        QCOMPARE(fixture.card->height(), 100);
        QCOMPARE(fixture.hairlines(), QList<int>({ 40 }));
        middle->show();
        last->hide();
        fixture.settle();
        QCOMPARE(fixture.hairlines(), QList<int>({ 40 }));
        last->show();
        first->hide();
        fixture.settle();
        QCOMPARE(fixture.hairlines(), QList<int>({ 50 }));
        middle->hide();
        fixture.settle();
        QCOMPARE(fixture.hairlines(), QList<int>());
    }

    void headingAndFootnoteStandOutsideOfTheGround()
    {
        auto* only = content(40);
        const Fixture fixture(new Card({ only }));
        QCOMPARE(fixture.card->height(), 40);
        const QString heading = QStringLiteral("Units");
        const QString footnote = QStringLiteral("A note.");
        fixture.card->setHeading(heading);
        fixture.card->setFootnote(footnote);
        fixture.settle();
        QVERIFY(fixture.label(heading) && fixture.label(footnote));
        const int top = only->mapTo(fixture.card, QPoint(0, 0)).y();
        QCOMPARE(top, fixture.textHeight(*fixture.label(heading)) + 8);
        QCOMPARE(fixture.card->height(), top + 40 + 6 + fixture.textHeight(*fixture.label(footnote)));
        QCOMPARE(fixture.label(footnote)->palette().color(fixture.label(footnote)->foregroundRole()),
            Theme::colour(Colour::secondaryText));
        fixture.card->setHeading({});
        fixture.card->setFootnote({});
        fixture.settle();
        QCOMPARE(fixture.card->height(), 40);
    }

    void aHeaderTakesTheHeadingsPlace()
    {
        auto* only = content(40);
        auto* header = new WrappedLabel(Theme::TextStyle::heading, QStringLiteral("CPU"));
        auto* card = new Card({ only });
        card->setHeader(header);
        const Fixture fixture(card);
        QCOMPARE(header->mapTo(card, QPoint(0, 0)), QPoint(0, 0));
        QCOMPARE(header->width(), card->width());
        QCOMPARE(only->mapTo(card, QPoint(0, 0)).y(), fixture.textHeight(*header) + 8);
    }

    void textsStandAtTheLeadingEdgeInWhateverLetters()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            auto* card = new Card({ content(40) });
            auto* header = new WrappedLabel(Theme::TextStyle::heading, QStringLiteral("CPU"));
            card->setHeader(header);
            card->setFootnote(QStringLiteral("Note"));
            const Fixture fixture(card, direction);
            for (QLabel* label : { static_cast<QLabel*>(header), fixture.label(QStringLiteral("Note")) }) {
                const QImage picture = label->grab().toImage();
                const auto isInked = [&picture](int from, int to) {
                    const QRgb ground = picture.pixel(picture.width() / 2, 0);
                    for (int x = from; x < to; ++x) {
                        for (int y = 0; y < picture.height(); ++y) {
                            if (picture.pixel(x, y) != ground)
                                return true;
                        }
                    }
                    return false;
                };
                const bool isFromTheLeft = direction == Qt::LeftToRight;
                QCOMPARE(isInked(0, 20), isFromTheLeft);
                QCOMPARE(isInked(picture.width() - 20, picture.width()), !isFromTheLeft);
            }
        }
    }

    void longTextsWrap()
    {
        auto* card = new Card({ content(40) });
        card->setFootnote(QStringLiteral("A long note that says much about what stands above it, and goes on "
                                         "until there is no room left in the line, nor in the next."));
        const Fixture fixture(card);
        const auto* note = card->findChildren<QLabel*>().last();
        QVERIFY(note->height() >= 2 * note->fontMetrics().lineSpacing());
        QVERIFY(note->heightForWidth(note->width()) <= note->height());
        QVERIFY(card->rect().contains(note->geometry()));
    }

    void withoutAGroundThereAreNoLines()
    {
        auto* card = new Card(Card::Ground::none);
        card->add(content(40));
        card->add(content(40));
        const Fixture fixture(card);
        const QImage picture = card->grab().toImage();
        for (int y = 0; y < picture.height(); ++y)
            QCOMPARE(picture.pixelColor(50, y), Theme::colour(Colour::window));
    }

    void theGroundFollowsTheScheme()
    {
        const Fixture fixture(new Card({ content(40) }));
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const QImage picture = fixture.card->grab().toImage();
            QCOMPARE(picture.pixelColor(50, 20), Theme::colour(Colour::card));
            QCOMPARE(picture.pixelColor(0, 0), Theme::colour(Colour::window)); // the corner is rounded
        }
    }

    void assistiveProgramsMeetAGroupNamedByItsHeading()
    {
        auto* row = new Row(QStringLiteral("Temperature"));
        Card card({ row });
        QAccessibleInterface* group = QAccessible::queryAccessibleInterface(&card);
        QCOMPARE(group->role(), QAccessible::Grouping);
        QCOMPARE(group->text(QAccessible::Name), QString());
        card.setHeading(QStringLiteral("Units"));
        QCOMPARE(group->text(QAccessible::Name), QStringLiteral("Units"));
        card.setHeader(new WrappedLabel(Theme::TextStyle::heading, QStringLiteral("CPU")));
        QCOMPARE(group->text(QAccessible::Name), QStringLiteral("CPU"));
    }
};

KESTRUM_TEST_MAIN(QApplication, CardTest)
#include "CardTest.moc"
