// Popovers for panels that cannot show them: the agent's own window beside the place that the panel tells.

#include "KestrumAgent/Bridge/PlacedPopover.h"
#include "KestrumAgent/Agent.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumAgent/Panel/PlaceStand.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

using namespace kestrum;

class PlacedPopoverTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Agent> m_agent;
    uint m_bridge = 0;

    void show(const char* item, const QRect& place) const
    {
        m_agent->service()->ShowPopover(m_bridge, QString::fromLatin1(item), place, {});
    }
    std::optional<MonitorSection> open() const { return m_agent->popovers()->section(); }
    /// The popover without its shadow.
    QRect window() const
    {
        const PopoverWindow& window = *m_agent->popovers()->window();
        return window.geometry().marginsRemoved(window.contentsMargins());
    }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        m_agent = std::make_unique<Agent>();
        m_agent->start();
        m_bridge = m_agent->service()->Attach(text("bar"), {});
    }
    void cleanup() { m_agent.reset(); }

    void thePopoverStandsBesideThePlace()
    {
        const QRect place(300, 0, 40, 24);
        show("memory", place);
        QCOMPARE(open(), std::optional(MonitorSection::memory));
        QCOMPARE(window().top(), place.bottom() + 1 + PopoverStand::stripDistance);
        QCOMPARE(window().center().x(), place.center().x());
        // Without a strip, the popover itself has the way to the others.
        QVERIFY(m_agent->popovers()->state().hasTabs);
    }

    void anotherItemTurnsItAndTheSameOneClosesIt()
    {
        show("memory", QRect(300, 0, 40, 24));
        show("cpu", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional(MonitorSection::cpu));
        QCOMPARE(window().center().x(), QRect(400, 0, 40, 24).center().x());
        show("cpu", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional<MonitorSection>());
        show("cpu", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional(MonitorSection::cpu));
    }

    void thePressThatDismissesItDoesNotOpenItAgain()
    {
        show("cpu", QRect(400, 0, 40, 24));
        // A press on the panel dismisses the window, and then the panel's command asks for it.
        Q_EMIT m_agent->popovers()->stand()->dismissed();
        QCOMPARE(open(), std::optional<MonitorSection>());
        show("cpu", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional<MonitorSection>());
        show("cpu", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional(MonitorSection::cpu));
    }

    void withoutAPlaceItIsThePointers_data()
    {
        QTest::addColumn<QRect>("place");
        QTest::newRow("none") << QRect(0, 0, 0, 0);
        QTest::newRow("negative") << QRect(10, 10, -5, -5);
        QTest::newRow("on no screen") << QRect(100'000, 0, 40, 24);
        QTest::newRow("far beyond") << QRect(2'000'000'000, -2'000'000'000, 40, 24);
    }
    void withoutAPlaceItIsThePointers()
    {
        QFETCH(const QRect, place);
        QCursor::setPos(500, 30);
        show("cpu", place);
        QCOMPARE(open(), std::optional(MonitorSection::cpu));
        QCOMPARE(window().top(), 30 + 1 + PopoverStand::stripDistance);
        QVERIFY(std::abs(window().center().x() - 500) <= 1);
    }

    void itGoesWithItsItem()
    {
        show("cpu", QRect(400, 0, 40, 24));
        Setting(Keys::showCPUItem).set(false);
        QTRY_COMPARE(open(), std::optional<MonitorSection>());
        show("cpu", QRect(400, 0, 40, 24));
        show("nonsense", QRect(400, 0, 40, 24));
        QCOMPARE(open(), std::optional<MonitorSection>());
    }

    void anAgentThatEndsTakesItAlong()
    {
        show("cpu", QRect(400, 0, 40, 24));
        const QPointer<PopoverWindow> window = m_agent->popovers()->window();
        m_agent.reset();
        QTRY_VERIFY(!window);
    }

    void theWindowDoesNotCoverThePanel()
    {
        const QRect free(0, 30, 800, 540); // a panel above, and one below
        QCOMPARE(PlaceStand::ground(QRect(10, 5, 1, 1), free), QRect(QPoint(10, 5), QPoint(10, 29)));
        QCOMPARE(PlaceStand::ground(QRect(10, 590, 1, 1), free), QRect(QPoint(10, 570), QPoint(10, 590)));
        QCOMPARE(PlaceStand::ground(QRect(10, 100, 20, 20), free), QRect(10, 100, 20, 20));
    }

    void aPlaceIsInTheScreensPixels()
    {
        const QScreen& screen = *QGuiApplication::primaryScreen();
        QCOMPARE(PlaceStand::onScreen(QRect(5, 6, 7, 8), screen), QRect(5, 6, 7, 8));
        QCOMPARE(PlaceStand::onScreen(QRect(-5, -6, 10, 10), screen), QRect(0, 0, 5, 4));
        QVERIFY(PlaceStand::onScreen(QRect(-50, 0, 10, 10), screen).isEmpty());
        QVERIFY(PlaceStand::onScreen(QRect(), screen).isEmpty());
    }
};

KESTRUM_TEST_MAIN_OF(PlacedPopoverTest)(int argc, char** argv)
{
    const TestHome home;
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    QApplication application(argc, argv);
    PlacedPopoverTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PlacedPopoverTest.moc"
