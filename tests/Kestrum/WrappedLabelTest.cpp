#include "Kestrum/Form/WrappedLabel.h"
#include "tests/Support/ControlWindow.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class WrappedLabelTest : public QObject {
    Q_OBJECT

    static inline const QString longText = QStringLiteral(
        "The readout turns amber at 85 degrees and red at 95 degrees, in the unit that was chosen.");

    /// The height that Qt computes for the same text in a new label.
    static int plainHeight(const QLabel& label, int width)
    {
        QLabel plain(label.text());
        plain.setFont(label.font());
        plain.setTextFormat(label.textFormat());
        plain.setWordWrap(label.wordWrap());
        plain.setContentsMargins(label.contentsMargins());
        plain.setIndent(label.indent());
        plain.setAlignment(label.alignment());
        return plain.heightForWidth(width);
    }

    static void compare(const WrappedLabel& label)
    {
        for (const int width : { 200, 600, 90, 200 }) {
            QCOMPARE(label.heightForWidth(width), plainHeight(label, width));
            QCOMPARE(label.heightForWidth(width), plainHeight(label, width));
        }
    }

private Q_SLOTS:
    void initTestCase() { ControlWindow::prepareProgram(); }

    void aNarrowTextGoesOnInANewLine()
    {
        const WrappedLabel label(Theme::TextStyle::body, longText);
        QCOMPARE(label.font(), Theme::font(Theme::TextStyle::body));
        QVERIFY(label.heightForWidth(200) >= 2 * label.heightForWidth(1000));
    }

    void theHeightFollowsAllThatItDependsOn()
    {
        WrappedLabel label(Theme::TextStyle::footnote, longText);
        compare(label);
        const int before = label.heightForWidth(200);
        label.setText(longText + longText);
        QVERIFY(label.heightForWidth(200) > before);
        compare(label);
        label.setText(longText);
        QCOMPARE(label.heightForWidth(200), before);
        label.setFont(Theme::font(Theme::TextStyle::body));
        QVERIFY(label.heightForWidth(200) > before);
        compare(label);
        label.setContentsMargins(0, 6, 0, 6);
        compare(label);
        label.setIndent(60);
        compare(label);
        label.setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        compare(label);
    }

    void aTextIsNoMarkup()
    {
        const WrappedLabel label(Theme::TextStyle::body, QStringLiteral("<b>2 < 3</b>"));
        QCOMPARE(label.textFormat(), Qt::PlainText);
    }
};

KESTRUM_TEST_MAIN(QApplication, WrappedLabelTest)
#include "WrappedLabelTest.moc"
