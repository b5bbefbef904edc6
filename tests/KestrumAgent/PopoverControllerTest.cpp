// What opens and closes popovers, and what their readings' source and place are told.

#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "KestrumAgent/Popover/PopoverSource.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

using enum MonitorSection;
using Kind = PanelAction::Kind;

namespace {

class NotedSource final : public PopoverSource {
public:
    QStringList told;
    bool isHeld = false;
    PopoverReadings values;

    const PopoverReadings& readings() const override { return values; }
    void opened(MonitorSection section) override
    {
        told.append(QStringLiteral("opened ") + rawValue(section));
    }
    void closed() override { told.append(QStringLiteral("closed")); }
    void approached(MonitorSection section) override
    {
        told.append(QStringLiteral("approached ") + rawValue(section));
    }
    void resetHighest() override { told.append(QStringLiteral("reset")); }
    void setListHeld(bool now) override { isHeld = now; }
};

class NotedStand final : public PopoverStand {
public:
    QWidget* window = nullptr;
    QRect item;
    bool isPinned = false;
    bool isTray = false;
    int takes = 0; ///< of the keyboard

    void show(QWidget& shown, QSize size, const QRect& beside) override
    {
        window = &shown;
        item = beside;
        shown.setFixedSize(size);
        shown.show();
    }
    void hide() override
    {
        if (window)
            window->hide();
        window = nullptr;
        isPinned = false;
    }
    void takeKeyboard() override { ++takes; }
    void setPinned(bool now) override { isPinned = now; }
    int room() const override { return 500; }
    bool isWithoutStrip() const override { return isTray; }
};

/// A strip with its popovers.
struct Desk {
    std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
    PanelStrip strip { readings };
    NotedStand stand;
    NotedSource source;
    PopoverController popovers { strip, stand, source };

    QRect place(MonitorSection section) const
    {
        return strip.place(*strip.items().item(section)).toAlignedRect();
    }
    void act(Kind kind, const QString& argument = {}) { Q_EMIT popovers.window()->acted({ kind, argument }); }
};

} // namespace

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
        PopoverController popovers(strip, stand, source);
        popovers.open(memory);
        Setting(Keys::showMemoryItem).set(false);
        strip.rebuild();
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

    void theLookFollowsTheSettings()
    {
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::light);
        QCOMPARE(PopoverController::environment(true).background, PopoverBackground::translucent);
        QCOMPARE(PopoverController::environment(false).background, PopoverBackground::opaque);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::dark);
        Setting(Keys::popoverBackground).set(PopoverBackground::opaque);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::dark);
        QCOMPARE(PopoverController::environment(true).background, PopoverBackground::opaque);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::light);
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::light);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::system);
        QCOMPARE(PopoverController::environment(true).scheme, ColourScheme::dark);
    }

    void anOpenOneFollowsTheDesktopsScheme()
    {
        Desk desk;
        desk.popovers.open(memory);
        const QImage light = desk.popovers.window()->grab().toImage();
        SystemAppearance::shared().setScheme(ColourScheme::dark);
        QVERIFY(desk.popovers.window()->grab().toImage().pixelColor(150, 20).lightness() < 128);
        QVERIFY(light.pixelColor(150, 20).lightness() > 128);
        Setting(Keys::popoverAppearance).set(PopoverAppearance::light);
        QTRY_COMPARE(desk.popovers.window()->grab().toImage(), light);
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
