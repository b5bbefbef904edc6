// The agent's items on the screen: their place below a real panel, the time until they show a changed setting, and dragging by
// a real mouse.

#include "tests/Support/OpenedWindow.h"
#include "tests/Support/PanelTest.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/SeenTimes.h"

#include <QElapsedTimer>
#include <cmath>

using namespace kestrum;

using Programs::patience;

namespace {

constexpr int stripHeight = DesktopFixture::stripHeight;
const QColor plate(222, 222, 222);

} // namespace

class AgentStripEndToEndTest : public PanelTest {
    Q_OBJECT

    /// A picture of the corner right below the panel, at the trailing end of the screen.
    static QImage corner()
    {
        return DesktopFixture::picture({ VirtualDisplay::width - 400, panelHeight, 400, stripHeight });
    }

    static QByteArray shownStrip()
    {
        return VirtualDisplay::xdotool("search --onlyvisible --name ^Kestrum$");
    }

    void showItems(bool isShown) const
    {
        for (const char* key : { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" })
            fixture().write(key, isShown ? "true" : "false");
    }

    void dragToTheEnd(const char* section) const
    {
        const QPoint from = place(section);
        DesktopFixture::drag(from, { VirtualDisplay::width - 2, from.y() });
    }

private Q_SLOTS:
    void theStripStandsBelowThePanel()
    {
        const QImage shown = corner();
        if (const QString folder = qEnvironmentVariable("KESTRUM_TEST_PICTURES"); !folder.isEmpty())
            QGuiApplication::primaryScreen()->grabWindow(0).save(folder + text("/agent.png"));
        QVERIFY(DesktopFixture::stripWidth(panelHeight) > 200);
        QCOMPARE(shown.pixelColor(shown.width() - 2, 11), plate);
        // The strip contains drawn items, not only the plate and labels.
        const auto isSignal = [](const QColor& pixel) { return isNear(pixel, QColor(69, 184, 153), 7); };
        QVERIFY(!areaOf(shown, isSignal).isNull());
        // The rows right above and below contain nothing of the strip.
        for (int y : { panelHeight - 1, panelHeight + stripHeight })
            QVERIFY(DesktopFixture::colour({ VirtualDisplay::width - 40, y }) != plate);
    }

    void valuesChangeWithTime()
    {
        fixture().write("refreshInterval", "0.2");
        const QImage before = corner();
        // On an idle machine, the picture may stay the same for a long time.
        QElapsedTimer busy;
        busy.start();
        while (busy.elapsed() < 1500) { }
        QTRY_VERIFY_WITH_TIMEOUT(corner() != before, patience);
    }

    void itIsADockOnEveryDesktopAlsoWhenItWasHidden()
    {
        for (int round = 0; round < 2; ++round) {
            const QByteArray window = shownStrip();
            QVERIFY(!window.isEmpty());
            const QByteArray properties
                = Programs::output(text("xprop"), words("-id " + window + " _NET_WM_WINDOW_TYPE"));
            QVERIFY_CONTAINS(properties, "_NET_WM_WINDOW_TYPE_DOCK");
            VirtualDisplay::xdotool("set_desktop 1");
            QTest::qWait(200);
            const int width = DesktopFixture::stripWidth(panelHeight);
            VirtualDisplay::xdotool("set_desktop 0");
            QCOMPARE(width, fixture().expectedStripWidth());

            showItems(false);
            waitForNoStrip();
            showItems(true);
            waitForStrip();
        }
    }

    void atNoScaleIsItCutByTheScreensEdge_data()
    {
        QTest::addColumn<QByteArray>("scale");
        QTest::addColumn<QByteArray>("visibleKey");
        // With some of these scales, the screen's width is not a whole number of points.
        for (const char* scale : { "1.25", "1.5", "2.5" }) {
            for (const char* key : { "", "showMemoryItem" })
                QTest::addRow("%s %s", scale, key) << QByteArray(scale) << QByteArray(key);
        }
    }
    void atNoScaleIsItCutByTheScreensEdge()
    {
        QFETCH(const QByteArray, scale);
        QFETCH(const QByteArray, visibleKey);
        Programs::end(agent());
        if (!visibleKey.isEmpty()) {
            showItems(false);
            fixture().write(visibleKey, "true");
        }
        qputenv("QT_SCALE_FACTOR", scale);
        const auto scaled = Programs::started(fixture().agentProgram(), {});
        qunsetenv("QT_SCALE_FACTOR");

        QByteArray window;
        QTRY_VERIFY_WITH_TIMEOUT(!(window = shownStrip()).isEmpty(), patience);
        const QRect strip = DesktopFixture::geometry(window);
        const int end = strip.x() + strip.width();
        // The strip's end is less than two points before the screen's edge, and not beyond it.
        QVERIFY2(end <= VirtualDisplay::width && end > VirtualDisplay::width - 2 * scale.toDouble(),
            QByteArray::number(end).constData());
        QCOMPARE_GE(strip.width(), std::floor(fixture().expectedStripWidth() * scale.toDouble()));
        QCOMPARE_GE(strip.height(), std::floor(stripHeight * scale.toDouble()));
        Programs::end(*scaled);
    }

    void itMovesWhenThePanelGoesAndComes()
    {
        Programs::end(panel());
        waitForStrip(0);
        startPanel();
        waitForStrip();
    }

    void inALanguageFromTheRightItStandsAtTheOtherEnd()
    {
        const auto isPlateAt = [](int x) {
            return DesktopFixture::colour({ x, panelHeight + stripHeight / 2 }) == plate;
        };
        fixture().write("language", "\"ar\"");
        waitForNoStrip();
        const int width = fixture().expectedStripWidth();
        QVERIFY(isPlateAt(0));
        QVERIFY(isPlateAt(width - 1));
        QVERIFY(!isPlateAt(width));
        fixture().write("language", "\"en\"");
        waitForStrip();
        QVERIFY(!isPlateAt(width - 1));
    }

    void aSettingWrittenInAShellIsSeenWithin100Milliseconds_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("back");
        const auto row = [](const char* key, const char* json, const char* back) {
            QTest::newRow(key) << QString::fromLatin1(key) << QString::fromLatin1(json)
                               << QString::fromLatin1(back);
        };
        row("meterStyle", "\"wave\"", "\"bars\"");
        row("showCPUItem", "false", "true");
        row("cpuAccent", "\"amber\"", "\"signal\"");
        row("menuBarOrder", "\"cpu,memory,sensors,storage\"", "\"storage,sensors,memory,cpu\"");
    }
    void aSettingWrittenInAShellIsSeenWithin100Milliseconds()
    {
        QFETCH(const QString, key);
        QFETCH(const QString, json);
        QFETCH(const QString, back);
        SeenTimes times;
        // With the sanitizers, the test checks only that the change becomes visible.
        constexpr int rounds = Programs::areSanitized ? 2 : 6;
        for (int round = 0; round < rounds; ++round) {
            QTest::qWait(100); // until the earlier change is drawn
            times.note(fixture(), key, round % 2 ? back : json, corner);
        }
        qInfo("%s: %s", qPrintable(key), qPrintable(times.report()));
        // The start of a command does not count as part of the time.
        QVERIFY(Programs::areSanitized || times.afterEnd() < 100);
    }

    void aHiddenItemTakesNoRoomAndNoItemNoSurface()
    {
        fixture().write("showMemoryItem", "false");
        waitForStrip();
        showItems(false);
        waitForNoStrip();
        fixture().write("showCPUItem", "true");
        waitForStrip();
    }

    void aDragIsStoredAndTold()
    {
        const auto listener = fixture().listener("menuBarChanged");
        dragToTheEnd("storage");
        QTRY_COMPARE_WITH_TIMEOUT(
            fixture().read("menuBarOrder"), QByteArray("\"sensors,memory,cpu,storage\""), patience);
        if (!listener->bytesAvailable())
            QVERIFY(listener->waitForReadyRead(patience));
        QVERIFY(listener->readAllStandardOutput().contains("menuBarChanged"));
        Programs::end(*listener);
    }

    void aDragAtThePanelShowsInTheOpenWindow()
    {
        const OpenedWindow window(fixture());
        const QImage before = window.restingPreview();
        QVERIFY(!before.isNull());
        dragToTheEnd("storage");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() != before, patience);
        const QImage after = window.restingPreview();
        // The same order gives the same picture, whichever program stored it.
        fixture().write("menuBarOrder", "\"storage,sensors,memory,cpu\"");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() == before, patience);
        fixture().write("menuBarOrder", "\"sensors,memory,cpu,storage\"");
        QTRY_VERIFY_WITH_TIMEOUT(window.preview() == after, patience);
        Programs::end(window.application());
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentStripEndToEndTest)
#include "AgentStripEndToEndTest.moc"
