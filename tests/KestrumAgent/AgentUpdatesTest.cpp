// Checks for updates that people asked the agent for, and how they learn the outcome. This test plays the desktop's
// notification service on a session bus of its own.

#include "KestrumAgent/Agent.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AptScript.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/NotificationService.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QDateTime>
#include <QTest>
#include <memory>

using namespace kestrum;

using SharedSettings::Signal;

namespace {

double now()
{
    return double(QDateTime::currentMSecsSinceEpoch()) / 1000;
}

} // namespace

class AgentUpdatesTest : public QObject {
    Q_OBJECT

    const QString m_upToDate = QStringLiteral("Kestrum is up to date.");
    const QString m_failed = QStringLiteral("The check for updates failed: <b>no</b>");

    std::unique_ptr<AptScript> m_apt;
    std::unique_ptr<SessionBus> m_bus;
    NotificationService m_notifications;
    std::unique_ptr<Agent> m_agent;

    void startService()
    {
        m_bus = std::make_unique<SessionBus>();
        QVERIFY(m_bus->isUp());
        QVERIFY(m_notifications.join(m_bus->address()));
    }

    void startAgent(std::optional<double> launched = std::nullopt)
    {
        m_agent = std::make_unique<Agent>();
        m_agent->start(launched);
    }

    /// Whether the menu shows this outcome of the last check.
    bool menuTells(const QString& outcome)
    {
        Q_EMIT m_agent->menu().aboutToShow();
        for (const QAction* action : m_agent->menu().actions()) {
            if (action->text() == outcome)
                return true;
        }
        return false;
    }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        QTest::qWait(20); // until its change notice has passed
        m_notifications.shown.clear();
        m_apt = std::make_unique<AptScript>("echo asked >>\"${0%/*}/asked\"\n"
                                            "cat <<-END\n"
                                            "kestrum:\n"
                                            "  Installed: 1.4-27\n"
                                            "  Candidate: 1.4-27\n"
                                            "  Version table:\n"
                                            " *** 1.4-27 500\n"
                                            "        500 file:/repository ./ Packages\n"
                                            "        100 /var/lib/dpkg/status\n"
                                            "END\n");
    }
    void cleanup()
    {
        m_agent.reset();
        NotificationService::leave();
        m_bus.reset();
        m_apt.reset();
    }

    void whoAskedIsToldTheOutcomeByTheDesktop()
    {
        startService();
        startAgent();
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        const NotificationService::Shown& shown = m_notifications.shown.first();
        QCOMPARE(shown.program, QStringLiteral("Kestrum"));
        QCOMPARE(shown.replaced, 0U);
        QCOMPARE(shown.heading, m_upToDate);
        QVERIFY(menuTells(m_upToDate));
    }

    void aLaterOutcomeTakesTheEarlierOnesPlace()
    {
        startService();
        startAgent();
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QTest::qWait(100); // until the reply with the notification's number is here
        m_apt.reset();
        m_apt = std::make_unique<AptScript>("echo 'E: <b>no</b>' >&2\nexit 100\n");
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_COMPARE(m_notifications.shown.size(), 2);
        QCOMPARE(m_notifications.shown.last().replaced, 41U);
        // The heading is plain text: only the body below it may contain markup.
        QCOMPARE(m_notifications.shown.last().heading, m_failed);
        QCOMPARE(m_notifications.shown.last().text, QString());
    }

    void aBusThatComesBackIsJoinedAgain()
    {
        startService();
        startAgent();
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        NotificationService::leave();
        m_bus.reset();
        startService();
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_COMPARE(m_notifications.shown.size(), 2);
        QCOMPARE(m_notifications.shown.last().replaced, 0U); // the new bus numbers notifications anew
    }

    void withoutTheServiceTheMenuTells_data()
    {
        QTest::addColumn<bool>("hasBus");
        QTest::newRow("no bus") << false;
        QTest::newRow("a bus without the service") << true;
    }
    void withoutTheServiceTheMenuTells()
    {
        QFETCH(const bool, hasBus);
        if (hasBus)
            m_bus = std::make_unique<SessionBus>();
        else
            qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        startAgent();
        SharedSettings::post(Signal::checkForUpdates);
        QTRY_VERIFY(menuTells(m_upToDate));
        QCOMPARE(m_notifications.shown.size(), 0);
    }

    void aCheckThatWasAskedForWhileItWasLoadedIsMade()
    {
        const double launched = now() - 1;
        SharedSettings::post(Signal::checkForUpdates);
        QTest::qWait(50);
        startAgent(launched);
        QTRY_VERIFY(menuTells(m_upToDate));
        QCOMPARE(m_apt->written("asked"), QByteArray("asked"));
    }

    void aCheckThatWasAskedForBeforeIsNot()
    {
        SharedSettings::post(Signal::checkForUpdates);
        QTest::qWait(50);
        startAgent(now());
        QTest::qWait(500);
        QVERIFY(!menuTells(m_upToDate));
        QCOMPARE(m_apt->written("asked"), QByteArray());
    }
};

KESTRUM_TEST_MAIN_OF(AgentUpdatesTest)(int argc, char** argv)
{
    const TestHome home;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrum"));
    AgentUpdatesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentUpdatesTest.moc"
