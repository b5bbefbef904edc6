#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>

using namespace kestrum;
using Status = LoginItemService::Status;

/// Which entry decides on which desktop, and which program the desktop starts.
class LoginItemDesktopTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_fixture = std::make_unique<LoginItemFixture>(); }
    void init()
    {
        LoginItemFixture::clear();
        QDir(systemFolder()).removeRecursively();
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    }
    void cleanupTestCase()
    {
        qunsetenv("XDG_CURRENT_DESKTOP");
        m_fixture.reset();
    }

    void onlyAnEntryThatStartsTheAgentIsEnabled_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<Status>("status");
        const QByteArray agent = QFile::encodeName(m_fixture->agentProgram());
        const QString other = m_fixture->bundlePath() + QStringLiteral("/../elsewhere/Kestrum.app");
        LoginItemFixture::makeProgram(StandIns::agentOf(other));
        const QString link = m_fixture->bundlePath() + QStringLiteral("/../link");
        QVERIFY(QFile::link(m_fixture->agentProgram(), link));
        QTest::newRow("the agent") << '"' + agent + '"' << Status::enabled;
        QTest::newRow("with an argument") << '"' + agent + "\" --argument" << Status::enabled;
        QTest::newRow("by way of a shell") << "sh -c \"sleep 5; exec " + agent + '"' << Status::enabled;
        QTest::newRow("by way of a link") << QFile::encodeName(link) << Status::enabled;
        QTest::newRow("of another copy") << QFile::encodeName(StandIns::agentOf(other)) << Status::enabled;
        QTest::newRow("another program") << QByteArray("/bin/true") << Status::notFound;
        QTest::newRow("another program's argument")
            << QByteArray("/bin/echo KestrumAgent") << Status::notFound;
        QTest::newRow("one of like name") << QByteArray("/bin/true/KestrumAgent") << Status::notFound;
    }

    void onlyAnEntryThatStartsTheAgentIsEnabled()
    {
        QFETCH(const QByteArray, command);
        QFETCH(const Status, status);
        write(LoginItemFixture::entry(), entry("Exec=" + command + '\n'));
        QCOMPARE(m_fixture->service().status(), status);
    }

    void anEntryThatThisDesktopSkipsIsNotEnabled_data()
    {
        QTest::addColumn<QByteArray>("desktops");
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<bool>("isStarted");
        QTest::addColumn<QByteArray>("linesAfter");
        const QByteArray here("ubuntu:GNOME");
        QTest::newRow("only here") << here << QByteArray("OnlyShowIn=KDE;GNOME;\n") << true
                                   << QByteArray("OnlyShowIn=KDE;GNOME;\n");
        QTest::newRow("only elsewhere") << here << QByteArray("OnlyShowIn=KDE;XFCE\n") << false
                                        << QByteArray("OnlyShowIn=KDE;XFCE;ubuntu;\n");
        QTest::newRow("nowhere") << here << QByteArray("OnlyShowIn=\n") << false
                                 << QByteArray("OnlyShowIn=ubuntu;\n");
        QTest::newRow("not here") << here << QByteArray("NotShowIn=KDE;GNOME;\n") << false
                                  << QByteArray("NotShowIn=KDE;\n");
        QTest::newRow("not elsewhere")
            << here << QByteArray("NotShowIn=KDE;\n") << true << QByteArray("NotShowIn=KDE;\n");
        QTest::newRow("the more particular name counts")
            << here << QByteArray("OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n") << true
            << QByteArray("OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n");
        QTest::newRow("no desktop is known")
            << QByteArray() << QByteArray("OnlyShowIn=KDE;\n") << true << QByteArray("OnlyShowIn=KDE;\n");
    }

    void anEntryThatThisDesktopSkipsIsNotEnabled()
    {
        QFETCH(const QByteArray, desktops);
        QFETCH(const QByteArray, lines);
        QFETCH(const bool, isStarted);
        QFETCH(const QByteArray, linesAfter);
        qputenv("XDG_CURRENT_DESKTOP", desktops);
        write(LoginItemFixture::entry(), entry(exec() + lines));
        QCOMPARE(m_fixture->service().status(), isStarted ? Status::enabled : Status::notFound);
        // Registering makes this desktop start the item; for other desktops the entry stays as it was.
        (void)m_fixture->service().registerItem();
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        const QByteArray after = contentOf(LoginItemFixture::entry());
        QVERIFY2(after.contains('\n' + linesAfter), after.constData());
    }

    void anEntryForTheWholeSystemIsSeen()
    {
        write(systemEntry(), entry(exec()));
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        write(systemEntry(), entry("Exec=/bin/true\n"));
        QCOMPARE(m_fixture->service().status(), Status::notFound);
        write(systemEntry(), entry(exec() + "Hidden=true\n"));
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
    }

    void ofSeveralTheFirstFolderCounts()
    {
        const QByteArray before = qgetenv("XDG_CONFIG_DIRS");
        const QString first = TestHome::root() + QStringLiteral("/first");
        write(systemEntry(), entry(exec()));
        qputenv("XDG_CONFIG_DIRS", "relative::" + QFile::encodeName(first) + ':' + before);
        write(first + QStringLiteral("/autostart/com.orvale.kestrum.agent.desktop"),
            entry(exec() + "NotShowIn=GNOME;\n"));
        const Status status = m_fixture->service().status();
        QVERIFY(QDir(first).removeRecursively());
        const Status next = m_fixture->service().status();
        qputenv("XDG_CONFIG_DIRS", before);
        QCOMPARE(status, Status::notFound);
        QCOMPARE(next, Status::enabled);
    }

    void theUsersOwnEntryCountsMore()
    {
        write(systemEntry(), entry(exec()));
        write(LoginItemFixture::entry(), entry(exec() + "Hidden=true\n"));
        QCOMPARE(m_fixture->service().status(), Status::requiresApproval);
        write(LoginItemFixture::entry(), entry("Exec=/bin/true\n"));
        QCOMPARE(m_fixture->service().status(), Status::notFound);
    }

    void anEntryForTheWholeSystemIsSwitchedOffAndOn()
    {
        write(systemEntry(), entry(exec()));
        QVERIFY(m_fixture->service().unregister());
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("\nHidden=true\n"));
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("\nX-GNOME-Autostart-enabled=false\n"));
        QCOMPARE(m_fixture->service().unregister().failure().error, 6);
        // The desktop's own settings can switch the item on again, too.
        const QByteArray text = contentOf(LoginItemFixture::entry());
        write(LoginItemFixture::entry(),
            QByteArray(text).replace("Hidden=true", "Hidden=false").replace("enabled=false", "enabled=true"));
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        QVERIFY(m_fixture->service().unregister());
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        QVERIFY(m_fixture->service().registerItem());
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        // After that, an item that the desktop's settings switch off needs the user's approval.
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        QCOMPARE(m_fixture->service().status(), Status::requiresApproval);
    }

    void switchedOffThereTheUsersOwnKeysStay()
    {
        write(systemEntry(), entry(exec()));
        write(LoginItemFixture::entry(), entry(exec() + "X-Mine=1\n"));
        QVERIFY(m_fixture->service().unregister());
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=1\n"));
        QVERIFY(m_fixture->service().registerItem());
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=1\n"));
    }

    void onceThePackageIsGoneNothingIsLeftOfIt()
    {
        write(systemEntry(), entry(exec()));
        QVERIFY(m_fixture->service().unregister());
        QVERIFY(QFile::remove(systemEntry()));
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        (void)m_fixture->service().unregister();
        QVERIFY(!QFile::exists(LoginItemFixture::entry()));
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
    }

    void anEntryOfTheSystemThatStartsNothingOfOursIsLeftAlone()
    {
        write(systemEntry(), entry("Exec=/bin/true\n"));
        QCOMPARE(m_fixture->service().unregister().failure().error, 6);
        QVERIFY(!QFile::exists(LoginItemFixture::entry()));
    }

    void rootSwitchesOffNothingForOthers()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        write(systemEntry(), entry(exec()));
        QCOMPARE(::seteuid(0), 0);
        const auto result = m_fixture->service().unregister();
        QCOMPARE(::seteuid(65534), 0);
        QVERIFY(!result);
        QCOMPARE(result.failure().error, -EPERM);
        QVERIFY(!QFile::exists(LoginItemFixture::entry()));
    }

private:
    static QString systemFolder()
    {
        return QString::fromUtf8(qgetenv("XDG_CONFIG_DIRS")) + QStringLiteral("/autostart");
    }
    static QString systemEntry()
    {
        return systemFolder() + QStringLiteral("/com.orvale.kestrum.agent.desktop");
    }
    static QByteArray entry(const QByteArray& lines)
    {
        return "[Desktop Entry]\nType=Application\nName=Kestrum\n" + lines;
    }
    QByteArray exec() const { return "Exec=\"" + QFile::encodeName(m_fixture->agentProgram()) + "\"\n"; }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemDesktopTest)
#include "LoginItemDesktopTest.moc"
