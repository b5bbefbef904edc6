#include "tests/Support/TestHome.h"
#include "tests/Support/Widgets.h"

#include <QHelpEvent>
#include <QToolTip>

using namespace kestrum;

class ShrinkingLabelTest : public QObject {
    Q_OBJECT

    static inline const QString longText = QStringLiteral("An update is available");

    /// A label with the text at its preferred size.
    static std::unique_ptr<ShrinkingLabel> made(Theme::TextStyle style = Theme::TextStyle::callout)
    {
        auto label = std::make_unique<ShrinkingLabel>(style, Theme::Colour::text);
        label->setText(longText);
        label->resize(label->sizeHint());
        return label;
    }
    static double shownWidth(const ShrinkingLabel& label)
    {
        return QFontMetricsF(label.shownFont()).horizontalAdvance(label.shownText());
    }

private Q_SLOTS:
    void init() { SystemAppearance::shared().setScheme(ColourScheme::light); }

    void aTextWithRoomEnoughIsWhatItIs()
    {
        const auto label = made();
        QCOMPARE(label->shownFont().pointSizeF(), Theme::font(Theme::TextStyle::callout).pointSizeF());
        QCOMPARE(label->shownText(), longText);
    }

    void aTextShrinksBeforeItIsElided()
    {
        const auto label = made();
        const double full = label->font().pointSizeF();
        const QSize wanted = label->sizeHint();
        double last = full;
        for (double part = 0.98; part > 0.85; part -= 0.03) {
            label->resize(int(wanted.width() * part), wanted.height());
            QCOMPARE(label->shownText(), longText);
            QCOMPARE_LE(shownWidth(*label), label->width());
            QCOMPARE_LE(label->shownFont().pointSizeF(), last);
            last = label->shownFont().pointSizeF();
        }
        QCOMPARE_LT(last, full);
        QCOMPARE_GE(last, full * 0.8);
        QCOMPARE(label->shownFont().weight(), QFont::Bold);
    }

    void noTextIsSmallerThanFourFifths()
    {
        const auto label = made(Theme::TextStyle::caption);
        const double full = label->font().pointSizeF();
        for (const double part : { 0.7, 0.5, 0.2, 0.0 }) {
            label->resize(int(label->sizeHint().width() * part), label->sizeHint().height());
            QCOMPARE(label->shownFont().pointSizeF(), full * 0.8);
            QVERIFY(label->shownText() != longText);
            QCOMPARE_LE(shownWidth(*label), label->width());
        }
        label->resize(label->sizeHint() / 2);
        QVERIFY(label->shownText().endsWith(u'…'));
    }

    void onTwoLinesItNeedNotShrink()
    {
        const auto label = made();
        const QSize line = label->sizeHint();
        label->setMayWrap(true);
        QCOMPARE(label->sizeHint(), line);
        label->resize(int(line.width() * 0.7), 2 * line.height());
        QCOMPARE(label->shownFont(), label->font());
        QCOMPARE(label->shownText(), longText);
        QVERIFY(label->sizeHint().height() > 1.8 * line.height());
        // Both lines are painted.
        const QImage image = label->grab().toImage();
        for (const int top : { 0, line.height() }) {
            const QImage painted = image.copy(0, top, image.width(), line.height());
            QVERIFY(pixelsThat(painted, [](QRgb pixel) { return qGray(pixel) < 100; }).count > 0);
        }
        // Where two lines would not be enough either, the text shrinks on one line.
        label->resize(line.width() / 3, line.height());
        QVERIFY(label->shownFont().pointSizeF() < label->font().pointSizeF());
        QCOMPARE(label->sizeHint(), line);
    }

    void anEmptyTextIsNoTrouble()
    {
        ShrinkingLabel label(Theme::TextStyle::caption, Theme::Colour::text);
        label.resize(0, 10);
        QCOMPARE(label.shownText(), QString());
        QCOMPARE(label.sizeHint().width(), 0);
    }

    void itsHeightDoesNotDependOnItsRoom()
    {
        const auto label = made();
        const int height = label->sizeHint().height();
        label->resize(20, height);
        QCOMPARE(label->sizeHint().height(), height);
        QCOMPARE(label->minimumSizeHint(), QSize(0, height));
    }

    void whatIsElidedIsToldByAToolTip()
    {
        const auto label = made();
        label->show();
        const auto ask = [&label] {
            QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), label->mapToGlobal(QPoint(1, 1)));
            QApplication::sendEvent(label.get(), &help);
        };
        ask();
        QCOMPARE(QToolTip::text(), QString());
        label->resize(label->sizeHint() / 2);
        ask();
        QCOMPARE(QToolTip::text(), longText);
        QToolTip::hideText();
    }

    void theTextIsReadToThoseWhoDoNotSee()
    {
        const auto label = made();
        label->resize(20, 20);
        QCOMPARE(heard(label.get()), QStringLiteral("StaticText ") + longText);
    }

    void itStandsAtTheLeadingEdgeInItsColour()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::offer);
        label.setText(QStringLiteral("III"));
        label.resize(200, 30);
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            label.setLayoutDirection(direction);
            const QImage image = pictureOf(label, Qt::white);
            const QRect ink = pixelsOtherThan(image, Qt::white).place;
            QVERIFY(pixelsOf(image, Theme::colour(Theme::Colour::offer)).count > 0);
            QVERIFY(direction == Qt::LeftToRight ? ink.right() < 60 : ink.left() > 140);
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, ShrinkingLabelTest)
#include "ShrinkingLabelTest.moc"
