#include "tests/Support/AppsFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;

class AppGroupingChangeTest : public QObject {
    Q_OBJECT
private:
    static constexpr int pts = FakeProcesses::pseudoTerminal;
    using Names = AppsFixture::Names;

    std::optional<AppsFixture> m_apps;

private Q_SLOTS:
    void init() { m_apps.emplace(); }

    void processIsLookedAtAgainWhenItBecomesAnother()
    {
        // Its newest process is much later: none of the others has just started.
        m_apps->add({ .pid = 9000, .start = 900'000 });
        m_apps->add({ .pid = 70, .command = "bash", .program = "/usr/bin/bash", .terminal = pts });
        m_apps->add({ .pid = 71,
            .parent = 70,
            .command = "cc1",
            .program = "/usr/bin/cc1",
            .job = 70,
            .terminal = pts });
        m_apps->add({ .pid = 80, .command = "sh", .program = "/usr/bin/thunar" });
        GroupedMachine machine = m_apps->machine();
        QCOMPARE(machine.names().value(71), QStringLiteral("bash"));
        // Without a new command nothing is read again.
        m_apps->add({ .pid = 80, .command = "sh", .program = "/usr/bin/dolphin" });
        QCOMPARE(machine.names().value(80), QStringLiteral("Thunar File Manager"));

        m_apps->add({ .pid = 70, .command = "make", .program = "/usr/bin/make", .terminal = pts });
        m_apps->add({ .pid = 80, .command = "dolphin", .program = "/usr/bin/dolphin" });
        Names names = machine.names();
        QCOMPARE(names.value(70), QStringLiteral("make"));
        QCOMPARE(names.value(71), QStringLiteral("make"));
        QCOMPARE(names.value(80), QStringLiteral("Dolphin"));

        // Another job of the same command; and the same pid with another start.
        m_apps->add({ .pid = 71, .parent = 1, .command = "cc1", .program = "/usr/bin/cc1", .terminal = pts });
        m_apps->add({ .pid = 80, .command = "dolphin", .program = "/usr/bin/thunar", .start = 5000 });
        names = machine.names();
        QCOMPARE(names.value(71), QStringLiteral("cc1"));
        QCOMPARE(names.value(80), QStringLiteral("Thunar File Manager"));
    }

    void appThatIsMovedIntoItsGroupAfterItsStartIsFoundThere()
    {
        const QByteArray shell
            = "/user.slice/user@1000.service/session.slice/org.gnome.Shell@wayland.service";
        FakeProcess app { .pid = 50, .command = "firefox-esr", .group = shell };
        GroupedMachine machine = m_apps->machine({ app });
        QCOMPARE(machine.names().value(50), QStringLiteral("GNOME Shell"));
        // A list that has just been opened looks again early.
        machine.pass(500ms);
        QCOMPARE(machine.names().value(50), QStringLiteral("GNOME Shell"));
        machine.pass(1s);
        app.group = "/user.slice/user@1000.service/app.slice/app-gnome-firefox\\x2desr-50.scope";
        m_apps->add(app);
        QCOMPARE(machine.names().value(50), QStringLiteral("Firefox ESR"));
        // From two seconds on, it is not looked at again.
        machine.pass(600ms);
        QCOMPARE(machine.names().value(50), QStringLiteral("Firefox ESR"));
        app.group = shell;
        m_apps->add(app);
        QCOMPARE(machine.names().value(50), QStringLiteral("Firefox ESR"));
    }

    void firstProcessThatBecomesAnotherNamesTheWholeGroup()
    {
        const QByteArray group = "/user.slice/user@1000.service/app.slice/app-rofi-7.scope";
        FakeProcess first { .pid = 50, .command = "rofi", .program = "/usr/bin/rofi", .group = group };
        GroupedMachine machine = m_apps->machine(
            { first, { .pid = 51, .parent = 50, .program = "/usr/bin/x", .group = group } });
        QCOMPARE(machine.names().value(51), QStringLiteral("Rofi"));
        first.command = "thunar";
        first.program = "/usr/bin/thunar";
        m_apps->add(first);
        QCOMPARE(machine.names(),
            (Names { { 50, QStringLiteral("Thunar File Manager") },
                { 51, QStringLiteral("Thunar File Manager") } }));
    }

    void namesFollowTheLanguageAndTheEntries()
    {
        m_apps->add({ .pid = 50, .group = "/user.slice/user@1000.service/org.gnome.Shell@wayland.service" });
        m_apps->add({ .pid = 60, .group = "/docker-0123456789.scope" });
        m_apps->add({ .pid = 70, .program = "/usr/bin/gimp" });
        GroupedMachine machine = m_apps->machine();
        QCOMPARE(machine.names(),
            (Names { { 50, QStringLiteral("GNOME Shell") }, { 60, QStringLiteral("Container 012345") },
                { 70, QStringLiteral("gimp") } }));
        const QString id = machine.id(50);
        const QString english = QStringLiteral("en");
        QCOMPARE(machine.names({ english, QStringLiteral("Box") }).value(60), QStringLiteral("Box 012345"));
        m_apps->addEntry("gimp", "Name=GNU Image\nExec=gimp\n");
        machine.pass(AppNames::lookPause);
        QCOMPARE(machine.names({ english, QStringLiteral("Box") }).value(70), QStringLiteral("GNU Image"));
        QCOMPARE(machine.names({ QStringLiteral("de"), QStringLiteral("Box") }).value(50),
            QStringLiteral("GNOME-Oberfläche"));
        QCOMPARE(machine.id(50), id);
    }

    void oddNamesAreShownOnOneLineAndAreNeverEmpty()
    {
        m_apps->addEntry("odd", "Name=\xC2\xA0\nExec=odd\n");
        m_apps->add({ .pid = 50, .command = "a\nb" });
        m_apps->add({ .pid = 60, .command = "" });
        m_apps->add({ .pid = 70, .command = "odd", .program = "/usr/bin/odd" });
        const Names names = m_apps->machine().names();
        QCOMPARE(names.value(50), QStringLiteral("a b"));
        QCOMPARE(names.value(60), QStringLiteral("?"));
        QCOMPARE(names.value(70), QStringLiteral("?"));
    }

    void countlessShortLivedAppsAreForgotten()
    {
        GroupedMachine machine = m_apps->machine();
        static constexpr int count = 60;
        std::size_t most = 0;
        for (int round = 0; round < 10; ++round) {
            for (int i = 0; i < count; ++i)
                m_apps->add({ .pid = i + 10, .command = "p" + QByteArray::number(round * count + i) });
            QCOMPARE(machine.names().value(10), QStringLiteral("p%1").arg(round * count));
            most = std::max(most, machine.appCount());
        }
        QVERIFY2(most < 8 * count, QByteArray::number(most).constData());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppGroupingChangeTest)
#include "AppGroupingChangeTest.moc"
