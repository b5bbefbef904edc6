#include "KestrumShared/Popover/IsolatedRuns.h"

#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Popover/ValueRow.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QFontMetricsF>
#include <QTest>

using namespace kestrum;
using namespace PanelFixture;

namespace {

/// A text in which "<" and ">" stand for the marks of an isolate.
QString marked(QString text)
{
    return text.replace(u'<', QChar(u'\u2066')).replace(u'>', QChar(u'\u2069'));
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
            row("amount", "412 GB متاحة", "<412 GB> متاحة"),
            row("two", "1.2 GB من 8 GB", "<1.2 GB> من <8 GB>"),
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
        addRows<QString>({ { "path", "/home" }, { "percent", "4\u00A0%" }, { "share", "nas:/media" },
            { "unit", "12 MB/s" } });
    }
    void pathsAndNumbersLookTheSameInBothDirections()
    {
        const auto [text] = thisRow<QString>();
        // The rectangle is as wide as the text, so that the text begins at the same place within a pixel.
        const QFontMetricsF metrics(in(light).font);
        const double width = metrics.horizontalAdvance(metrics.elidedText(text, Qt::ElideRight, 120)) + 0.01;
        const auto image = [&, text = text](Qt::LayoutDirection direction) {
            const PanelEnvironment environment = in(light, direction);
            return drawn(PanelText { text, environment.font, Qt::black }, environment, width).image();
        };
        QCOMPARE(image(Qt::RightToLeft), image(Qt::LeftToRight));
    }

    void aShortenedPathEndsWithItsEllipsis()
    {
        const PanelEnvironment environment = in(light, Qt::RightToLeft);
        const PanelText text { QStringLiteral("/a/long/path/to/a/folder/that/does/not/fit/here"),
            environment.font, Qt::black };
        const PanelPixels pixels = drawn(text, environment, 120);
        const QRectF ink = pixels.drawn(everywhere);
        QVERIFY(pixels.drawn(QRectF(ink.right() - 4, 0, 4, 20)).height() <= 2);
        QVERIFY(pixels.drawn(QRectF(ink.left(), 0, 4, 20)).height() > 6);
    }

    // Read from the right: the amount, and then the word. Within the amount, the digits stand left of the unit.
    void anAmountBeforeAWordKeepsItsOrder()
    {
        const PanelEnvironment environment = in(light, Qt::RightToLeft);
        const QString text = QString::fromUtf8("412 GB متاحة");
        const PanelNumber number(text, environment.font, environment);
        const PanelPixels together({ 200, 20 },
            [&](QPainter& painter) { number.draw(painter, QRectF(0, 0, 200, 20), Qt::black, environment); });
        // The value stands at the left edge, and the amount at its right end, as it looks alone.
        const QString amount = text.left(6);
        const double width = QFontMetricsF(environment.font).horizontalAdvance(amount);
        const PanelPixels alone({ 200, 20 }, [&](QPainter& painter) {
            PanelText { amount, environment.font, Qt::black }.draw(
                painter, QRectF(number.width() - width, 0, width + 0.01, 20), environment);
        });
        const QRectF place = alone.drawn(everywhere);
        QVERIFY(place.width() > 20);
        const QRectF end = together.drawn(QRectF(place.left() - 1, 0, 200, 20));
        QVERIFY_NEAR(end.left(), place.left(), 0.6);
        QVERIFY_NEAR(end.right(), place.right(), 0.6);
        // The first digit is a "4", whose lower left quarter is empty. The last letter is a "B", with a full one.
        for (const auto& [picture, ink] : { std::pair(&together, end), std::pair(&alone, place) }) {
            const double left = picture->drawn(QRectF(ink.left(), ink.bottom() - 1.5, 1.5, 1.5)).isNull();
            QVERIFY(left);
        }
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
