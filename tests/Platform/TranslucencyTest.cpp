// The program detects on a real X server whether a compositor runs. The test itself plays the compositor.

#include "Platform/Desktop/Translucency.h"
#include "Platform/Desktop/XcbReply.h"
#include "tests/Support/DesktopTest.h"

#include <QGuiApplication>
#include <QTest>
#include <qguiapplication_platform.h>

using namespace kestrum;

class TranslucencyTest : public QObject {
    Q_OBJECT

private:
    static void mix(bool isMixing)
    {
        auto* server = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        const auto window = xcb_generate_id(server);
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
        xcb_create_window(server, XCB_COPY_FROM_PARENT, window, root, 0, 0, 1, 1, 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(server, isMixing ? window : xcb_window_t(XCB_WINDOW_NONE),
            xcbAtom(server, "_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    }

private Q_SLOTS:
    void itIsShownWhileAProgramMixesTheWindows()
    {
        QVERIFY(!isTranslucencyShown());
        mix(true);
        QVERIFY(isTranslucencyShown());
        mix(false);
        QVERIFY(!isTranslucencyShown());
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(TranslucencyTest)
#include "TranslucencyTest.moc"
