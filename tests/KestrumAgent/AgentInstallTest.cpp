// People who asked for updates hear of a new version and install it: by a button that opens the desktop's software centre, or
// by a command to type. This test plays the desktop's services on a session bus of its own.

#include "KestrumAgent/Agent.h"
#include "tests/Support/AptScript.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/NotificationService.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QApplication>
#include <QTest>
#include <memory>

using namespace kestrum;

using SharedSettings::Signal;

namespace {

const QString packageKitConnection = QStringLiteral("package-kit");

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

class AgentInstallTest : public QObject {
    Q_OBJECT

    const QString m_news = text("Kestrum 1.5 (30) is available.");
    const QString m_advice
        = text("To install it, type in a terminal: sudo apt install --only-upgrade kestrum");
    const QStringList m_button { text("default"), text("Install"), text("button"), text("Install") };

    std::unique_ptr<AptScript> m_apt;
    std::unique_ptr<FileTree> m_desktop;
    QByteArray m_path;
    std::unique_ptr<SessionBus> m_bus;
    NotificationService m_notifications;
    PackageKit m_packageKit;
    std::unique_ptr<Agent> m_agent;

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
        m_desktop->write(text("bin/xdg-open"),
            "#!/bin/sh\necho \"$*|$XDG_ACTIVATION_TOKEN\" >\"${0%/*}/new\"; mv \"${0%/*}/new\" "
            "\"${0%/*}/opened\"\n");
        QVERIFY(QFile::setPermissions(
            m_desktop->path(text("bin/xdg-open")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    QByteArray opened() const
    {
        QFile file(m_desktop->path(text("bin/opened")));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    }

    void startPackageKit(bool knowsTheCall)
    {
        QDBusConnection connection = QDBusConnection::connectToBus(m_bus->address(), packageKitConnection);
        if (knowsTheCall)
            QVERIFY(connection.registerObject(
                text("/org/freedesktop/PackageKit"), &m_packageKit, QDBusConnection::ExportAllSlots));
        QVERIFY(connection.registerService(text("org.freedesktop.PackageKit")));
    }

    void askForUpdates()
    {
        m_agent = std::make_unique<Agent>();
        m_agent->start();
        SharedSettings::post(Signal::checkForUpdates);
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

private Q_SLOTS:
    void init()
    {
        forgetSettings();
        QTest::qWait(20); // until its change notice has passed
        m_notifications.shown.clear();
        m_notifications.capabilities = { text("actions"), text("body"), text("body-markup") };
        m_packageKit.asked.clear();
        m_desktop = std::make_unique<FileTree>();
        qputenv("XDG_DATA_DIRS", QFile::encodeName(m_desktop->path(text("share"))));
        m_path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_desktop->path(text("bin"))) + ':' + m_path);
        m_apt = std::make_unique<AptScript>("cat <<-END\n"
                                            "kestrum:\n"
                                            "  Installed: 1.4-27\n"
                                            "  Candidate: 1.5-30\n"
                                            "  Version table:\n"
                                            "     1.5-30 500\n"
                                            "        500 file:/repository ./ Packages\n"
                                            " *** 1.4-27 100\n"
                                            "        100 /var/lib/dpkg/status\n"
                                            "END\n");
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
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QCOMPARE(m_notifications.shown.first().heading, m_news);
        QCOMPARE(m_notifications.shown.first().text, QString());
        QCOMPARE(m_notifications.shown.first().actions, m_button);
        QTest::qWait(100); // until the reply with the notification's number is here
        // A button of another program's notification does nothing.
        NotificationService::press(7, action);
        QTest::qWait(200);
        QCOMPARE(opened(), QByteArray());
        NotificationService::press(41, action, text("token"));
        QTRY_COMPARE(opened(), QByteArray("appstream://com.orvale.kestrum|token"));
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
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QCOMPARE(m_notifications.shown.first().heading, m_news);
        QCOMPARE(m_notifications.shown.first().text, m_advice);
        QCOMPARE(m_notifications.shown.first().actions, QStringList());
        const QAction* advice = entry(m_advice);
        QVERIFY(advice && !advice->isEnabled());
        QVERIFY(!entry(text("Install")));
    }

    void whereNoButtonsAreShownTheCommandIsTold()
    {
        installCentre();
        m_notifications.capabilities = { text("body") };
        startService();
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QCOMPARE(m_notifications.shown.first().text, m_advice);
        QCOMPARE(m_notifications.shown.first().actions, QStringList());
    }

    void elsePackageKitIsAsked()
    {
        startService();
        startPackageKit(true);
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QCOMPARE(m_notifications.shown.first().actions, m_button);
        QTest::qWait(100); // until the reply with the notification's number is here
        NotificationService::press(41, text("button"));
        QTRY_COMPARE(m_packageKit.asked, (QStringList { text("kestrum"), text("com.orvale.kestrum") }));
        QTest::qWait(200);
        QCOMPARE(m_notifications.shown.size(), 1);
    }

    void whatDoesNotOpenIsMadeUpForByTheCommand()
    {
        startService();
        startPackageKit(false);
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QTest::qWait(100); // until the reply with the notification's number is here
        NotificationService::press(41, text("button"));
        QTRY_COMPARE(m_notifications.shown.size(), 2);
        QCOMPARE(m_notifications.shown.last().replaced, 41U);
        QCOMPARE(m_notifications.shown.last().heading, m_news);
        QCOMPARE(m_notifications.shown.last().text, m_advice);
        QCOMPARE(m_notifications.shown.last().actions, QStringList());
    }

    void withoutNotificationsTheMenuLeadsThere()
    {
        installCentre();
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        askForUpdates();
        QTRY_VERIFY(entry(m_news));
        QTRY_VERIFY(entry(text("Install")));
        entry(text("Install"))->trigger();
        QTRY_COMPARE(opened(), QByteArray("appstream://com.orvale.kestrum|"));
    }

    void otherOutcomesHaveNoButton()
    {
        installCentre();
        m_apt.reset();
        m_apt = std::make_unique<AptScript>("echo 'E: no' >&2\nexit 100\n");
        startService();
        askForUpdates();
        QTRY_COMPARE(m_notifications.shown.size(), 1);
        QCOMPARE(m_notifications.shown.first().actions, QStringList());
        QVERIFY(!entry(text("Install")));
    }
};

KESTRUM_TEST_MAIN_OF(AgentInstallTest)(int argc, char** argv)
{
    const TestHome home;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrum"));
    AgentInstallTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "AgentInstallTest.moc"
