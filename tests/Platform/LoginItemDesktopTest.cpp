#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemTest.h"
#include "tests/Support/Rows.h"

#include <unistd.h>

using namespace kestrum;

/// The rules by which each desktop chooses an entry, and the program that the desktop starts.
class LoginItemDesktopTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        LoginItemTest::init();
        QDir(systemFolder()).removeRecursively();
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    }

    void onlyAnEntryThatStartsTheAgentIsEnabled()
    {
        const QByteArray agent = QFile::encodeName(agentProgram());
        const QString other = StandIns::agentOf(bundlePath() + text("/../elsewhere/Kestrum.app"));
        LoginItemFixture::makeProgram(other);
        const QString link = bundlePath() + text("/../link");
        QVERIFY(QFile::link(agentProgram(), link));
        const struct {
            const char* name;
            QByteArray command;
            Status status;
        } rows[] {
            { "the agent", '"' + agent + '"', Status::enabled },
            { "with an argument", '"' + agent + "\" --argument", Status::enabled },
            { "by way of a shell", "sh -c \"sleep 5; exec " + agent + '"', Status::enabled },
            { "by way of a link", QFile::encodeName(link), Status::enabled },
            { "of another copy", QFile::encodeName(other), Status::enabled },
            { "another program", "/bin/true", Status::notFound },
            { "another program's argument", "/bin/echo KestrumAgent", Status::notFound },
            { "one of like name", "/bin/true/KestrumAgent", Status::notFound },
        };
        for (const auto& row : rows) {
            writeEntry(entryOf("Exec=" + row.command + '\n'));
            QCOMPARE_ROW(row.name, service().status(), row.status);
        }
    }

    void anEntryThatThisDesktopSkipsIsNotEnabled()
    {
        const QByteArray here("ubuntu:GNOME");
        const struct {
            const char* name;
            QByteArray desktops;
            QByteArray lines;
            bool isStarted;
            QByteArray linesAfter;
        } rows[] {
            { "only here", here, "OnlyShowIn=KDE;GNOME;\n", true, "OnlyShowIn=KDE;GNOME;\n" },
            { "only elsewhere", here, "OnlyShowIn=KDE;XFCE\n", false, "OnlyShowIn=KDE;XFCE;ubuntu;\n" },
            { "nowhere", here, "OnlyShowIn=\n", false, "OnlyShowIn=ubuntu;\n" },
            { "not here", here, "NotShowIn=KDE;GNOME;\n", false, "NotShowIn=KDE;\n" },
            { "not elsewhere", here, "NotShowIn=KDE;\n", true, "NotShowIn=KDE;\n" },
            { "the more particular name counts", here, "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n", true,
                "OnlyShowIn=ubuntu;\nNotShowIn=GNOME;\n" },
            { "no desktop is known", {}, "OnlyShowIn=KDE;\n", true, "OnlyShowIn=KDE;\n" },
        };
        for (const auto& row : rows) {
            qputenv("XDG_CURRENT_DESKTOP", row.desktops);
            writeEntry(entryOf(exec() + row.lines));
            QCOMPARE_ROW(row.name, service().status(), row.isStarted ? Status::enabled : Status::notFound);
            // Registering makes this desktop start the item. The entry does not change for other desktops.
            (void)service().registerItem();
            QCOMPARE_ROW(row.name, service().status(), Status::enabled);
            QVERIFY2(content().contains('\n' + row.linesAfter), content().constData());
        }
    }

    void anEntryForTheWholeSystemIsSeen()
    {
        write(systemEntry(), entryOf(exec()));
        QCOMPARE(service().status(), Status::enabled);
        write(systemEntry(), entryOf("Exec=/bin/true\n"));
        QCOMPARE(service().status(), Status::notFound);
        write(systemEntry(), entryOf(exec() + "Hidden=true\n"));
        QCOMPARE(service().status(), Status::notRegistered);
    }

    void ofSeveralTheFirstFolderCounts()
    {
        const QByteArray before = qgetenv("XDG_CONFIG_DIRS");
        const QString first = TestHome::root() + text("/first");
        write(systemEntry(), entryOf(exec()));
        qputenv("XDG_CONFIG_DIRS", "relative::" + QFile::encodeName(first) + ':' + before);
        write(first + text("/autostart/com.orvale.kestrum.agent.desktop"),
            entryOf(exec() + "NotShowIn=GNOME;\n"));
        const Status status = service().status();
        QVERIFY(QDir(first).removeRecursively());
        const Status next = service().status();
        qputenv("XDG_CONFIG_DIRS", before);
        QCOMPARE(status, Status::notFound);
        QCOMPARE(next, Status::enabled);
    }

    void theUsersOwnEntryCountsMore()
    {
        write(systemEntry(), entryOf(exec()));
        writeEntry(entryOf(exec() + "Hidden=true\n"));
        QCOMPARE(service().status(), Status::requiresApproval);
        writeEntry(entryOf("Exec=/bin/true\n"));
        QCOMPARE(service().status(), Status::notFound);
    }

    void anEntryForTheWholeSystemIsSwitchedOffAndOn()
    {
        write(systemEntry(), entryOf(exec()));
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(content().contains("\nHidden=true\n"));
        QVERIFY(content().contains("\nX-GNOME-Autostart-enabled=false\n"));
        QCOMPARE(codeOf(service().unregister()), 6);
        // The desktop's own settings can switch the item on again, too.
        const QByteArray text = content();
        writeEntry(
            QByteArray(text).replace("Hidden=true", "Hidden=false").replace("enabled=false", "enabled=true"));
        QCOMPARE(service().status(), Status::enabled);
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        // If the desktop's settings switch the item off, the item needs the user's approval.
        writeEntry(content() + "Hidden=true\n");
        QCOMPARE(service().status(), Status::requiresApproval);
    }

    void switchedOffThereTheUsersOwnKeysStay()
    {
        write(systemEntry(), entryOf(exec()));
        writeEntry(entryOf(exec() + "X-Mine=1\n"));
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(content().contains("X-Mine=1\n"));
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        QVERIFY(content().contains("X-Mine=1\n"));
    }

    void onceThePackageIsGoneNothingIsLeftOfIt()
    {
        write(systemEntry(), entryOf(exec()));
        QVERIFY(service().unregister());
        QVERIFY(QFile::remove(systemEntry()));
        QCOMPARE(service().status(), Status::notRegistered);
        (void)service().unregister();
        QVERIFY(!QFile::exists(entry()));
        QCOMPARE(service().status(), Status::notRegistered);
    }

    void anEntryOfTheSystemThatStartsNothingOfOursIsLeftAlone()
    {
        write(systemEntry(), entryOf("Exec=/bin/true\n"));
        QCOMPARE(codeOf(service().unregister()), 6);
        QVERIFY(!QFile::exists(entry()));
    }

    void rootSwitchesOffNothingForOthers()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        write(systemEntry(), entryOf(exec()));
        QCOMPARE(::seteuid(0), 0);
        const auto result = service().unregister();
        QCOMPARE(::seteuid(65534), 0);
        QCOMPARE(codeOf(result), -EPERM);
        QVERIFY(!QFile::exists(entry()));
    }

private:
    static QString systemFolder()
    {
        return QString::fromUtf8(qgetenv("XDG_CONFIG_DIRS")) + text("/autostart");
    }
    static QString systemEntry() { return systemFolder() + text("/com.orvale.kestrum.agent.desktop"); }
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemDesktopTest)
#include "LoginItemDesktopTest.moc"
