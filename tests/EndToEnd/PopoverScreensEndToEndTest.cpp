// The popovers of the built agent on small and large screens, at several scales and from the right: where a click puts them, that
// a popover higher than its screen scrolls, and that edges are sharp.

#include "tests/Support/PopoverDesktopTest.h"

#include <cmath>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr QSize displaySize(3840, 2160);
constexpr QSize smallScreen(800, 600);
constexpr int stripDistance = 6; ///< in points, as all of these
constexpr int edgeDistance = 8;
constexpr int popoverWidth = 300;
constexpr int headerHeight = 38;

/// Makes the upper left part of the display its only screen for programs that start from now on.
void useScreen(QSize size)
{
    Programs::run(text("xrandr"), words("--delmonitor part")); // fails when there is none
    Programs::output(text("xrandr"),
        words("--setmonitor *part") << text("%1/%1x%2/%2+0+0").arg(size.width()).arg(size.height())
                                    << text("screen"));
}

/// The colours of a line of pixels, without repetitions of one colour in a row.
QList<QRgb> colours(const QImage& picture, QPoint from, QPoint step, int length)
{
    QList<QRgb> found;
    for (int i = 0; i < length; ++i) {
        const QRgb colour = picture.pixel(from + i * step);
        if (found.isEmpty() || found.last() != colour)
            found.append(colour);
    }
    return found;
}

/// Whether what is drawn on a line begins and ends with a pixel of its own colour: no pixel is a mixture.
bool isSharp(const QList<QRgb>& colours)
{
    return colours.size() == 3 && colours.first() == colours.last();
}

QByteArray described(const QList<QRgb>& colours)
{
    QByteArray text;
    for (const QRgb colour : colours)
        text += QByteArray::number(colour & 0xFFFFFF, 16) + ' ';
    return text;
}

} // namespace

#define QVERIFY_SHARP(line) QVERIFY2(isSharp(line), described(line).constData())

class PopoverScreensEndToEndTest : public PopoverDesktopTest {
    Q_OBJECT

    /// An element's place in the picture of its popover, in pixels.
    static QRectF pixels(const Popover& popover, const Accessible& element, double scale)
    {
        const QRect place = popover.within(element);
        return { QPointF(place.topLeft()) * scale, QSizeF(place.size()) * scale };
    }

    /// Whether something is drawn at the leading half of a row.
    static bool hasInk(const QImage& picture, const QRectF& row)
    {
        const QRect part = QRectF(row.topLeft(), QSizeF(row.width() / 2, row.height())).toAlignedRect();
        if (!picture.rect().contains(part))
            return false;
        const QRgb ground = picture.pixel(part.left() - 4, part.center().y());
        int drawn = 0;
        for (int y = part.top(); y <= part.bottom(); ++y) {
            for (int x = part.left(); x <= part.right(); ++x)
                drawn += int(picture.pixel(x, y) != ground);
        }
        return drawn > 20;
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        // Only openings read and repaint.
        fixture().write("refreshInterval", "60");
        DesktopFixture::moveTo({ 300, 300 });
    }
    void cleanup() { endAgent(); }

    void itStandsBesideItsItem_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::addColumn<int>("scale");
        QTest::addColumn<bool>("isMirrored");
        QTest::newRow("small screen") << smallScreen << 1 << false;
        QTest::newRow("small screen, from the right") << smallScreen << 1 << true;
        QTest::newRow("large screen at scale 2") << displaySize << 2 << false;
        QTest::newRow("large screen at scale 2, from the right") << displaySize << 2 << true;
        // The popovers of the outer items would begin and end outside of the screen.
        QTest::newRow("screen not much wider than a popover") << QSize(360, 600) << 1 << false;
    }
    void itStandsBesideItsItem()
    {
        QFETCH(const QSize, screen);
        QFETCH(const int, scale);
        QFETCH(const bool, isMirrored);
        useScreen(screen);
        if (isMirrored)
            fixture().write("language", "\"ar\"");
        startAgent({ { "QT_SCALE_FACTOR", QByteArray::number(scale) } }, scale);
        QCOMPARE(strip().top(), 0);
        QVERIFY(isMirrored ? strip().left() == 0 : strip().right() == screen.width() - 1);
        int limited = 0;
        for (const QString& section : sections) {
            const Popover popover = open(section);
            QVERIFY(popover.isOpen());
            QCOMPARE(popover.place.width(), popoverWidth * scale);
            QCOMPARE(popover.place.top(), strip().height() + stripDistance * scale);
            QCOMPARE_LE(popover.place.bottom(), screen.height() - edgeDistance * scale - 1);
            const int centred = item(section).x() - popoverWidth * scale / 2;
            const int farthest = screen.width() - (edgeDistance + popoverWidth) * scale;
            const int left = std::clamp(centred, edgeDistance * scale, farthest);
            limited += int(left != centred);
            // The middle of an item may lie between two points.
            const int tolerance = left == centred ? scale : 0;
            QVERIFY2(std::abs(popover.place.left() - left) <= tolerance,
                QByteArray::number(popover.place.left()) + " instead of " + QByteArray::number(left));

            const int title = popover.dialog.find(text("label")).place().left();
            const int gear = popover.dialog.find(text("push button")).place().left();
            QVERIFY(isMirrored ? gear < title : gear > title);
            closePopover();
        }
        QCOMPARE_GE(limited, 1);
    }

    void aPopoverHigherThanItsScreenScrolls_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::addColumn<double>("scale");
        QTest::newRow("small screen at scale 1.5") << smallScreen << 1.5;
        QTest::newRow("low screen") << QSize(640, 400) << 1.0;
    }
    void aPopoverHigherThanItsScreenScrolls()
    {
        QFETCH(const QSize, screen);
        QFETCH(const double, scale);
        useScreen(screen);
        startAgent({ { "QT_SCALE_FACTOR", QByteArray::number(scale) } }, scale);
        const Popover popover = open(text("memory"));
        QVERIFY(popover.isOpen());
        QCOMPARE(popover.place.bottom(), screen.height() - int(edgeDistance * scale) - 1);
        const int end = int(popover.place.height() / scale); // in points, as the following places
        const Accessible first = popover.dialog.find(text("panel"));
        // The rows of a list have their room even while there are fewer apps.
        const Accessible last = popover.dialog.findAll(text("panel")).last();
        const auto topOfFirst = [&] { return popover.within(first).top(); };
        const auto bottomOfLast = [&] { return popover.within(last).bottom(); };
        const int top = topOfFirst();
        QCOMPARE_GT(bottomOfLast(), end);

        const QRect title(0, 0, int(120 * scale), int(headerHeight * scale));
        const QImage before = popover.picture();
        const auto isHeaderAsBefore = [&] { return popover.picture().copy(title) == before.copy(title); };

        DesktopFixture::moveTo(popover.place.center());
        VirtualDisplay::xdotool("click --repeat 20 --delay 5 5");
        QTRY_VERIFY_WITH_TIMEOUT(bottomOfLast() < end, patience);
        QCOMPARE_GT(bottomOfLast(), end - 10); // not farther than necessary
        QCOMPARE_LT(topOfFirst(), top);
        const auto isLastRowSeen = [&] {
            const QList<Accessible> rows = popover.dialog.findAll(text("list item"));
            return !rows.isEmpty() && hasInk(popover.picture(), pixels(popover, rows.last(), scale));
        };
        QTRY_VERIFY_WITH_TIMEOUT(isLastRowSeen(), patience);
        QVERIFY(isHeaderAsBefore());
        const int atTheEnd = bottomOfLast();

        VirtualDisplay::xdotool("key --repeat 3 Page_Up");
        QTRY_COMPARE_WITH_TIMEOUT(topOfFirst(), top, patience);
        VirtualDisplay::xdotool("key --repeat 3 Page_Down");
        QTRY_COMPARE_WITH_TIMEOUT(bottomOfLast(), atTheEnd, patience);
        QVERIFY(isHeaderAsBefore());
        closePopover();
    }

    void edgesAreOnWholePixels_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : { 1.5, 2.0 })
            QTest::addRow("scale %g", scale) << scale;
    }
    void edgesAreOnWholePixels()
    {
        QFETCH(const double, scale);
        useScreen(displaySize);
        startAgent({ { "QT_SCALE_FACTOR", QByteArray::number(scale) } }, scale);
        const Popover popover = open(text("memory"));
        QVERIFY(popover.isOpen());
        const QImage picture = popover.picture();
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            picture.save(text("%1/popover-%2.png").arg(folder).arg(scale));
        const int middle = picture.width() / 2;
        const int margin = int(3 * scale);

        QVERIFY_SHARP(
            colours(picture, { middle, int(headerHeight * scale) - margin }, { 0, 1 }, 2 * margin + 2));
        const QRectF bar = pixels(popover, popover.dialog.find(text("progress bar")), scale);
        QVERIFY_SHARP(
            colours(picture, { middle, int(bar.top()) - margin }, { 0, 1 }, int(bar.height()) + 2 * margin));
        // The graph is still empty at its beginning. The line is between two of its grid lines.
        const QRectF graph = pixels(popover, popover.dialog.find(text("graphic")), scale);
        const QList<QRgb> beginning = colours(picture,
            { int(graph.left()) - margin, int(graph.top() + 0.6 * graph.height()) }, { 1, 0 }, 4 * margin);
        QVERIFY2(beginning.size() == 2, described(beginning).constData());

        // Texts are drawn for the screen's pixels: they are no enlarged picture of one at scale 1.
        if (scale < 2)
            return;
        const QRect title = pixels(popover, popover.dialog.find(text("label")), scale).toRect();
        int finer = 0;
        for (int y = title.top() & ~1; y + 1 < title.bottom(); y += 2) {
            for (int x = title.left() & ~1; x + 1 < title.right(); x += 2)
                finer += int(picture.pixel(x, y) != picture.pixel(x + 1, y)
                    || picture.pixel(x, y) != picture.pixel(x, y + 1));
        }
        QCOMPARE_GT(finer, 100);
    }
};

KESTRUM_TEST_MAIN_OF(PopoverScreensEndToEndTest)(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display(displaySize);
    if (!display.isUp())
        return 1;
    // The window manager starts on the whole display: it does not notice that a part of it becomes the screen.
    QGuiApplication application(argc, argv);
    PopoverScreensEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PopoverScreensEndToEndTest.moc"
