#include "KestrumShared/Popover/IsolatedRuns.h"

#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

/// A text in which "<" and ">" stand for the marks of an isolate.
QString marked(QString text)
{
    return text.replace(u'<', QChar(u'\u2066')).replace(u'>', QChar(u'\u2069'));
}

/// The ink of a picture, without the ground around it.
QImage ink(const PanelPixels& pixels)
{
    const QRectF drawn = pixels.drawn(everywhere);
    return pixels.image().copy(QRectF(drawn.topLeft() * 2, drawn.size() * 2).toRect());
}

} // namespace

class IsolatedRunsTest : public QObject {
    Q_OBJECT

    struct Order {
        const char* name;
        QString text;
        QString isolated;
    };

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void runsAreMarked_data()
    {
        const auto row = [](const char* name, const char* text, const char* isolated) {
            return Order { name, QString::fromUtf8(text), QString::fromUtf8(isolated) };
        };
        addRows<Order>({ row("path", "/home", "</home>"), row("percent", "4\u00A0%", "<4\u00A0%>"),
            row("amount", "412 GB متاحة", "<412 GB> متاحة"), row("two", "1.2 GB من 8 GB", "<1.2 GB> من <8 GB>"),
            row("name in the middle", "ذاكرة GNOME Shell الكلية", "ذاكرة <GNOME Shell> الكلية"),
            row("end of a sentence", "HH.", "<HH>."), row("comma", "اسم, GPU", "اسم, <GPU>"),
            row("dash between", "اسم – GPU", "اسم – <GPU>"), row("negative", "-4°C", "<-4°C>"),
            row("hidden file", ".config", "<.config>"), row("right-to-left only", "٣ أيام", "٣ أيام"),
            row("marks only", "–", "–"), row("empty", "", ""),
            // The vowel sign belongs to the letter before it.
            row("vowel sign", "متبقٍ 3 h", "متبقٍ <3 h>") });
    }
    void runsAreMarked()
    {
        QFETCH(Order, row);
        QCOMPARE(isolatedRuns(row.text), marked(row.isolated));
    }

    void pathsAndNumbersLookTheSameInBothDirections_data()
    {
        addRows<QString>({ { "path", QStringLiteral("/home") }, { "percent", QStringLiteral("4\u00A0%") },
            { "share", QStringLiteral("nas:/media") }, { "unit", QStringLiteral("12 MB/s") },
            { "shortened", QStringLiteral("/a/long/path/to/a/folder/that/does/not/fit/here") } });
    }
    void pathsAndNumbersLookTheSameInBothDirections()
    {
        const auto [text] = thisRow<QString>();
        const auto inked = [text = text](Qt::LayoutDirection direction) {
            const PanelEnvironment environment = in(light, direction);
            return ink(drawn(PanelText { text, environment.font, Qt::black }, environment, 120));
        };
        QVERIFY(inked(Qt::LeftToRight).width() > 10);
        QCOMPARE(inked(Qt::RightToLeft).size(), inked(Qt::LeftToRight).size());
        // The places within a pixel may differ by the rounding of the width.
        QVERIFY(inked(Qt::RightToLeft).convertToFormat(QImage::Format_Mono)
            == inked(Qt::LeftToRight).convertToFormat(QImage::Format_Mono));
    }

    // Read from the right: the amount, and then the word. Within the amount, the digits stand left of the unit.
    void anAmountBeforeAWordKeepsItsOrder()
    {
        const PanelEnvironment environment = in(light, Qt::RightToLeft);
        const auto number = [&](const char* text) {
            return PanelNumber(QString::fromUtf8(text), environment.font, environment);
        };
        const auto drawnNumber = [&](const char* text) {
            return PanelPixels({ 200, 20 }, [&](QPainter& painter) {
                number(text).draw(painter, QRectF(0, 0, 200, 20), Qt::black, environment);
            });
        };
        const double all = number("412 GB متاحة").width();
        const double amount = number("412 GB").width();
        // The value stands at the left edge; its right end is the amount, which looks as it does alone.
        const PanelPixels together = drawnNumber("412 GB متاحة");
        const PanelPixels alone = drawnNumber("412 GB");
        const QRectF end = together.drawn(QRectF(all - amount - 1, 0, amount + 1, 20));
        QVERIFY_NEAR(end.width(), alone.drawn(everywhere).width(), 1.5);
        const QRectF firstLetter = together.drawn(QRectF(end.left(), 0, 4, 20));
        const QRectF firstDigit = alone.drawn(QRectF(alone.drawn(everywhere).left(), 0, 4, 20));
        QVERIFY_NEAR(firstLetter.height(), firstDigit.height(), 0.6);
    }

    void whatIsToldHasNoMarks()
    {
        const ValueRow row { QStringLiteral("/home"), QString::fromUtf8("412 GB متاحة") };
        const PanelElement element
            = row.describe(QRectF(0, 0, 100, 12), in(light, Qt::RightToLeft)).constFirst();
        QCOMPARE(element.columns, (QStringList { row.title, row.value }));
        QCOMPARE(element.name, row.title + QStringLiteral(", ") + row.value);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, IsolatedRunsTest)
#include "IsolatedRunsTest.moc"
