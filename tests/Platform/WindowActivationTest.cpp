// Messages to the window manager and to the desktop's display of program starts, on a real X server. The test plays both of
// them and receives the messages.

#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Desktop/XcbReply.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/Rows.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QRasterWindow>
#include <QTest>
#include <qguiapplication_platform.h>

using namespace kestrum;

namespace {

xcb_connection_t* server()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_window_t root()
{
    return xcb_setup_roots_iterator(xcb_get_setup(server())).data->root;
}

xcb_atom_t atom(const char* name)
{
    return xcbAtom(server(), name);
}

/// The messages that arrive at the root window.
class Messages final : public QAbstractNativeEventFilter {
public:
    QList<xcb_client_message_event_t> focusRequests;
    QByteArray startUp; ///< text of the last start-up message, joined from its parts

    bool nativeEventFilter(const QByteArray&, void* event, qintptr*) override
    {
        const auto* message = static_cast<const xcb_client_message_event_t*>(event);
        if ((message->response_type & 0x7F) != XCB_CLIENT_MESSAGE)
            return false;
        if (message->type == m_activeWindow)
            focusRequests.append(*message);
        if (message->type == m_begin || message->type == m_further) {
            if (message->type == m_begin)
                startUp.clear();
            startUp.append(reinterpret_cast<const char*>(message->data.data8), sizeof message->data.data8);
        }
        return false;
    }

private:
    xcb_atom_t m_activeWindow = atom("_NET_ACTIVE_WINDOW");
    xcb_atom_t m_begin = atom("_NET_STARTUP_INFO_BEGIN");
    xcb_atom_t m_further = atom("_NET_STARTUP_INFO");
};

} // namespace

class WindowActivationTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Messages> m_messages;
    std::unique_ptr<QRasterWindow> m_window;

    /// Shows a window, and waits until the window manager gets a request to focus the window.
    void bringForwardAWindow(const QByteArray& token)
    {
        m_window = std::make_unique<QRasterWindow>();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        m_messages->focusRequests.clear();
        WindowActivation::bringForward(*m_window, token);
        QTRY_COMPARE(m_messages->focusRequests.size(), 1);
    }

    /// Simulates that a window manager runs, or that none runs.
    static void setManaged(bool isManaged)
    {
        const xcb_window_t window = root();
        if (isManaged)
            xcb_change_property(server(), XCB_PROP_MODE_REPLACE, root(), atom("_NET_SUPPORTING_WM_CHECK"),
                XCB_ATOM_WINDOW, 32, 1, &window);
        else
            xcb_delete_property(server(), root(), atom("_NET_SUPPORTING_WM_CHECK"));
        xcb_flush(server());
    }

private Q_SLOTS:
    void init()
    {
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(server(), root(), XCB_CW_EVENT_MASK, &mask);
        setManaged(true);
        m_messages = std::make_unique<Messages>();
        QCoreApplication::instance()->installNativeEventFilter(m_messages.get());
    }

    void cleanup()
    {
        m_window.reset();
        m_messages.reset();
    }

    void theTokenOfAClickSaysItsTime()
    {
        const QByteArray token = WindowActivation::tokenOf(4711);
        QCOMPARE(WindowActivation::time(token), 4711U);
        const QMap<QString, QString> environment { { QStringLiteral("DESKTOP_STARTUP_ID"),
            QString::fromLatin1(token) } };
        QCOMPARE(WindowActivation::environment(token), environment);
        // Time 0 means that there was no click.
        QCOMPARE(WindowActivation::tokenOf(0), QByteArray());
        QVERIFY(WindowActivation::environment({}).isEmpty());
    }

    void theWindowManagerIsToldWhenThePersonAsked()
    {
        bringForwardAWindow("shell/7-host_TIME123456789");
        const xcb_client_message_event_t request = m_messages->focusRequests.first();
        QCOMPARE(request.window, xcb_window_t(m_window->winId()));
        QCOMPARE(request.format, uint8_t(32));
        QCOMPARE(request.data.data32[0], 2U);
        QCOMPARE(request.data.data32[1], 123456789U);
        // The end of the start is told too. It must not come in the middle of the next test.
        QTRY_VERIFY(m_messages->startUp.contains('\0'));
    }

    void withoutATokenNoTimeIsTold()
    {
        bringForwardAWindow({});
        QCOMPARE(m_messages->focusRequests.first().data.data32[0], 2U);
        QCOMPARE(m_messages->focusRequests.first().data.data32[1], 0U);
        // Messages keep their order: a message about a start would come before the second request.
        WindowActivation::bringForward(*m_window, {});
        QTRY_COMPARE(m_messages->focusRequests.size(), 2);
        QCOMPARE(m_messages->startUp, QByteArray());
    }

    void whoShowsTheStartIsToldItsEnd()
    {
        bringForwardAWindow("a/token\\of\"more-than-twenty-bytes_TIME7");
        QTRY_VERIFY(m_messages->startUp.contains('\0'));
        QCOMPARE(m_messages->startUp.left(m_messages->startUp.indexOf('\0')),
            QByteArray("remove: ID=\"a/token\\\\of\\\"more-than-twenty-bytes_TIME7\""));
    }

    void withoutAWindowManagerTheWindowTakesTheFocusItself()
    {
        setManaged(false);
        QRasterWindow other;
        QRasterWindow window;
        window.show();
        other.show();
        other.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        WindowActivation::bringForward(window, {});
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(m_messages->focusRequests.size(), 0);
    }

    void aTokensTimeIsAtItsEnd()
    {
        const std::pair<const char*, quint32> rows[] { { "a/b/1-2-host_TIME42", 42 },
            { "a_TIME1_TIME42", 42 }, { "_TIME4294967295", 4294967295 }, { "_TIME4294967296", 0 },
            { "a_TIMEx", 0 }, { "a_TIME-1", 0 }, { "5f2e0c1a-42", 0 }, { "", 0 } };
        for (const auto& [token, time] : rows)
            QCOMPARE_ROW(token, WindowActivation::time(token), time);
    }

    void whatIsTakenIsGoneFromTheEnvironment()
    {
        qputenv("XDG_ACTIVATION_TOKEN", "new");
        qputenv("DESKTOP_STARTUP_ID", "old_TIME1");
        QCOMPARE(WindowActivation::takeToken(), QByteArray("new"));
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
        QVERIFY(!qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID"));
        QCOMPARE(WindowActivation::takeToken(), QByteArray());
        qputenv("DESKTOP_STARTUP_ID", "old_TIME1");
        QCOMPARE(WindowActivation::takeToken(), QByteArray("old_TIME1"));
        qputenv(WindowActivation::backgroundVariable, "1");
        QVERIFY(WindowActivation::takeIsInBackground());
        QVERIFY(!WindowActivation::takeIsInBackground());
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(WindowActivationTest)
#include "WindowActivationTest.moc"
