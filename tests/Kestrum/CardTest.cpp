#include "Kestrum/Form/Card.h"

#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using Theme::Colour;

class CardTest : public QObject {
    Q_OBJECT

    /// A card as wide as its window.
    struct Fixture {
        Card* card;
        ControlWindow window;

        explicit Fixture(Card* shown, Qt::LayoutDirection direction = Qt::LeftToRight)
            : card(shown)
            , window(shown, 360, direction)
        {
        }

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
        /// The y positions of the lines between the contents, from the card's top, measured in a column of pixels without text.
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

    static QWidget* content(int height)
    {
        auto* widget = new QWidget;
        widget->setFixedHeight(height);
        return widget;
    }

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
        settle();
        QCOMPARE(fixture.card->height(), 100);
        QCOMPARE(fixture.hairlines(), QList<int>({ 40 }));
        middle->show();
        last->hide();
        settle();
        QCOMPARE(fixture.hairlines(), QList<int>({ 40 }));
        last->show();
        first->hide();
        settle();
        QCOMPARE(fixture.hairlines(), QList<int>({ 50 }));
        middle->hide();
        settle();
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
        settle();
        QVERIFY(fixture.label(heading) && fixture.label(footnote));
        const int top = only->mapTo(fixture.card, QPoint(0, 0)).y();
        QCOMPARE(top, fixture.textHeight(*fixture.label(heading)) + 8);
        QCOMPARE(fixture.card->height(), top + 40 + 6 + fixture.textHeight(*fixture.label(footnote)));
        QCOMPARE(fixture.label(footnote)->palette().color(fixture.label(footnote)->foregroundRole()),
            Theme::colour(Colour::secondaryText));
        fixture.card->setHeading({});
        fixture.card->setFootnote({});
        settle();
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
                const QColor ground = picture.pixelColor(picture.width() / 2, 0);
                const auto isInked = [&](int left) {
                    return pixelsOtherThan(picture.copy(left, 0, 20, picture.height()), ground).count > 0;
                };
                QCOMPARE(isInked(0), direction == Qt::LeftToRight);
                QCOMPARE(isInked(picture.width() - 20), direction == Qt::RightToLeft);
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
        const QImage column = card->grab(QRect(50, 0, 1, card->height())).toImage();
        QCOMPARE(pixelsOtherThan(column, Theme::colour(Colour::window)).count, 0);
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
        QCOMPARE(heard(group), QStringLiteral("Grouping "));
        card.setHeading(QStringLiteral("Units"));
        QCOMPARE(heard(group), QStringLiteral("Grouping Units"));
        card.setHeader(new WrappedLabel(Theme::TextStyle::heading, QStringLiteral("CPU")));
        QCOMPARE(heard(group), QStringLiteral("Grouping CPU"));
    }
};

KESTRUM_TEST_MAIN(QApplication, CardTest)
#include "CardTest.moc"
