// The agent offers to show the items in the desktop's panel. The desktop's settings program, its shell and its notifications are
// stand-ins.

#include "KestrumAgent/Bridge/PanelOffer.h"
#include "KestrumAgent/Agent.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DesktopShells.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/NotificationService.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class PanelOfferTest : public QObject {
    Q_OBJECT

    std::unique_ptr<DesktopTools> m_tools;
    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<NotificationService> m_notifications;
    std::unique_ptr<Agent> m_agent;

    static inline const char* const s_installed = "gnome-shell/extensions/kestrum@orvale.com/metadata.json";

    void startAgent(const char* desktop)
    {
        m_agent.reset();
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        m_agent = std::make_unique<Agent>();
        m_agent->start();
        // The tests say when it looks.
        m_agent->findChild<PanelOffer*>()->start({ std::chrono::hours(1) });
    }
    /// Has the offer look now, and waits until it has done so.
    void look()
    {
        auto* offer = m_agent->findChild<PanelOffer*>();
        QSignalSpy looked(offer, &PanelOffer::looked);
        offer->look();
        QVERIFY(looked.count() > 0 || looked.wait());
    }
    QAction* entry()
    {
        Q_EMIT m_agent->menu().aboutToShow();
        return m_agent->menu().findChild<QAction*>(text("show-in-panel"));
    }
    /// Whether the panels' own menus have the entry.
    bool isAmongActions()
    {
        const auto actions = m_agent->service()->Actions({});
        return std::any_of(actions.begin(), actions.end(), [](const PanelMenuEntry& action) {
            return action.id == text("show-in-panel") && action.isEnabled;
        });
    }
    static QString offered() { return Setting(Keys::panelOffers, QString()).value(); }
    QByteArray enabled() const { return m_tools->value("org.gnome.shell", "enabled-extensions"); }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        qunsetenv("XDG_SESSION_TYPE");
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        m_notifications = std::make_unique<NotificationService>();
        QVERIFY(m_notifications->join(m_bus->address()));
        m_tools = std::make_unique<DesktopTools>();
        m_tools->set("org.gnome.shell", "enabled-extensions", "['a@b']");
        DesktopTools::install(s_installed);
    }
    void cleanup()
    {
        m_agent.reset();
        NotificationService::leave();
        DesktopTools::clear();
        m_tools.reset();
        m_bus.reset();
        qunsetenv("XDG_CURRENT_DESKTOP");
    }

    void whatIsMissingIsOfferedOnce()
    {
        startAgent("GNOME");
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        const auto& shown = m_notifications->shown.first();
        QCOMPARE(shown.heading, text("Kestrum can show its items in the panel."));
        QCOMPARE(shown.actions,
            (QStringList { text("default"), text("Show in Panel"), text("button"), text("Show in Panel") }));
        QTRY_COMPARE(offered(), text("GNOME"));
        // It is there before the menu opens: what panels show of the menu does not fit what comes later.
        QVERIFY(m_agent->menu().findChild<QAction*>(text("show-in-panel")));
        QVERIFY(entry());
        QVERIFY(isAmongActions());
        QCOMPARE(enabled(), QByteArray("['a@b']")); // an offer adds nothing

        look();
        startAgent("GNOME");
        look();
        QVERIFY(entry());
        QTest::qWait(100);
        QCOMPARE(m_notifications->shown.size(), 1);
    }

    void whetherAnythingIsShownIsToldHonestly_data()
    {
        QTest::addColumn<QString>("shownBy");
        QTest::addColumn<QString>("told");
        QTest::newRow("nothing") << text("nothing")
                                 << text("At present, this desktop does not show them at all.");
        QTest::newRow("a status icon") << text("status-icon") << QString();
    }
    void whetherAnythingIsShownIsToldHonestly()
    {
        QFETCH(const QString, shownBy);
        startAgent("GNOME");
        // The agent has found its own way by now, so it does not change it any more.
        QTRY_VERIFY(m_agent->service()->shownBy() != QLatin1StringView("nothing"));
        m_agent->service()->setOwnWay(shownBy);
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        QTEST(m_notifications->shown.first().text, "told");
    }

    void theButtonAddsIt()
    {
        startAgent("GNOME");
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        NotificationService::press(41, text("button"));
        QTRY_COMPARE(enabled(), QByteArray("['a@b', 'kestrum@orvale.com']"));
        QTRY_COMPARE(m_notifications->shown.size(), 2);
        QCOMPARE(m_notifications->shown.last().heading,
            text("From the next login on, the items are in the panel."));
        QCOMPARE(m_notifications->shown.last().replaced, 41U);
        QCOMPARE(m_notifications->shown.last().actions, QStringList());
        QTRY_VERIFY(!entry());
        QVERIFY(!isAmongActions());
        // The later notification has no button, and a press means nothing.
        m_tools->set("org.gnome.shell", "enabled-extensions", "[]");
        NotificationService::press(42, text("default"));
        QTest::qWait(100);
        QCOMPARE(enabled(), QByteArray("[]"));
    }

    void theMenuAddsItAtAnyTime()
    {
        GnomeShell shell;
        QVERIFY(shell.join(m_bus->address()));
        shell.info.insert(text("state"), 2.0);
        Setting(Keys::panelOffers, QString()).set(text("KDE,GNOME"));
        startAgent("GNOME");
        look();
        m_agent->service()->Choose(text("show-in-panel"), {}, {});
        QTRY_COMPARE(shell.enabled, words("kestrum@orvale.com"));
        // What is seen at once needs no words.
        m_tools->set("org.gnome.shell", "enabled-extensions", "['kestrum@orvale.com']");
        look();
        QVERIFY(!entry());
        QCOMPARE(m_notifications->shown.size(), 0);
    }

    void somebodyElseMayHaveAddedIt()
    {
        startAgent("GNOME");
        look();
        QVERIFY(entry());
        m_tools->set("org.gnome.shell", "enabled-extensions", "['kestrum@orvale.com']");
        QTRY_VERIFY(!entry());
    }

    void whatWasRemovedIsInTheMenuAgain()
    {
        m_tools->set("org.gnome.shell", "enabled-extensions", "['kestrum@orvale.com']");
        startAgent("GNOME");
        look();
        const uint bridge = m_agent->service()->Attach(text("gnome-shell"), {});
        m_tools->set("org.gnome.shell", "enabled-extensions", "[]");
        const QSignalSpy looked(m_agent->findChild<PanelOffer*>(), &PanelOffer::looked);
        QVERIFY(!entry());
        QTest::qWait(200);
        QCOMPARE(
            looked.count(), 0); // a bridge asks for the menu often, and the desktop is not asked each time
        m_agent->service()->Detach(bridge);
        QTRY_VERIFY(entry());
    }

    void whatFailsIsToldInTheUsersLanguage()
    {
        startAgent("GNOME");
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        m_tools->replace("gsettings", "echo 'no <backend>' >&2; exit 1\n");
        NotificationService::press(41, text("default"));
        QTRY_COMPARE(m_notifications->shown.size(), 2);
        QCOMPARE(m_notifications->shown.last().heading, text("The items cannot be shown in the panel."));
        // The reason itself is in English, and for people at a terminal.
        QCOMPARE(m_notifications->shown.last().text,
            text("To learn why, type in a terminal: kestrumctl panel add"));
        QVERIFY(entry()); // it is still missing, as far as anybody knows
    }

    void nothingIsOfferedWithoutNeed_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        QTest::addColumn<QByteArray>("enabled");
        QTest::newRow("added already") << QByteArray("GNOME") << QByteArray("['kestrum@orvale.com']");
        QTest::newRow("not understood") << QByteArray("GNOME") << QByteArray("1");
    }
    void nothingIsOfferedWithoutNeed()
    {
        QFETCH(const QByteArray, desktop);
        QFETCH(const QByteArray, enabled);
        m_tools->set("org.gnome.shell", "enabled-extensions", enabled);
        startAgent(desktop.constData());
        look();
        QVERIFY(!entry());
        QTest::qWait(100);
        QCOMPARE(m_notifications->shown.size(), 0);
        QCOMPARE(offered(), QString());
    }

    void whereOtherIconsChangeTooItIsSaid()
    {
        m_tools->setProperty("/plugins/plugin-6", "systray");
        m_tools->setProperty("/plugins/plugin-6/square-icons", "true");
        m_notifications->capabilities = { text("body") }; // no buttons
        startAgent("XFCE");
        m_agent->service()->setOwnWay(text("status-icon"));
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        QCOMPARE(m_notifications->shown.first().text,
            text("All status icons will then be as wide as they need to be.\n"
                 "To show them there, type in a terminal: kestrumctl panel add"));
        QCOMPARE(m_notifications->shown.first().actions, QStringList());
        QVERIFY(entry());
        QCOMPARE(entry()->text(), text("Show in Panel (May Widen Other Icons)"));
    }

    void whatNobodyShowedIsOfferedAgain()
    {
        NotificationService::leave();
        startAgent("GNOME");
        look();
        QVERIFY(entry());
        QTest::qWait(100);
        QCOMPARE(offered(), QString());
        QVERIFY(m_notifications->join(m_bus->address()));
        // The first notification may still be on its way to nobody.
        QTRY_VERIFY((look(), m_notifications->shown.size() == 1));
        QTRY_COMPARE(offered(), text("GNOME"));
    }

    void aPartThatIsNotInstalledIsToldOnce()
    {
        DesktopTools::clear();
        startAgent("KDE");
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        QCOMPARE(m_notifications->shown.first().text,
            text("Its part for this panel is not installed.\n"
                 "To learn why, type in a terminal: kestrumctl panel status"));
        QCOMPARE(m_notifications->shown.first().actions, QStringList());
        QTRY_COMPARE(offered(), text("Plasma-uninstalled"));
        look();
        QTest::qWait(100);
        QCOMPARE(m_notifications->shown.size(), 1);
        // Whoever asks is told again.
        QVERIFY(entry());
        m_agent->service()->Choose(text("show-in-panel"), {}, {});
        QTRY_COMPARE(m_notifications->shown.size(), 2);
        QCOMPARE(m_notifications->shown.last().text, m_notifications->shown.first().text);
    }

    void whatIsInstalledLaterIsFoundAsTheMenuOpens()
    {
        DesktopTools::clear();
        startAgent("GNOME");
        look();
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        DesktopTools::install(s_installed);
        QTRY_VERIFY(entry() && m_notifications->shown.size() == 2);
        QCOMPARE(m_notifications->shown.last().actions.value(1), text("Show in Panel"));
    }

    void aLookThatFailedIsRepeatedAsTheMenuOpens()
    {
        m_tools->replace("gsettings", "exit 1\n");
        startAgent("GNOME");
        look();
        QVERIFY(!entry());
        m_tools.reset();
        m_tools = std::make_unique<DesktopTools>();
        m_tools->set("org.gnome.shell", "enabled-extensions", "[]");
        QTRY_VERIFY(entry());
    }

    void looksAreRepeatedUntilAllIsKnown_data()
    {
        QTest::addColumn<QByteArray>("enabled");
        QTest::addColumn<int>("least");
        QTest::addColumn<int>("most");
        QTest::newRow("not understood") << QByteArray("1") << 2 << 3;
        QTest::newRow("added already") << QByteArray("['kestrum@orvale.com']") << 1 << 1;
    }
    void looksAreRepeatedUntilAllIsKnown()
    {
        using namespace std::chrono_literals;
        QFETCH(const int, least);
        QFETCH(const int, most);
        QFETCH(const QByteArray, enabled);
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
        m_tools->set("org.gnome.shell", "enabled-extensions", enabled);
        PanelOffer offer([] { return false; });
        const QSignalSpy looked(&offer, &PanelOffer::looked);
        offer.start({ 1ms, 100ms, 100ms });
        QTRY_VERIFY(looked.count() >= least);
        QTest::qWait(400);
        QVERIFY(looked.count() <= most);
    }

    void aDesktopThatShowsNothingIsToldOnce()
    {
        using namespace std::chrono_literals;
        qputenv("XDG_CURRENT_DESKTOP", "cage");
        const auto nothingIsShown = [] { return true; };
        PanelOffer hasty(nothingIsShown);
        hasty.start({ 1ms });
        QTest::qWait(100);
        QCOMPARE(m_notifications->shown.size(), 0); // its panel may be on its way

        PanelOffer offer(nothingIsShown);
        offer.start({ 1ms, 10ms });
        QTRY_COMPARE(m_notifications->shown.size(), 1);
        QCOMPARE(
            m_notifications->shown.first().heading, text("This desktop does not show the items of Kestrum."));
        QCOMPARE(m_notifications->shown.first().text,
            text("To learn why, type in a terminal: kestrumctl panel status"));
        QTRY_COMPARE(offered(), text("nothing"));

        PanelOffer later(nothingIsShown);
        later.start({ 1ms, 10ms });
        QTest::qWait(100);
        QCOMPARE(m_notifications->shown.size(), 1);
    }
};

KESTRUM_TEST_MAIN_OF(PanelOfferTest)(int argc, char** argv)
{
    const TestHome home;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QApplication application(argc, argv);
    PanelOfferTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "PanelOfferTest.moc"
