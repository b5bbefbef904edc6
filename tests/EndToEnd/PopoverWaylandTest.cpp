// The popovers of the built agent on a Wayland desktop with layers. sway runs in a window of an X display, where xdotool works
// the mouse and the keyboard.

#include "tests/Support/VirtualDisplay.h"
#include "tests/Support/WaylandDesktop.h"

#include <QCoreApplication>
#include <csignal>

using namespace kestrum;

using Programs::patience;

class PopoverWaylandTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QProcess> m_compositor;
    std::unique_ptr<QProcess> m_bus;
    std::unique_ptr<QProcess> m_agent;
    QRect m_plate;
    QMap<QString, int> m_middles;

    static constexpr QPoint desktop { 200, 600 };

    /// The middle of an item. The compositor's window is at the top left of the X display, so its places are the display's.
    QPoint item(const char* section) const
    {
        return { m_plate.left() + DesktopFixture::stripSideRoom + m_middles.value(text(section)),
            m_plate.center().y() };
    }
    static void click(QPoint place, const char* button = "1")
    {
        DesktopFixture::moveTo(place);
        QTest::qWait(50); // the compositor hears of the two by different ways
        VirtualDisplay::xdotool("click " + QByteArray(button));
    }
    static void key(const char* name) { VirtualDisplay::xdotool("key " + QByteArray(name)); }

    /// The popover: what covers the desktop below the strip. Only one row and one column are looked at.
    QRect popover() const
    {
        const QImage picture = WaylandDesktop::screen();
        const auto covered = [&picture](const QRect& line) {
            const QRect area = areaOf(picture.copy(line), WaylandDesktop::isOnGround);
            return area.isNull() ? QRect() : area.translated(line.topLeft());
        };
        const int below = m_plate.bottom() + 1;
        const QRect row = covered({ 0, below + 40, picture.width(), 1 });
        if (row.isNull())
            return {};
        const QRect column = covered({ row.center().x(), below, 1, picture.height() - below });
        return { row.left(), column.top(), row.width(), column.height() };
    }
    void waitForNone() const { QTRY_VERIFY_WITH_TIMEOUT(popover().isNull(), patience); }
    int expectedLeft(const char* section) const
    {
        return std::min(item(section).x() - 150, m_plate.right() + 1 - 8 - 300);
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Qt leaks a few bytes in the Wayland library and unloads this library, so a leak report cannot name the library.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
        QVERIFY(WaylandDesktop::install());
        kestrum::write(WaylandDesktop::place("sway.conf"), "output * bg #204060 solid_color\n");
        WaylandDesktop::writeSetting("refreshInterval", "60");
        m_compositor = startedAsUser(words("sway -c") << WaylandDesktop::place("sway.conf"));
        QTRY_VERIFY_WITH_TIMEOUT(!WaylandDesktop::socket().isEmpty(), patience);
        qputenv("WAYLAND_DISPLAY", WaylandDesktop::socket().toUtf8());
        QTRY_VERIFY_WITH_TIMEOUT(!WaylandDesktop::screen().isNull(), patience);
        m_bus = startedAsUser({ text("dbus-daemon"), text("--session"), text("--nofork"),
            text("--address=unix:path=") + TestHome::runtimeDirectory() + text("/bus") });
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(TestHome::runtimeDirectory() + text("/bus")), patience);
        qputenv("QT_QPA_PLATFORM", "wayland");
        m_agent = startedAsUser({ WaylandDesktop::agentProgram() });
        QTRY_COMPARE_WITH_TIMEOUT(
            WaylandDesktop::shownPlate().width(), WaylandDesktop::expectedWidth(), patience);
        m_plate = WaylandDesktop::shownPlate();
        const QJsonArray items = WaylandDesktop::strip()[QLatin1StringView("items")].toArray();
        for (const auto& each : items) {
            const QJsonObject object = each.toObject();
            m_middles.insert(object[QLatin1StringView("section")].toString(),
                int(object[QLatin1StringView("x")].toDouble()
                    + object[QLatin1StringView("width")].toDouble() / 2));
        }
    }
    void cleanupTestCase()
    {
        if (m_agent)
            Programs::end(*m_agent);
        if (m_compositor)
            Programs::end(*m_compositor);
        if (m_bus)
            Programs::end(*m_bus);
    }
    void cleanup()
    {
        QCOMPARE(m_agent->state(), QProcess::Running);
        WaylandDesktop::kestrumctl({ text("popover"), text("close") });
        waitForNone();
    }

    void aClickOpensItBelowItsItemAndASecondOneClosesIt()
    {
        click(item("storage"));
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        QCOMPARE(popover().top(), m_plate.bottom() + 1 + 6);
        QVERIFY2(std::abs(popover().left() - expectedLeft("storage")) <= 1,
            QByteArray::number(popover().left()).constData());
        click(item("storage"));
        waitForNone();
    }

    void anotherItemsClickChangesItInOneGo()
    {
        click(item("cpu"));
        QTRY_COMPARE_WITH_TIMEOUT(popover().right(), m_plate.right() - 8, patience);
        const QRect atTheEnd = popover();
        click(item("storage"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull() && popover().left() < atTheEnd.left(), patience);
        // With the keyboard, back to the end.
        key("Left");
        QTRY_COMPARE_WITH_TIMEOUT(popover(), atTheEnd, patience);
    }

    void aPressElsewhereClosesIt()
    {
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        click(popover().center());
        QTest::qWait(200);
        QVERIFY(!popover().isNull());
        click(desktop);
        waitForNone();
    }

    void itsShadowIsSeenAndLetsPressesThrough()
    {
        click(item("cpu"));
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        const QPoint below(popover().center().x(), popover().bottom() + 5);
        const QColor shadow = WaylandDesktop::screen().pixelColor(below);
        QVERIFY(shadow.lightness() < WaylandDesktop::groundColour.lightness());
        QVERIFY(shadow.lightness() > 0);
        click(below);
        waitForNone();
        QCOMPARE(WaylandDesktop::screen().pixelColor(below), WaylandDesktop::groundColour);
    }

    void escapeClosesIt()
    {
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        key("Escape");
        waitForNone();
    }

    void pressesOnTheStripThatAreNoClickOnAnItemCloseIt()
    {
        const auto open = [this] {
            WaylandDesktop::kestrumctl({ text("popover"), text("cpu") });
            QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        };
        open();
        click({ m_plate.left() + 3, m_plate.center().y() });
        waitForNone();
        open();
        click(item("memory"), "2");
        waitForNone();
        open();
        click(item("memory"), "3");
        QTRY_VERIFY_WITH_TIMEOUT(popover().width() != 300, patience); // the menu instead
        QTest::qWait(200);
        key("Escape");
        waitForNone();
    }

    void aPinnedOneStays()
    {
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        key("p");
        QTest::qWait(200);
        click(desktop);
        QTest::qWait(200);
        QVERIFY(!popover().isNull());
        click(item("cpu"));
        waitForNone();
    }

    void aPinnedOneThatIsUnpinnedClosesAgain()
    {
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        key("p");
        QTest::qWait(200);
        click(desktop);
        QTest::qWait(200);
        QVERIFY(!popover().isNull());
        // It has the keyboard again after a press on it.
        click(popover().center());
        key("p");
        QTRY_VERIFY_WITH_TIMEOUT((click(desktop), popover().isNull()), patience);
    }

    void theScreenCanBeLockedWhileOneIsOpen_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<bool>("isPinned");
        QTest::newRow("popover") << QByteArray("1") << false;
        QTest::newRow("pinned popover") << QByteArray("1") << true;
        QTest::newRow("menu") << QByteArray("3") << false;
    }
    void theScreenCanBeLockedWhileOneIsOpen()
    {
        QFETCH(const QByteArray, button);
        QFETCH(const bool, isPinned);
        click(item("cpu"), button.constData());
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        if (isPinned)
            key("p");
        const auto locker = startedAsUser(words("swaylock --no-unlock-indicator --color 102030"));
        const auto isOnlyLocker = [] {
            const QImage picture = WaylandDesktop::screen();
            QImage locked(picture.size(), picture.format());
            locked.fill(QColor(0x10, 0x20, 0x30));
            return picture == locked;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isOnlyLocker(), patience);
        key("Escape"); // the locker's
        QTest::qWait(200);
        QVERIFY(isOnlyLocker());
        ::kill(pid_t(locker->processId()), SIGUSR1); // unlocks
        QVERIFY(locker->waitForFinished(patience));
        if (isPinned) {
            QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
            click(item("cpu"));
        }
        waitForNone();
    }

    void theMenuKeyOpensTheMenuInstead()
    {
        WaylandDesktop::kestrumctl({ text("popover"), text("cpu") });
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        key("Menu");
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull() && popover().width() != 300, patience);
        key("Escape"); // it has the keyboard
        waitForNone();
    }

    void itsContentIsCopied()
    {
        WaylandDesktop::kestrumctl({ text("popover"), text("memory") });
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        key("ctrl+c");
        QTRY_VERIFY_WITH_TIMEOUT(outputAsUser(words("wl-paste")).startsWith("Memory\t"), patience);
    }

    void aCommandOpensIt()
    {
        WaylandDesktop::kestrumctl({ text("popover"), text("memory") });
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        key("Escape"); // it has the keyboard
        waitForNone();
    }

    // This test is the last one, because the other items move.
    // The bar is below the edge where a strip would be, and no program knows where the pointer is.
    void thatOfABarWithPicturesIsALayerInTheCorner()
    {
        const auto bridge = startedAsUser(
            { WaylandDesktop::place("Kestrum.app/Contents/MacOS/kestrumctl"), text("panel"), text("--png") });
        QTRY_VERIFY_WITH_TIMEOUT(WaylandDesktop::shownPlate().isNull(), patience);
        WaylandDesktop::kestrumctl(words("popover cpu"));
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        QCOMPARE(popover().right(), WaylandDesktop::screen().width() - 1 - 8);
        key("Escape");
        waitForNone();
        WaylandDesktop::kestrumctl(words("popover cpu"));
        QTRY_COMPARE_WITH_TIMEOUT(popover().width(), 300, patience);
        click(desktop);
        waitForNone();
        Programs::end(*bridge);
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::shownPlate(), m_plate, patience);
    }

    void itGoesWithItsItem()
    {
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        WaylandDesktop::writeSetting("showCPUItem", "false");
        waitForNone();
    }

    // The last one: the second screen stays.
    void aPressOnAnotherScreenClosesIt()
    {
        const int width = WaylandDesktop::screen().width();
        QVERIFY(!WaylandDesktop::swaymsg("create_output").isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(WaylandDesktop::screen().width(), 2 * width, patience);
        waitForNone(); // until both screens have their ground
        // Each screen is a window of the display, the newest first. The second one comes over the lower half of the first one.
        const QByteArray windows = Programs::output(text("xwininfo"), words("-root -children"));
        const qsizetype at = windows.indexOf("0x", windows.indexOf("children:"));
        const QByteArray window = windows.mid(at, windows.indexOf(' ', at) - at);
        VirtualDisplay::xdotool("windowmove " + window + " 0 " + QByteArray::number(desktop.y() - 50));
        click(item("cpu"));
        QTRY_VERIFY_WITH_TIMEOUT(!popover().isNull(), patience);
        click(desktop);
        waitForNone();
    }
};

KESTRUM_TEST_MAIN_OF(PopoverWaylandTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    qunsetenv("WAYLAND_DISPLAY");
    qputenv("WLR_BACKENDS", "x11");
    qputenv("WLR_RENDERER", "pixman");
    QCoreApplication application(argc, argv);
    PopoverWaylandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PopoverWaylandTest.moc"
