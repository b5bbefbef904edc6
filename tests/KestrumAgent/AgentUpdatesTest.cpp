// A person asks the agent to check for updates. The tests cover how the agent reports the outcome, and how the person can
// install a new version: by a button that opens the desktop's software centre, or by a command to type. This test plays the
// desktop's services on a private session bus.

#include "KestrumAgent/Agent.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/AptScript.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/NotificationService.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QApplication>
#include <QDateTime>
#include <QTest>
#include <memory>

using namespace kestrum;

using SharedSettings::Signal;

namespace {

const QString packageKitConnection = QStringLiteral("package-kit");

double now()
{
    return double(QDateTime::currentMSecsSinceEpoch()) / 1000;
}

} // namespace

/// Plays the session's service for installing software.
class PackageKit : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PackageKit.Modify2")
public:
    QStringList asked;

public Q_SLOTS:
    void InstallPackageNames(
        const QStringList& packages, const QString&, const QString& program, const QVariantMap&)
    {
        asked += packages + QStringList(program);
    }
};

class AgentUpdatesTest : public QObject {
    Q_OBJECT

    const QString m_upToDate = text("Kestrum is up to date.");
    const QString m_news = text("Kestrum 1.5 (30) is available.");
    const QString m_advice
        = text("To install it, type in a terminal: sudo apt install --only-upgrade kestrum");
    const QStringList m_button { text("default"), text("Install"), text("button"), text("Install") };
    static constexpr char aptFails[] = "echo 'E: <b>no</b>' >&2\nexit 100\n";

    std::unique_ptr<AptScript> m_apt;
    std::unique_ptr<FileTree> m_desktop;
    QByteArray m_path;
    std::unique_ptr<SessionBus> m_bus;
    NotificationService m_notifications;
    PackageKit m_packageKit;
    std::unique_ptr<Agent> m_agent;

    void useApt(const QByteArray& script)
    {
        m_apt.reset(); // restores PATH
        m_apt = std::make_unique<AptScript>(script);
    }
    /// Version 1.4 is installed, and the repository has the version `candidate`.
    void useCandidate(const QByteArray& candidate)
    {
        const QByteArray row
            = candidate == "1.4-27" ? "" : "     " + candidate + " 500\n        500 file:/r ./ Packages\n";
        useApt("echo asked >>\"${0%/*}/asked\"\ncat <<-END\nkestrum:\n  Installed: 1.4-27\n  Candidate: "
            + candidate + "\n  Version table:\n" + row
            + " *** 1.4-27 100\n        500 file:/r ./ Packages\n        100 /var/lib/dpkg/status\nEND\n");
    }

    void startBus()
    {
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
    }
    void startService()
    {
        startBus();
        QVERIFY(m_notifications.join(m_bus->address()));
    }

    /// The files that a software centre's package installs, and an "xdg-open" that records its arguments.
    void installCentre(const QByteArray& list = "centre.desktop") const
    {
        m_desktop->write(text("share/applications/mimeinfo.cache"),
            "[MIME Cache]\nx-scheme-handler/apt=other.desktop;\nx-scheme-handler/appstream=" + list + ";\n");
        m_desktop->write(text("share/applications/centre.desktop"), "[Desktop Entry]\n");
        m_desktop->write(text("share/metainfo/com.orvale.kestrum.metainfo.xml"), "<component/>\n");
        writeProgram(m_desktop->path(text("bin/xdg-open")),
            "#!/bin/sh\necho \"$*|$XDG_ACTIVATION_TOKEN\" >>\"${0%/*}/opened\"\n");
    }
    QString openedFile() const { return m_desktop->path(text("bin/opened")); }

    void startPackageKit(bool knowsTheCall)
    {
        QDBusConnection connection = QDBusConnection::connectToBus(m_bus->address(), packageKitConnection);
        if (knowsTheCall)
            QVERIFY(connection.registerObject(
                text("/org/freedesktop/PackageKit"), &m_packageKit, QDBusConnection::ExportAllSlots));
        QVERIFY(connection.registerService(text("org.freedesktop.PackageKit")));
    }

    void startAgent(std::optional<double> launched = std::nullopt)
    {
        m_agent = std::make_unique<Agent>();
        m_agent->start(launched);
    }

    QAction* entry(const QString& wanted) const
    {
        Q_EMIT m_agent->menu().aboutToShow();
        for (QAction* action : m_agent->menu().actions()) {
            if (action->text() == wanted)
                return action;
        }
        return nullptr;
    }

    /// Asks the agent for a check, and waits until the service shows this number of notifications.
    void askForUpdates(int notifications)
    {
        if (!m_agent)
            startAgent();
        SharedSettings::post(Signal::checkForUpdates);
        // The bus keeps the order: all later messages reach the agent after the number of the notification.
        QTRY_COMPARE(m_notifications.shown.size(), notifications);
    }

    /// Checks the contents of the last notification. Its heading must be that of a new version.
    void verifyOffer(const QString& advice, const QStringList& actions) const
    {
        QCOMPARE(m_notifications.shown.last().heading, m_news);
        QCOMPARE(m_notifications.shown.last().text, advice);
        QCOMPARE(m_notifications.shown.last().actions, actions);
    }

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        QTest::qWait(20); // until the notice of this change has arrived
        m_notifications.shown.clear();
        m_notifications.capabilities = { text("actions"), text("body"), text("body-markup") };
        m_packageKit.asked.clear();
        m_desktop = std::make_unique<FileTree>();
        qputenv("XDG_DATA_DIRS", QFile::encodeName(m_desktop->path(text("share"))));
        m_path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_desktop->path(text("bin"))) + ':' + m_path);
        useCandidate("1.5-30");
    }

    void cleanup()
    {
        m_agent.reset();
        NotificationService::leave();
        QDBusConnection::disconnectFromBus(packageKitConnection);
        m_bus.reset();
        m_apt.reset();
        m_desktop.reset();
        qputenv("PATH", m_path);
    }

    // The outcome of a check

    void whoAskedIsToldTheOutcomeByTheDesktop()
    {
        useCandidate("1.4-27");
        startService();
        askForUpdates(1);
        const NotificationService::Shown& shown = m_notifications.shown.first();
        QCOMPARE(shown.program, text("Kestrum"));
        QCOMPARE(shown.replaced, 0U);
        QCOMPARE(shown.heading, m_upToDate);
        QVERIFY(entry(m_upToDate));
    }

    void aLaterOutcomeTakesTheEarlierOnesPlace()
    {
        startService();
        askForUpdates(1);
        useApt(aptFails);
        askForUpdates(2);
        QCOMPARE(m_notifications.shown.last().replaced, 41U);
        // The heading is plain text: only the body below it may contain markup.
        QCOMPARE(m_notifications.shown.last().heading, text("The check for updates failed: <b>no</b>"));
        QCOMPARE(m_notifications.shown.last().text, QString());
    }

    void aBusThatComesBackIsJoinedAgain()
    {
        startService();
        askForUpdates(1);
        NotificationService::leave();
        m_bus.reset();
        startService();
        askForUpdates(2);
        QCOMPARE(m_notifications.shown.last().replaced, 0U); // the new bus starts a new numbering
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
        useCandidate("1.4-27");
        if (hasBus)
            startBus();
        else
            qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        askForUpdates(0);
        QTRY_VERIFY(entry(m_upToDate));
        QCOMPARE(m_notifications.shown.size(), 0);
    }

    void onlyACheckThatWasAskedForWhileItWasLoadedIsMade_data()
    {
        QTest::addColumn<bool>("whileLoaded");
        QTest::newRow("while it was loaded") << true;
        QTest::newRow("before") << false;
    }
    void onlyACheckThatWasAskedForWhileItWasLoadedIsMade()
    {
        QFETCH(const bool, whileLoaded);
        useCandidate("1.4-27");
        const double before = now() - 1;
        SharedSettings::post(Signal::checkForUpdates);
        QTest::qWait(50);
        startAgent(whileLoaded ? before : now());
        if (!whileLoaded)
            SharedSettings::post(Signal::checkForUpdates);
        // Only one check was made.
        QTRY_VERIFY(entry(m_upToDate));
        QCOMPARE(m_apt->written("asked"), QByteArray("asked"));
    }

    // How a person installs the new version

    void theButtonOpensTheSoftwareCentreAtTheProgram_data()
    {
        QTest::addColumn<QString>("action");
        QTest::newRow("the button") << text("button");
        QTest::newRow("a click beside it") << text("default");
    }
    void theButtonOpensTheSoftwareCentreAtTheProgram()
    {
        QFETCH(const QString, action);
        installCentre("gone.desktop;centre.desktop");
        startService();
        askForUpdates(1);
        verifyOffer({}, m_button);
        // A button of another program's notification does nothing.
        NotificationService::press(7, action, text("other"));
        NotificationService::press(41, action, text("token"));
        const QByteArray opened = "appstream://com.orvale.kestrum|token\n";
        QTRY_COMPARE(contentOf(openedFile()), opened);
        QTest::qWait(200);
        QCOMPARE(contentOf(openedFile()), opened);
    }

    void withoutASoftwareCentreTheCommandIsTold_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("one that is gone") << QByteArray("gone.desktop");
        QTest::newRow("one that does not know the program") << QByteArray("centre.desktop");
    }
    void withoutASoftwareCentreTheCommandIsTold()
    {
        QFETCH(const QByteArray, list);
        if (!list.isEmpty())
            installCentre(list);
        QFile::remove(m_desktop->path(text("share/metainfo/com.orvale.kestrum.metainfo.xml")));
        startService();
        askForUpdates(1);
        verifyOffer(m_advice, {});
        const QAction* advice = entry(m_advice);
        QVERIFY(advice && !advice->isEnabled());
        QVERIFY(!entry(text("Install")));
    }

    void whereNoButtonsAreShownTheCommandIsTold()
    {
        installCentre();
        m_notifications.capabilities = { text("body") };
        startService();
        askForUpdates(1);
        verifyOffer(m_advice, {});
    }

    void elsePackageKitIsAsked()
    {
        startService();
        startPackageKit(true);
        askForUpdates(1);
        verifyOffer({}, m_button);
        NotificationService::press(41, text("button"));
        QTRY_COMPARE(m_packageKit.asked, (QStringList { text("kestrum"), text("com.orvale.kestrum") }));
        // The next check gives the next notification.
        askForUpdates(2);
        verifyOffer({}, m_button);
    }

    void whatDoesNotOpenIsMadeUpForByTheCommand()
    {
        startService();
        startPackageKit(false);
        askForUpdates(1);
        NotificationService::press(41, text("button"));
        QTRY_COMPARE(m_notifications.shown.size(), 2);
        QCOMPARE(m_notifications.shown.last().replaced, 41U);
        verifyOffer(m_advice, {});
    }

    void withoutNotificationsTheMenuLeadsThere()
    {
        installCentre();
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        askForUpdates(0);
        QTRY_VERIFY(entry(m_news));
        QTRY_VERIFY(entry(text("Install")));
        // By its name, a panel's own menu chooses an entry.
        for (const QAction* action : m_agent->menu().actions())
            QVERIFY2(
                action->isSeparator() || !action->objectName().isEmpty(), qUtf8Printable(action->text()));
        m_agent->service()->Choose(QStringLiteral("install-update"), {}, {});
        QTRY_COMPARE(contentOf(openedFile()), QByteArray("appstream://com.orvale.kestrum|\n"));
    }

    void otherOutcomesHaveNoButton()
    {
        installCentre();
        useApt(aptFails);
        startService();
        askForUpdates(1);
        QCOMPARE(m_notifications.shown.first().actions, QStringList());
        QVERIFY(!entry(text("Install")));
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
