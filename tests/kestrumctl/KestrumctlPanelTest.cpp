// The verb that puts the items into the desktop's panel. The desktop's programs, its shell and the agent are stand-ins.

#include "KestrumShared/Agent/PanelContract.h"
#include "tests/Support/DesktopShells.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/SessionBus.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

/// Plays the agent, as far as it tells what shows the items.
class ShownAgent final : public DesktopShell {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.orvale.kestrum.Panel1")
    Q_PROPERTY(QString ShownBy MEMBER shownBy)
public:
    ShownAgent()
        : DesktopShell("shown-agent")
    {
    }
    bool join(const QString& address)
    {
        return DesktopShell::join(address, PanelContract::service.data(), PanelContract::path.data());
    }
    QString shownBy = QStringLiteral("gnome-shell");
};

class KestrumctlPanelTest : public QObject {
    Q_OBJECT

    std::unique_ptr<DesktopTools> m_tools;

    /// Runs the tool while this process answers as the desktop.
    static Programs::Ended run(const char* line, const char* desktop)
    {
        QProcess process;
        process.setProcessEnvironment(Programs::environment({ { "XDG_CURRENT_DESKTOP", desktop } }));
        process.start(Kestrumctl::path(), words("panel") + words(line));
        (void)QTest::qWaitFor(
            [&process] { return process.state() == QProcess::NotRunning; }, Programs::patience);
        return Programs::ended(process);
    }
    static Programs::Ended noted(const QByteArray& output, const QByteArray& note)
    {
        return { 0, output, note + '\n' };
    }

private Q_SLOTS:
    void init()
    {
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_SESSION_TYPE");
        m_tools = std::make_unique<DesktopTools>();
        m_tools->set("org.gnome.shell", "enabled-extensions", "['a@b']");
    }
    void cleanup()
    {
        DesktopTools::clear();
        m_tools.reset();
    }

    void statusTellsWhatIsAndWhatCouldBe()
    {
        QCOMPARE(run("status", "GNOME"),
            noted("shownBy\t-\ndesktop\tGNOME\npart\tthe extension kestrum@orvale.com\nstate\tuninstalled\n",
                "the extension kestrum@orvale.com is not installed; Kestrum's own package has it, and its "
                "sources "
                "in the folder bridges"));
        DesktopTools::install("gnome-shell/extensions/kestrum@orvale.com/metadata.json");
        QVERIFY(run("status", "GNOME").output.endsWith("state\tmissing\n"));

        const SessionBus bus(SessionBus::Services::none);
        ShownAgent agent;
        QVERIFY(agent.join(bus.address()));
        GnomeShell shell;
        QVERIFY(shell.join(bus.address()));
        shell.info.insert(text("state"), 1.0);
        m_tools->set("org.gnome.shell", "enabled-extensions", "['a@b', 'kestrum@orvale.com']");
        QCOMPARE(run("status", "GNOME"),
            done("shownBy\tgnome-shell\ndesktop\tGNOME\npart\tthe extension "
                 "kestrum@orvale.com\nstate\tadded\n"));
        shell.info = { { text("state"), 3.0 }, { text("error"), text("a\nb") } };
        QCOMPARE(run("status", "GNOME").errors, QByteArray("the shell cannot run it: a\\nb\n"));
        // A host's name is another program's text.
        agent.shownBy = text("x\nstate\tadded");
        QVERIFY(run("status", "sway").output.startsWith("shownBy\tx\\nstate\\tadded\ndesktop\t-\n"));
        // Where nothing shows the items, it says what would.
        agent.shownBy = text("nothing");
        QVERIFY(run("status", "sway").errors.contains("a panel with status icons would show them"));
    }

    void addAndRemoveSayWhenTheyTakeEffect()
    {
        DesktopTools::install("gnome-shell/extensions/kestrum@orvale.com/metadata.json");
        QCOMPARE(run("add", "GNOME"), noted({}, "the panel shows it from the next login on"));
        QCOMPARE(m_tools->value("org.gnome.shell", "enabled-extensions"),
            QByteArray("['a@b', 'kestrum@orvale.com']"));
        QVERIFY(run("status", "GNOME").output.endsWith("state\tadded\n"));
        QCOMPARE(run("remove", "GNOME"), done());
        QCOMPARE(m_tools->value("org.gnome.shell", "enabled-extensions"), QByteArray("['a@b']"));
    }

    void whatCannotBeAddedIsAFailure()
    {
        QVERIFY_FAILED(run("add", "GNOME"), 1, "the extension kestrum@orvale.com is not installed");
        QVERIFY_FAILED(run("remove", "X-Cinnamon"), 1, "gsettings: No such schema \"org.cinnamon\"");
        QVERIFY_FAILED(run("remove", "KDE"), 1, "the session bus does not answer");
        QVERIFY_FAILED(run("status", "XFCE"), 1, "xfconf-query: ");
    }

    void otherDesktopsNeedNothing()
    {
        QCOMPARE(run("status", "MATE"), done("shownBy\t-\ndesktop\t-\npart\t-\nstate\tunneeded\n"));
        QCOMPARE(run("add", "MATE"), noted({}, "this desktop's panel needs nothing"));
        QCOMPARE(run("remove", ""), noted({}, "this desktop's panel needs nothing"));
        QCOMPARE(m_tools->written(), QByteArrayList());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlPanelTest)
#include "KestrumctlPanelTest.moc"
