// The strip on a bare window manager reserves its room: what maximised windows have at their top edge can be clicked.

#include "tests/Support/DesktopTest.h"

#include <QRasterWindow>
#include <QRegularExpression>

using namespace kestrum;

using Programs::patience;

class AgentRoomEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_agent;

    static void waitForRoom(int height)
    {
        QTRY_COMPARE_WITH_TIMEOUT(
            QGuiApplication::primaryScreen()->availableGeometry().top(), height, patience);
    }

    /// The upper end of a window's content on the screen, by the server's word. Others forget a moved frame.
    static int absoluteTop(const QWindow& window)
    {
        const QString told = QString::fromLatin1(
            Programs::output(text("xwininfo"), words("-id") << QString::number(window.winId())));
        return QRegularExpression(text("Absolute upper-left Y: +(-?\\d+)")).match(told).captured(1).toInt();
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        fixture().write("refreshInterval", "60");
    }
    void cleanup()
    {
        if (m_agent)
            Programs::end(*m_agent);
        m_agent.reset();
    }

    void aClickOnTheCloseButtonOfAMaximisedWindowClosesIt_data()
    {
        QTest::addColumn<QByteArray>("scale");
        QTest::addColumn<int>("room");
        QTest::newRow("scale 1") << QByteArray("1") << DesktopFixture::stripHeight;
        QTest::newRow("scale 1.5") << QByteArray("1.5") << DesktopFixture::stripHeight * 3 / 2;
    }
    void aClickOnTheCloseButtonOfAMaximisedWindowClosesIt()
    {
        QFETCH(const QByteArray, scale);
        QFETCH(const int, room);
        QRasterWindow window;
        window.setTitle(text("Maximised"));
        window.showMaximized();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        qputenv("QT_SCALE_FACTOR", scale);
        m_agent = Programs::started(fixture().agentProgram(), {});
        qunsetenv("QT_SCALE_FACTOR");
        QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::stripWidth(0) > 200, patience);
        const int titleBar = window.frameMargins().top();
        QVERIFY(titleBar > 10);
        const auto top = [&] { return absoluteTop(window) - titleBar; };
        // The window moves when the window manager has heard of the room. Without room, the click below tells.
        (void)QTest::qWaitFor([&] { return top() == room; }, 3000);
        const int seenTop = top();

        DesktopFixture::click({ VirtualDisplay::width - 11, seenTop + titleBar / 2 });
        QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), 3000);
        QCOMPARE(seenTop, room);
    }

    void theStripStaysWhereItIs()
    {
        m_agent = Programs::started(fixture().agentProgram(), {});
        waitForRoom(DesktopFixture::stripHeight);
        // Longer than any answer to a change of the free area would take.
        QTest::qWait(500);
        waitForRoom(DesktopFixture::stripHeight);
        QCOMPARE(DesktopFixture::stripWidth(0), fixture().expectedStripWidth());
    }

    void theRoomGoesWithTheItemsAndComesBack()
    {
        m_agent = Programs::started(fixture().agentProgram(), {});
        waitForRoom(DesktopFixture::stripHeight);
        const auto show = [this](const char* isShown) {
            for (const char* key : { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" })
                fixture().write(key, isShown);
        };
        show("false");
        waitForRoom(0);
        show("true");
        waitForRoom(DesktopFixture::stripHeight);
        Programs::end(*m_agent);
        waitForRoom(0);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentRoomEndToEndTest)
#include "AgentRoomEndToEndTest.moc"
