// Where a window stands that is opened from something in a panel, on an X display with two screens. The right one has a panel at
// its lower edge.

#include "KestrumAgent/Panel/PlaceStand.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <QRasterWindow>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace kestrum;

namespace {

constexpr QSize popoverSize(300, 200);
constexpr QRect leftScreen(0, 0, 600, VirtualDisplay::height);
constexpr QRect rightScreen(600, 0, VirtualDisplay::width - 600, VirtualDisplay::height);
constexpr int panelDepth = 40;

void divideDisplay()
{
    const auto set = [](const char* name, const QRect& place, const char* output) {
        Programs::output(text("xrandr"),
            { text("--setmonitor"), text(name),
                text("%1/%1x%2/%2+%3+0").arg(place.width()).arg(place.height()).arg(place.left()),
                text(output) });
    };
    set("*left", leftScreen, "screen");
    set("right", rightScreen, "none");
}

} // namespace

class PlaceStandTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QRasterWindow> m_panel;
    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<PlaceStand> m_stand;
    std::unique_ptr<QWidget> m_window;

    /// What the panel keeps of the display's lower edge.
    void reserve(int depth) const
    {
        const QString name = text("_NET_WM_STRUT_PARTIAL");
        Programs::output(text("xprop"),
            words("-id " + QByteArray::number(m_panel->winId()) + " -f") << name << words("32c -set") << name
                                                                         << text("0,0,0,%1,0,0,0,0,0,0,%2,%3")
                                                                                .arg(depth)
                                                                                .arg(rightScreen.left())
                                                                                .arg(rightScreen.right()));
    }
    static void point(QPoint at)
    {
        QCursor::setPos(at);
        QTRY_COMPARE(QCursor::pos(), at);
    }
    /// From Qt 6.8 on, a widget that goes to another screen is told of its own size later.
    QRect place() const { return m_window->windowHandle()->geometry(); }
    /// Shows the window as a popover's controller does.
    QRect open()
    {
        m_window = std::make_unique<QWidget>();
        m_stand->prepare();
        m_stand->show(*m_window, popoverSize.boundedTo(QSize(popoverSize.width(), m_stand->room())), {});
        return place();
    }

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        QCOMPARE(QGuiApplication::screens().size(), 2);
        m_panel = std::make_unique<QRasterWindow>();
        m_panel->setGeometry(rightScreen.adjusted(0, rightScreen.height() - panelDepth, 0, 0));
        m_panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
        reserve(panelDepth);
        m_strip = std::make_unique<PanelStrip>(std::make_shared<FakeReadings>());
        m_stand = std::make_unique<PlaceStand>(*m_strip);
    }
    void cleanup()
    {
        m_stand->hide();
        m_window.reset();
        m_stand.reset();
        m_strip.reset();
        m_panel.reset();
    }

    void itStandsAboveThePanelThatThePointerIsIn()
    {
        const QPoint icon(700, VirtualDisplay::height - 15);
        point(icon);
        const QRect place = open();
        QCOMPARE(place.bottom(), VirtualDisplay::height - panelDepth - 1 - PopoverStand::stripDistance);
        // It would be centred, but must not begin on the other screen.
        QCOMPARE(place.left(), rightScreen.left() + PopoverStand::edgeDistance);
    }

    void onTheScreenWithoutThePanelItStandsAtThePointer()
    {
        point({ 300, VirtualDisplay::height - 15 });
        QCOMPARE(open().bottom(), VirtualDisplay::height - 15 - 1 - PopoverStand::stripDistance);
        QCOMPARE(place().center().x(), 300);
    }

    void aPlaceThatIsToldCountsMoreThanThePointer()
    {
        point({ 300, 300 });
        m_stand->setPlace(QRect(850, VirtualDisplay::height - 30, 60, 20));
        const QRect place = open();
        QCOMPARE(place.right(), rightScreen.right() - PopoverStand::edgeDistance);
        QCOMPARE(place.bottom(), VirtualDisplay::height - panelDepth - 1 - PopoverStand::stripDistance);
        // It was told for this window only.
        m_stand->hide();
        QCOMPARE(open().top(), 301 + PopoverStand::stripDistance);
    }

    void aPanelThatGrowsIsToldOfWhileItIsOpen()
    {
        point({ 800, VirtualDisplay::height - 15 });
        open();
        const int room = m_stand->room();
        QSignalSpy changed(m_stand.get(), &PopoverStand::roomChanged);
        reserve(panelDepth + 30);
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(m_stand->room(), room - 30);
        m_stand->show(*m_window, popoverSize, {});
        QCOMPARE(
            place().bottom(), VirtualDisplay::height - panelDepth - 30 - 1 - PopoverStand::stripDistance);
    }
};

KESTRUM_TEST_MAIN_OF(PlaceStandTest)(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    divideDisplay();
    QApplication application(argc, argv);
    PlaceStandTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PlaceStandTest.moc"
