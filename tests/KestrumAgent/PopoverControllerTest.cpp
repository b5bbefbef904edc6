// What opens and closes popovers, and what their readings' source and place are told.

#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/PopoverDesk.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

using enum MonitorSection;
using Kind = PanelAction::Kind;

class PopoverControllerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        // No login service is asked.
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
    }

    void aClickOpensAndASecondOneCloses()
    {
        Desk desk;
        desk.strip.click(memory);
        QCOMPARE(desk.popovers.section(), memory);
        QCOMPARE(desk.stand.window, desk.popovers.window());
        QCOMPARE(desk.stand.item, desk.place(memory));
        QCOMPARE(desk.strip.opened(), memory);
        QVERIFY(desk.popovers.window()->height() <= 500);
        desk.strip.click(memory);
        QVERIFY(!desk.popovers.section() && !desk.popovers.window() && !desk.stand.window);
        QVERIFY(!desk.strip.opened());
        QCOMPARE(desk.source.told.join(u'|'), QStringLiteral("opened memory|closed"));
    }

    void whatIsAskedForWhereNothingCanShowItIsOpenedSoonOrNever()
    {
        using namespace std::chrono_literals;
        Desk desk;
        PopoverController popovers(desk.strip, desk.source, 50ms);
        NotedStand stand;
        popovers.open(memory);
        popovers.setHome(&stand);
        QCOMPARE(popovers.section(), memory);
        popovers.setHome(nullptr);
        QVERIFY(!popovers.section());
        popovers.open(memory);
        popovers.close();
        popovers.setHome(&stand);
        QVERIFY(!popovers.section());
        popovers.setHome(nullptr);
        popovers.open(memory);
        QTest::qWait(60);
        popovers.setHome(&stand);
        QVERIFY(!popovers.section());
        popovers.setHome(nullptr);
    }

    void askedForAgainItGetsTheKeyboard()
    {
        Desk desk;
        desk.popovers.open(memory);
        QCOMPARE(desk.stand.takes, 0); // showing gives it already
        desk.popovers.open(memory);
        QCOMPARE(desk.stand.takes, 1);
        desk.popovers.open(cpu);
        QCOMPARE(desk.stand.takes, 2);
    }

    void anotherItemsClickChangesTheContentInPlace()
    {
        Desk desk;
        desk.strip.click(memory);
        const PopoverWindow* window = desk.popovers.window();
        desk.strip.click(cpu);
        QCOMPARE(desk.popovers.window(), window);
        QCOMPARE(desk.stand.item, desk.place(cpu));
        QCOMPARE(desk.source.told.join(u'|'), QStringLiteral("opened memory|opened cpu"));
    }

    void whatThePointerComesToIsToldBeforeAClick()
    {
        Desk desk;
        Q_EMIT desk.strip.itemApproached(sensors);
        QCOMPARE(desk.source.told, QStringList(QStringLiteral("approached sensors")));
    }

    void theNeighboursAreThoseAtThePanelInEveryLanguage()
    {
        Desk desk;
        QCOMPARE(desk.strip.items().sections(), (QList { storage, sensors, memory, cpu }));
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            QGuiApplication::setLayoutDirection(direction);
            desk.popovers.open(sensors);
            Q_EMIT desk.popovers.window()->neighbourRequested(1);
            QCOMPARE(desk.popovers.section(), memory);
            desk.popovers.open(storage);
            Q_EMIT desk.popovers.window()->neighbourRequested(-1);
            QCOMPARE(desk.popovers.section(), cpu);
        }
        desk.popovers.close();
        // Tabs stand in the reading direction.
        desk.stand.isTray = true;
        desk.popovers.open(sensors);
        Q_EMIT desk.popovers.window()->neighbourRequested(1);
        QCOMPARE(desk.popovers.section(), storage);
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    }

    void aStatusIconOpensTheSectionThatWasSeenLast()
    {
        Desk desk;
        desk.stand.isTray = true;
        Q_EMIT desk.stand.toggleRequested();
        QCOMPARE(desk.popovers.section(), cpu);
        QVERIFY(desk.popovers.state().hasTabs);
        desk.act(Kind::showSection, QStringLiteral("memory"));
        QCOMPARE(desk.popovers.section(), memory);
        QVERIFY(desk.popovers.state().hasTabs);
        Q_EMIT desk.stand.toggleRequested();
        QVERIFY(!desk.popovers.section());
        Q_EMIT desk.stand.toggleRequested();
        QCOMPARE(desk.popovers.section(), memory);
    }

    void itClosesWithItsItemAndWhenItsPlaceSaysSo()
    {
        Desk desk;
        desk.popovers.open(memory);
        Q_EMIT desk.stand.dismissed();
        QVERIFY(!desk.popovers.section());
        desk.popovers.open(memory);
        Setting(Keys::showCPUItem).set(false);
        desk.strip.rebuild();
        QCOMPARE(desk.popovers.section(), memory);
        QCOMPARE(desk.stand.item, desk.place(memory));
        Setting(Keys::showMemoryItem).set(false);
        desk.strip.rebuild();
        QVERIFY(!desk.popovers.section());
        desk.popovers.open(memory); // there is no item
        QVERIFY(!desk.popovers.section());
    }

    void itClosesWithItsItemThoughItsPlaceHearsOfThatFirst()
    {
        const auto readings = std::make_shared<FakeReadings>();
        PanelStrip strip(readings);
        NotedStand stand;
        NotedSource source;
        connect(&strip, &PanelStrip::rebuilt, &stand, &PopoverStand::roomChanged);
        PopoverController popovers(strip, source);
        popovers.setHome(&stand);
        popovers.open(memory);
        Setting(Keys::showMemoryItem).set(false);
        strip.rebuild();
        QVERIFY(!popovers.section() && !stand.window);
    }

    void itClosesWithTheItemOfItsOwnStripThatHearsOfThatLast()
    {
        const auto readings = std::make_shared<FakeReadings>();
        PanelStrip strip(readings);
        PanelStrip further(readings);
        NotedStand stand;
        stand.ownStrip = &further;
        NotedSource source;
        PopoverController popovers(strip, source);
        popovers.toggleAt(stand, memory);
        Setting(Keys::showMemoryItem).set(false);
        strip.rebuild();
        QCOMPARE(popovers.section(), memory);
        further.rebuild();
        QVERIFY(!popovers.section() && !stand.window);
    }

    void aPinStaysAtAnotherItemAndGoesWithTheWindow()
    {
        Desk desk;
        desk.popovers.open(memory);
        desk.act(Kind::togglePin);
        QVERIFY(desk.stand.isPinned && desk.popovers.state().isPinned);
        desk.popovers.open(cpu);
        QVERIFY(desk.stand.isPinned && desk.popovers.state().isPinned);
        desk.act(Kind::togglePin);
        QVERIFY(!desk.stand.isPinned && !desk.popovers.state().isPinned);
        desk.act(Kind::togglePin);
        desk.popovers.close();
        desk.popovers.open(cpu);
        QVERIFY(!desk.stand.isPinned && !desk.popovers.state().isPinned);
    }

    void actionsDoWhatTheySay()
    {
        Desk desk;
        QSignalSpy settings(&desk.popovers, &PopoverController::settingsRequested);
        desk.popovers.open(sensors);
        desk.act(Kind::toggleDevice, QStringLiteral("nvme"));
        QCOMPARE(desk.popovers.state().openDevices, QStringList(QStringLiteral("nvme")));
        desk.act(Kind::toggleDevice, QStringLiteral("nvme"));
        QVERIFY(desk.popovers.state().openDevices.isEmpty());
        desk.act(Kind::togglePowerHelp);
        QVERIFY(desk.popovers.state().explainsPower);
        desk.act(Kind::resetHighest);
        QVERIFY(desk.source.told.contains(QStringLiteral("reset")));
        desk.act(Kind::openSettings);
        QCOMPARE(settings.count(), 1);
        QVERIFY(!desk.popovers.section());
        // What was opened inside is forgotten.
        desk.popovers.open(sensors);
        QVERIFY(!desk.popovers.state().explainsPower);
    }

    void aPinnedOneStaysWhenSomethingElseIsOpened()
    {
        Desk desk;
        desk.popovers.open(sensors);
        desk.act(Kind::togglePin);
        desk.act(Kind::openSettings);
        QCOMPARE(desk.popovers.section(), sensors);
    }

    void theSystemMonitorIsOpenedWhereThereIsOne()
    {
        Setting(Keys::systemMonitor, QString())
            .set(QStringLiteral("true")); // a program that every machine has
        Desk desk;
        QSignalSpy asked(&desk.popovers, &PopoverController::systemMonitorRequested);
        desk.popovers.open(cpu);
        QVERIFY(desk.popovers.state().hasSystemMonitor);
        desk.act(Kind::togglePin);
        desk.act(Kind::openSystemMonitor);
        QCOMPARE(asked.count(), 1);
        QCOMPARE(desk.popovers.section(), cpu);
        desk.act(Kind::togglePin);
        desk.act(Kind::openSystemMonitor);
        QCOMPARE(asked.count(), 2);
        QVERIFY(!desk.popovers.section());
    }

    void theSystemMonitorIsLookedForWhenThePointerComes()
    {
        const Setting chosen(Keys::systemMonitor, QString());
        chosen.set(QStringLiteral("true"));
        Desk desk;
        Q_EMIT desk.strip.itemApproached(cpu);
        chosen.set(QStringLiteral("/nonexistent"));
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        desk.popovers.open(cpu);
        const bool isFirstFound = desk.popovers.state().hasSystemMonitor;
        desk.popovers.close();
        desk.popovers.open(cpu);
        qunsetenv("XDG_DATA_DIRS");
        QVERIFY(isFirstFound && !desk.popovers.state().hasSystemMonitor);
    }

    void withoutASystemMonitorNothingIsOpened()
    {
        Setting(Keys::systemMonitor, QString()).set(QString());
        const QByteArray folders = qgetenv("XDG_DATA_DIRS");
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        Desk desk;
        QSignalSpy asked(&desk.popovers, &PopoverController::systemMonitorRequested);
        desk.popovers.open(cpu);
        folders.isEmpty() ? qunsetenv("XDG_DATA_DIRS") : qputenv("XDG_DATA_DIRS", folders);
        QVERIFY(!desk.popovers.state().hasSystemMonitor);
        desk.act(Kind::openSystemMonitor); // as Ctrl+Enter does
        QVERIFY(asked.isEmpty());
        QCOMPARE(desk.popovers.section(), cpu);
    }

    void aTextThatIsPressedIsCopied()
    {
        Desk desk;
        desk.popovers.open(cpu);
        desk.act(Kind::copyText, QStringLiteral("sudo something"));
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("sudo something"));
        Q_EMIT desk.popovers.window()->copied(QStringLiteral("a row"));
        QCOMPARE(QApplication::clipboard()->text(), QStringLiteral("a row"));
        QCOMPARE(desk.popovers.section(), cpu);
    }

    void theMenuIsAskedForAtTheItem()
    {
        Desk desk;
        QSignalSpy asked(&desk.strip, &PanelStrip::menuRequested);
        desk.popovers.open(memory);
        Q_EMIT desk.popovers.window()->menuRequested();
        QCOMPARE(asked.count(), 1);
        QVERIFY(desk.place(memory).contains(asked.first().first().toPoint().x(), 11));
        QVERIFY(!desk.popovers.section());
    }

    void whatALateEventOfAClosedWindowAsksForIsNotDone()
    {
        Desk desk;
        QSignalSpy settings(&desk.popovers, &PopoverController::settingsRequested);
        QSignalSpy menu(&desk.strip, &PanelStrip::menuRequested);
        desk.popovers.open(memory);
        const QPointer<PopoverWindow> window = desk.popovers.window();
        desk.popovers.close();
        const QStringList told = desk.source.told;
        QVERIFY(window);
        Q_EMIT window->acted({ Kind::togglePin });
        Q_EMIT window->acted({ Kind::openSettings });
        Q_EMIT window->acted({ Kind::showSection, QStringLiteral("cpu") });
        Q_EMIT window->listHeld(true);
        Q_EMIT window->closeRequested();
        Q_EMIT window->menuRequested();
        Q_EMIT window->neighbourRequested(1);
        QVERIFY(!desk.popovers.state().isPinned && !desk.stand.isPinned && !desk.popovers.section());
        QVERIFY(settings.isEmpty() && menu.isEmpty() && !desk.source.isHeld);
        QCOMPARE(desk.source.told, told);
    }

    void itClosesWhenTheMachineGoesToSleep()
    {
        const SessionBus bus(SessionBus::Services::none);
        QVERIFY(bus.isUp());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().toUtf8());
        const QString login = QStringLiteral("login");
        QVERIFY(QDBusConnection::connectToBus(bus.address(), login).isConnected());
        QDBusMessage sleep = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
        sleep.setArguments({ true });
        Desk desk;
        desk.popovers.open(memory);
        // The bus is joined meanwhile.
        QTRY_VERIFY_WITH_TIMEOUT(
            (QDBusConnection(login).send(sleep), QTest::qWait(20), !desk.popovers.section()), 10'000);
        QDBusConnection::disconnectFromBus(login);
    }

    void newReadingsAreShownWhileItIsOpen()
    {
        Desk desk;
        desk.popovers.open(memory);
        const auto before = desk.stand.item;
        desk.stand.item = {};
        Q_EMIT desk.source.changed();
        QCOMPARE(desk.stand.item, before);
        desk.popovers.close();
        desk.stand.item = {};
        Q_EMIT desk.source.changed();
        QCOMPARE(desk.stand.item, QRect());
    }
};

KESTRUM_TEST_MAIN(QApplication, PopoverControllerTest)
#include "PopoverControllerTest.moc"
