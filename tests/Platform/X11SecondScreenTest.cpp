// A server may have several screens, each with a root window of its own. The toolkit uses the one that DISPLAY names.

#include "Platform/Desktop/X11Struts.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"
#include "tests/Support/VirtualDisplay.h"

#include <QGuiApplication>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>

using namespace kestrum;

class X11SecondScreenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thePanelsOfTheProgramsScreenCount()
    {
        QRasterWindow panel;
        panel.setGeometry(0, 0, VirtualDisplay::width, 30);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        Programs::output(text("xprop"),
            words("-id " + QByteArray::number(panel.winId())
                + " -f _NET_WM_STRUT 32c -set _NET_WM_STRUT 0,0,30,0"));
        X11Struts struts;
        const QScreen& screen = *QGuiApplication::primaryScreen();
        QCOMPARE(struts.available(screen), screen.geometry().adjusted(0, 30, 0, 0));
    }
};

KESTRUM_TEST_MAIN_OF(X11SecondScreenTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display({ VirtualDisplay::width, VirtualDisplay::height }, true);
    if (!display.isUp())
        return 1;
    QGuiApplication application(argc, argv);
    X11SecondScreenTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "X11SecondScreenTest.moc"
