// Which system monitor a popover leads to. The test's folders hold desktop entries and programs.

#include "KestrumAgent/Popover/SystemMonitorApp.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class SystemMonitorAppTest : public QObject {
    Q_OBJECT

    std::unique_ptr<FileTree> m_tree;
    QByteArray m_path;

    QByteArray program(const char* name) const
    {
        return m_tree->path(QStringLiteral("bin/") + QString::fromLatin1(name)).toUtf8();
    }
    void installProgram(const char* name) const
    {
        const QString path = QString::fromUtf8(program(name));
        m_tree->write(QStringLiteral("bin/") + QString::fromLatin1(name), "#!/bin/sh\n");
        QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    /// Installs a desktop entry, and the program that it names first.
    void install(const char* id, const QByteArray& exec, const QByteArray& more = {}) const
    {
        m_tree->write(QStringLiteral("share/applications/%1.desktop").arg(QLatin1StringView(id)),
            "[Desktop Entry]\nType=Application\nName=Some\nExec=" + exec + '\n' + more);
        installProgram(exec.split(' ').first().constData());
    }
    static QByteArrayList found(const char* chosen = "", const char* desktops = "")
    {
        return SystemMonitorApp::command(
            QString::fromLatin1(chosen), QString::fromLatin1(desktops).split(u':'));
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<FileTree>();
        m_path = qgetenv("PATH");
        m_tree->write(QStringLiteral("share/applications/none"), "");
        m_tree->write(QStringLiteral("bin/none"), "");
        qputenv("PATH", m_tree->path(QStringLiteral("bin")).toUtf8());
        qputenv("XDG_DATA_HOME", m_tree->path(QStringLiteral("share")).toUtf8());
        qputenv("XDG_DATA_DIRS", m_tree->path(QStringLiteral("share")).toUtf8());
    }
    void cleanup() { qputenv("PATH", m_path); }

    void withoutAnyThereIsNone() { QCOMPARE(found("", "GNOME"), QByteArrayList()); }

    void eachDesktopHasItsOwn_data()
    {
        QTest::addColumn<QByteArrayList>("entries");
        const QByteArrayList oldAndNew { "gnome-system-monitor", "org.gnome.SystemMonitor" };
        QTest::newRow("GNOME") << oldAndNew;
        QTest::newRow("X-Cinnamon") << oldAndNew;
        QTest::newRow("Budgie") << oldAndNew;
        QTest::newRow("XFCE") << QByteArrayList { "xfce4-taskmanager" };
        QTest::newRow("MATE") << QByteArrayList { "mate-system-monitor" };
        QTest::newRow("LXQt") << QByteArrayList { "qps" };
    }
    void eachDesktopHasItsOwn()
    {
        QFETCH(const QByteArrayList, entries);
        for (const QByteArray& entry : entries) {
            init();
            install("io.missioncenter.MissionCenter", "missioncenter");
            install(entry.constData(), "own-monitor");
            QCOMPARE(found("", QTest::currentDataTag()), QByteArrayList { program("own-monitor") });
        }
    }

    void otherDesktopsProgramsAreNotAsGood()
    {
        install("gnome-system-monitor", "gnome-system-monitor");
        install("org.kde.plasma-systemmonitor", "plasma-systemmonitor");
        install("io.missioncenter.MissionCenter", "missioncenter");
        QCOMPARE(found("", "ubuntu:GNOME"), QByteArrayList { program("gnome-system-monitor") });
        QCOMPARE(found("", "KDE"), QByteArrayList { program("plasma-systemmonitor") });
        // A desktop whose own one is not installed, and one without its own.
        QCOMPARE(found("", "XFCE"), QByteArrayList { program("missioncenter") });
        QCOMPARE(found("", "sway"), QByteArrayList { program("missioncenter") });
    }

    void theUsersChoiceIsAnEntryOrACommand()
    {
        install("org.kde.plasma-systemmonitor", "plasma-systemmonitor");
        install("net.nokyan.Resources", "resources --new %U %% -x");
        installProgram("top-like");
        const QByteArrayList resources { program("resources"), "--new", "%", "-x" };
        QCOMPARE(found("net.nokyan.Resources", "KDE"), resources);
        QCOMPARE(found("net.nokyan.Resources.desktop", "KDE"), resources);
        QCOMPARE(found("top-like --all 'two words'", "KDE"),
            (QByteArrayList { program("top-like"), "--all", "two words" }));
        // A choice that is not installed, or cannot be read, is none.
        for (const char* none : { "missing", "missing --all", "'", "../../etc/passwd" })
            QCOMPARE(found(none, "KDE"), QByteArrayList { program("plasma-systemmonitor") });
    }

    void whatRunsInATerminalNeedsOne()
    {
        install("htop", "htop", "Terminal=true\n");
        QCOMPARE(found(), QByteArrayList());
        installProgram("x-terminal-emulator");
        QCOMPARE(found(), (QByteArrayList { program("x-terminal-emulator"), "-e", program("htop") }));
    }

    void eachTerminalIsToldInItsOwnWayWhatToRun_data()
    {
        QTest::addColumn<QByteArrayList>("before");
        const auto add = [](const char* terminal, const QByteArrayList& before = {}) {
            QTest::newRow(terminal) << before;
        };
        add("kitty");
        add("foot");
        add("wezterm", { "start" });
        add("ptyxis", { "--" });
        add("gnome-terminal", { "--" });
        add("mate-terminal", { "-x" });
        for (const char* terminal : { "kgx", "lxterminal", "qterminal", "konsole", "xterm" })
            add(terminal, { "-e" });
    }
    void eachTerminalIsToldInItsOwnWayWhatToRun()
    {
        QFETCH(const QByteArrayList, before);
        install("htop", "htop", "Terminal=true\n");
        installProgram(QTest::currentDataTag());
        QCOMPARE(found(),
            QByteArrayList { program(QTest::currentDataTag()) } + before
                + QByteArrayList { program("htop") });
    }

    void anEntryThatIsSwitchedOffOrMissesItsProgramIsNone()
    {
        install("net.nokyan.Resources", "resources", "TryExec=not-there\n");
        QCOMPARE(found(), QByteArrayList());
        install("net.nokyan.Resources", "resources", "Hidden=true\n");
        QCOMPARE(found(), QByteArrayList());
        install("net.nokyan.Resources", "resources");
        QVERIFY(!found().isEmpty());
        QVERIFY(QFile::remove(QString::fromUtf8(program("resources"))));
        QCOMPARE(found(), QByteArrayList());
    }

    void itIsStartedWithItsArguments()
    {
        installProgram("monitor");
        m_tree->write(QStringLiteral("bin/monitor"), "#!/bin/sh\necho \"$*\" > \"$0.log\"\n");
        SystemMonitorApp app;
        m_tree->write(
            QStringLiteral("share/applications/btop.desktop"), "[Desktop Entry]\nExec=monitor all\n");
        app.look();
        QVERIFY(app.isThere());
        app.open({});
        QFile log(QString::fromUtf8(program("monitor.log")));
        QTRY_VERIFY_WITH_TIMEOUT(log.size() > 1, 10'000);
        QVERIFY(log.open(QIODevice::ReadOnly));
        QCOMPARE(log.readAll(), QByteArray("all\n"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SystemMonitorAppTest)
#include "SystemMonitorAppTest.moc"
