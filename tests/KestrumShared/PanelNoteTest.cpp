#include "KestrumShared/Popover/PanelNote.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

constexpr double noteWidth = 200;

PanelNote longNote()
{
    return { QStringLiteral("Exact power readings can reveal secrets. ").repeated(4).trimmed(), noteWidth };
}

} // namespace

class PanelNoteTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void aLongTextIsWrappedAndWhole()
    {
        const PanelNote one { text("Exact"), noteWidth };
        const double line = one.height(in(light));
        const double height = longNote().height(in(light));
        QVERIFY2(height >= 3 * line && height <= 6 * line, QByteArray::number(height / line).constData());
        const QRectF ink = drawn(longNote(), in(light), noteWidth).drawn(everywhere);
        QVERIFY(ink.right() <= noteWidth);
        QVERIFY(ink.width() > noteWidth * 0.7);
        QVERIFY2(ink.bottom() > height - line, "the last line is drawn");
    }

    void aPathWithoutBlanksIsBroken()
    {
        const PanelNote note { QString(60, QLatin1Char('m')), noteWidth, true };
        QVERIFY(drawn(note, in(light), 400).drawn(everywhere).right() <= noteWidth);
    }

    void linesBeginAtTheLeadingEdgeExceptThoseOfACommand()
    {
        PanelNote note { text("in"), noteWidth };
        QVERIFY(drawn(note, in(light), noteWidth).drawn(everywhere).right() < 50);
        QVERIFY(drawn(note, in(light, Qt::RightToLeft), noteWidth).drawn(everywhere).left() > 150);
        note.isCommand = true;
        QVERIFY(drawn(note, in(light, Qt::RightToLeft), noteWidth).drawn(everywhere).right() < 50);
    }

    void whatAPressDoesStandsBelow()
    {
        PanelNote note { text("sudo"), noteWidth, true };
        const double height = note.height(in(light));
        note.action = { PanelAction::Kind::copyText, text("sudo") };
        note.actionTitle = text("Copy");
        QVERIFY(note.height(in(light)) > height + 8);
        const QColor colour = in(light).headerColour();
        QVERIFY(drawn(note, in(light), noteWidth).drawn(everywhere, colour).top() > height);
    }

    void aNoteInWords()
    {
        PanelNote note = longNote();
        const QRectF rect(1, 2, 3, 4);
        PanelElement element = note.describe(rect, in(light)).first();
        QCOMPARE(element.role, PanelElement::Role::text);
        QCOMPARE(element.name, note.text);
        QCOMPARE(element.rect, rect);
        note.action = { PanelAction::Kind::copyText, text("x") };
        note.actionTitle = text("Copy");
        element = note.describe(rect, in(light)).first();
        QCOMPARE(element.role, PanelElement::Role::button);
        QCOMPARE(element.name, text("Copy: ") + note.text);
        QCOMPARE(element.columns, QStringList(note.text));
        QCOMPARE(element.action, note.action);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelNoteTest)
#include "PanelNoteTest.moc"
