// Which presses dismiss a window beside the strip on an X display.

#include "KestrumAgent/Panel/DockStand.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "tests/Support/PopoverDesk.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>
#include <cstdlib>
#include <xcb/xcb.h>

using namespace kestrum;

namespace {

/// A window manager that puts a window into a frame in the screen's corner, and moves the frame only when told.
class LateFrame {
public:
    LateFrame()
    {
        xcb_change_window_attributes(m_server, m_root, XCB_CW_EVENT_MASK, &redirected);
        finish();
    }
    ~LateFrame() { xcb_disconnect(m_server); }
    Q_DISABLE_COPY_MOVE(LateFrame)

    /// Grants what the windows ask for, except that one that is to be shown gets its frame.
    void serve()
    {
        while (auto* event = xcb_poll_for_event(m_server)) {
            const int type = event->response_type & 0x7F;
            if (type == XCB_CONFIGURE_REQUEST) {
                const auto& asked = *reinterpret_cast<const xcb_configure_request_event_t*>(event);
                const int32_t values[] = { asked.x, asked.y, asked.width, asked.height };
                xcb_configure_window(m_server, asked.window, everything, values);
                m_place = QRect(asked.x, asked.y, asked.width, asked.height);
            } else if (type == XCB_MAP_REQUEST) {
                m_frame = xcb_generate_id(m_server);
                xcb_create_window(m_server, XCB_COPY_FROM_PARENT, m_frame, m_root, 0, 0,
                    uint16_t(m_place.width()), uint16_t(m_place.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &redirected);
                m_window = reinterpret_cast<const xcb_map_request_event_t*>(event)->window;
                xcb_reparent_window(m_server, m_window, m_frame, 0, 0);
            }
            std::free(event);
        }
        finish();
    }
    bool hasFrame() const { return m_frame != XCB_WINDOW_NONE; }
    void showFrame() const
    {
        const int32_t corner[] = { m_place.x(), m_place.y() };
        xcb_configure_window(m_server, m_frame, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, corner);
        xcb_map_window(m_server, m_window);
        xcb_map_window(m_server, m_frame);
        finish();
    }

private:
    static constexpr uint32_t redirected = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    static constexpr uint16_t everything
        = XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;

    /// Waits until the server has done all.
    void finish() const
    {
        std::free(xcb_get_input_focus_reply(m_server, xcb_get_input_focus(m_server), nullptr));
    }

    xcb_connection_t* m_server = xcb_connect(nullptr, nullptr);
    xcb_window_t m_root = xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root;
    xcb_window_t m_frame = XCB_WINDOW_NONE;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    QRect m_place;
};

/// A compositing manager, as far as others hear of one.
class Compositor {
public:
    Compositor()
    {
        const char name[] = "_NET_WM_CM_S0";
        auto* atom
            = xcb_intern_atom_reply(m_server, xcb_intern_atom(m_server, 0, sizeof name - 1, name), nullptr);
        const xcb_window_t window = xcb_generate_id(m_server);
        xcb_create_window(m_server, XCB_COPY_FROM_PARENT, window,
            xcb_setup_roots_iterator(xcb_get_setup(m_server)).data->root, 0, 0, 1, 1, 0,
            XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(m_server, window, atom->atom, XCB_CURRENT_TIME);
        std::free(atom);
        std::free(xcb_get_input_focus_reply(m_server, xcb_get_input_focus(m_server), nullptr));
    }
    ~Compositor()
    {
        xcb_disconnect(m_server);
        QTest::qWait(50);
    }
    Q_DISABLE_COPY_MOVE(Compositor)

private:
    xcb_connection_t* m_server = xcb_connect(nullptr, nullptr);
};

class PressCounter final : public QObject {
public:
    int count = 0;

private:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        count += event->type() == QEvent::MouseButtonPress;
        return QObject::eventFilter(object, event);
    }
};

} // namespace

class DockStandTest : public QObject {
    Q_OBJECT

    static void click(QPoint at)
    {
        VirtualDisplay::xdotool(
            "mousemove " + QByteArray::number(at.x()) + ' ' + QByteArray::number(at.y()) + " click 1");
    }

private Q_SLOTS:
    void whereAWindowReallyStandsPressesDoNotDismissIt()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        PanelStrip strip(std::make_shared<FakeReadings>());
        DockStand stand(strip);
        QSignalSpy dismissed(&stand, &PopoverStand::dismissed);
        const QRect free(0, 0, VirtualDisplay::width, 700);
        stand.setGround(QRect(600, 0, 400, 22), free);
        QWidget window;
        stand.show(window, QSize(200, 200), QRect(100, 0, 60, 22));
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // As a window manager moves it.
        const QPoint elsewhere(100, 400);
        VirtualDisplay::xdotool("windowmove " + QByteArray::number(window.winId()) + " 100 400");
        QTRY_COMPARE(window.geometry().topLeft(), elsewhere);
        click(elsewhere + QPoint(100, 100));
        QTest::qWait(quietTime);
        QVERIFY(dismissed.isEmpty());
        // Where it was asked to stand, there is nothing of it.
        click(
            DockStand::place(QSize(200, 200), QRect(700, 0, 60, 22), QRect(600, 0, 400, 22), free).center());
        QTRY_COMPARE(dismissed.count(), 1);
        stand.hide();
    }

    void whenTheCompositorEndsThePopoverBecomesOpaque()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        auto compositor = std::make_unique<Compositor>();
        Desk desk;
        DockStand stand(desk.strip);
        stand.setGround(QRect(600, 0, 400, 22), QRect(0, 0, VirtualDisplay::width, 700));
        desk.popovers.setHome(&stand);
        desk.popovers.open(MonitorSection::memory);
        const auto isTranslucent
            = [&desk] { return desk.popovers.window()->testAttribute(Qt::WA_TranslucentBackground); };
        Q_EMIT desk.source.changed();
        QVERIFY(isTranslucent());
        QVERIFY(!desk.popovers.window()->contentsMargins().isNull());
        compositor.reset();
        Q_EMIT desk.source.changed();
        QCOMPARE(desk.popovers.section(), MonitorSection::memory);
        QVERIFY(!isTranslucent());
        QVERIFY(desk.popovers.window()->contentsMargins().isNull());
        desk.popovers.setHome(nullptr);
    }

    void shadowsDoNotFallOnTheStrip()
    {
        PanelStrip strip(std::make_shared<FakeReadings>());
        DockStand stand(strip);
        const QRect free(0, 0, 1000, 700);
        stand.setGround(QRect(600, 0, 400, 22), free);
        QCOMPARE(stand.shadowRoom().top(), PopoverStand::stripDistance);
        QVERIFY(stand.shadowRoom().bottom() > 2 * PopoverStand::stripDistance);
        stand.setGround(QRect(600, 678, 400, 22), free);
        QCOMPARE(stand.shadowRoom().bottom(), PopoverStand::stripDistance);
        QVERIFY(stand.shadowRoom().top() > 2 * PopoverStand::stripDistance);
    }

    void pressesOnTheShadowReachWhatIsBelow()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        QWidget below;
        below.setGeometry(0, 100, VirtualDisplay::width, 600);
        below.show();
        PanelStrip strip(std::make_shared<FakeReadings>());
        DockStand stand(strip);
        QSignalSpy dismissed(&stand, &PopoverStand::dismissed);
        const QRect free(0, 0, VirtualDisplay::width, 700);
        const QRect ground(600, 0, 400, 22);
        stand.setGround(ground, free);
        QWidget window;
        window.setContentsMargins(20, 16, 20, 24);
        const QRect item(100, 0, 60, 22);
        stand.show(window, QSize(200, 200), item);
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QRect body = DockStand::place(QSize(200, 200), item.translated(ground.topLeft()), ground, free);
        QTRY_COMPARE(window.geometry(), body.marginsAdded(window.contentsMargins()));
        const QByteArray extents = Programs::output(QStringLiteral("xprop"),
            { QStringLiteral("-id"), QString::number(window.winId()), QStringLiteral("_GTK_FRAME_EXTENTS") });
        QCOMPARE(extents.trimmed(), QByteArray("_GTK_FRAME_EXTENTS(CARDINAL) = 20, 20, 16, 24"));
        PressCounter onWindow, onBelow;
        window.installEventFilter(&onWindow);
        below.installEventFilter(&onBelow);
        click(body.center());
        QTRY_COMPARE(onWindow.count, 1);
        QVERIFY(dismissed.isEmpty());
        click(QPoint(body.center().x(), body.bottom() + 10));
        QTRY_COMPARE(onBelow.count, 1);
        QTRY_COMPARE(dismissed.count(), 1);
        QCOMPARE(onWindow.count, 1);
        stand.hide();
    }

    void aFrameThatIsMovedLateDoesNotMisleadTheToolkit()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        LateFrame manager;
        PanelStrip strip(std::make_shared<FakeReadings>());
        DockStand stand(strip);
        stand.setGround(QRect(600, 0, 400, 22), QRect(0, 0, VirtualDisplay::width, 700));
        QWidget window;
        stand.show(window, QSize(200, 200), QRect(100, 0, 60, 22));
        const QPoint place = window.pos();
        // The toolkit is not given time to hear of its place before the frame is there.
        for (QDeadlineTimer limit(5000); !manager.hasFrame() && !limit.hasExpired();)
            manager.serve();
        QTRY_COMPARE(window.windowHandle()->position(), QPoint(0, 0));
        manager.showFrame();
        QTRY_COMPARE(window.windowHandle()->position(), place);
        QCOMPARE(window.mapToGlobal(QPoint(0, 0)), place);
        stand.hide();
    }
};

KESTRUM_TEST_MAIN_OF(DockStandTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QApplication application(argc, argv);
    DockStandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DockStandTest.moc"
