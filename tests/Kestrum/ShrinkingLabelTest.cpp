#include "Kestrum/Form/ShrinkingLabel.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

using namespace kestrum;

class ShrinkingLabelTest : public QObject {
    Q_OBJECT

    const QString m_text = QStringLiteral("An update is available");

    static double widthOf(const ShrinkingLabel& label)
    {
        return QFontMetricsF(label.shownFont()).horizontalAdvance(label.shownText());
    }

private Q_SLOTS:
    void init() { SystemAppearance::shared().setScheme(ColourScheme::light); }

    void aTextWithRoomEnoughIsWhatItIs()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        label.resize(label.sizeHint());
        QCOMPARE(label.shownFont().pointSizeF(), Theme::font(Theme::TextStyle::callout).pointSizeF());
        QCOMPARE(label.shownText(), m_text);
    }

    void aTextShrinksBeforeItIsElided()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        const double full = label.font().pointSizeF();
        const QSize wanted = label.sizeHint();
        double last = full;
        for (double part = 0.98; part > 0.85; part -= 0.03) {
            label.resize(int(wanted.width() * part), wanted.height());
            QCOMPARE(label.shownText(), m_text);
            QVERIFY(widthOf(label) <= label.width());
            QVERIFY(label.shownFont().pointSizeF() <= last);
            last = label.shownFont().pointSizeF();
        }
        QVERIFY(last < full);
        QVERIFY(last >= full * 0.8);
        QCOMPARE(label.shownFont().weight(), QFont::Bold);
    }

    void noTextIsSmallerThanFourFifths()
    {
        ShrinkingLabel label(Theme::TextStyle::caption, Theme::Colour::text);
        label.setText(m_text);
        const double full = label.font().pointSizeF();
        for (const double part : { 0.7, 0.5, 0.2, 0.0 }) {
            label.resize(int(label.sizeHint().width() * part), label.sizeHint().height());
            QCOMPARE(label.shownFont().pointSizeF(), full * 0.8);
            QVERIFY(label.shownText() != m_text);
            QVERIFY(widthOf(label) <= label.width());
        }
        label.resize(label.sizeHint() / 2);
        QVERIFY(label.shownText().endsWith(u'…'));
    }

    void onTwoLinesItNeedNotShrink()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        label.setMayWrap(true);
        const QSize line = label.sizeHint();
        label.resize(line);
        QCOMPARE(label.sizeHint(), line);
        label.resize(int(line.width() * 0.7), 2 * line.height());
        QCOMPARE(label.shownFont(), label.font());
        QCOMPARE(label.shownText(), m_text);
        QVERIFY(label.sizeHint().height() > 1.8 * line.height());
        // Both lines are painted.
        const QImage image = label.grab().toImage();
        const auto hasInk = [&image](int top, int bottom) {
            for (int y = top; y < bottom; ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qGray(image.pixel(x, y)) < 100)
                        return true;
                }
            }
            return false;
        };
        QVERIFY(hasInk(0, line.height()) && hasInk(line.height(), 2 * line.height()));
        // Where two lines would not be enough either, the text shrinks on one line.
        label.resize(line.width() / 3, line.height());
        QVERIFY(label.shownFont().pointSizeF() < label.font().pointSizeF());
        QCOMPARE(label.sizeHint(), line);
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
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        const int height = label.sizeHint().height();
        label.resize(20, height);
        QCOMPARE(label.sizeHint().height(), height);
        QCOMPARE(label.minimumSizeHint(), QSize(0, height));
    }

    void whatIsElidedIsToldByAToolTip()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        label.resize(label.sizeHint());
        label.show();
        const auto ask = [&label] {
            QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), label.mapToGlobal(QPoint(1, 1)));
            QApplication::sendEvent(&label, &help);
        };
        ask();
        QCOMPARE(QToolTip::text(), QString());
        label.resize(label.sizeHint() / 2);
        ask();
        QCOMPARE(QToolTip::text(), m_text);
        QToolTip::hideText();
    }

    void theTextIsReadToThoseWhoDoNotSee()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::text);
        label.setText(m_text);
        label.resize(20, 20);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&label);
        QCOMPARE(accessible->role(), QAccessible::StaticText);
        QCOMPARE(accessible->text(QAccessible::Name), m_text);
    }

    void itStandsAtTheLeadingEdgeInItsColour()
    {
        ShrinkingLabel label(Theme::TextStyle::callout, Theme::Colour::offer);
        label.setText(QStringLiteral("III"));
        label.resize(200, 30);
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            label.setLayoutDirection(direction);
            QImage image(label.size(), QImage::Format_ARGB32);
            image.fill(Qt::white);
            label.render(&image, {}, {}, QWidget::RenderFlags());
            QRect ink;
            bool isGreen = false;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (image.pixelColor(x, y) != QColor(Qt::white))
                        ink |= QRect(x, y, 1, 1);
                    isGreen |= image.pixelColor(x, y) == Theme::colour(Theme::Colour::offer);
                }
            }
            QVERIFY(isGreen);
            QVERIFY(direction == Qt::LeftToRight ? ink.right() < 60 : ink.left() > 140);
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, ShrinkingLabelTest)
#include "ShrinkingLabelTest.moc"
