// What desktops' own panels need to show the items. The desktops' programs and shells are stand-ins.

#include "tests/Support/PanelAdditionFixture.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>

using namespace kestrum;

namespace {

constexpr char appletFile[] = "cinnamon/applets/kestrum@orvale.com/metadata.json";
constexpr char widgetFile[] = "plasma/plasmoids/com.orvale.kestrum.panel/metadata.json";

} // namespace

class PanelAdditionTest : public PanelAdditionFixture {
    Q_OBJECT

private Q_SLOTS:
    void theDesktopDecides_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        QTest::addColumn<QByteArray>("session");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* desktop, const char* expected, const char* session = "x11") {
            QTest::addRow("%s, %s", desktop, session)
                << QByteArray(desktop) << QByteArray(session) << QString::fromLatin1(expected);
        };
        row("GNOME", "GNOME");
        row("ubuntu:GNOME", "GNOME", "wayland");
        row("GNOME-Classic:GNOME", "GNOME");
        row("GNOME-Flashback:GNOME", "");
        row("Budgie:GNOME", "");
        row("Unity:Unity7:GNOME", "");
        row("KDE", "Plasma", "wayland");
        row("X-Cinnamon", "Cinnamon");
        row("XFCE", "Xfce");
        row("XFCE", "", "wayland");
        row("MATE", "");
        row("sway", "", "wayland");
        row("", "");
    }
    void theDesktopDecides()
    {
        QFETCH(const QByteArray, desktop);
        QFETCH(const QByteArray, session);
        qputenv("XDG_SESSION_TYPE", session);
        const auto found = part(desktop.constData());
        QTEST(found ? found->desktop() : QString(), "expected");
    }

    // Cinnamon

    void anAppletStandsBesideTheStatusIcons_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("next");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QByteArray>("nextAfter");
        const auto row = [](const char* name, const char* before, const char* next, const char* added,
                             const char* nextAfter) {
            QByteArray after(before);
            after = after == "@as []" ? QByteArray("['") + added + "']"
                                      : after.replace(after.size() - 1, 1, QByteArray(", '") + added + "']");
            QTest::newRow(name) << QByteArray(before) << QByteArray(next) << after << QByteArray(nextAfter);
        };
        row("usual",
            "['panel1:left:0:menu@cinnamon.org:0', 'panel1:right:3:systray@cinnamon.org:3', "
            "'panel1:right:12:calendar@cinnamon.org:12']",
            "13", "panel1:right:3:kestrum@orvale.com:13", "14");
        row("on another panel",
            "['panel1:left:0:menu@cinnamon.org:0', 'panel2:center:1:xapp-status@cinnamon.org:7']", "8",
            "panel2:center:1:kestrum@orvale.com:8", "9");
        row("no status icons", "['panel3:left:0:menu@cinnamon.org:0']", "1",
            "panel3:right:0:kestrum@orvale.com:1", "2");
        row("a count behind the list", "['panel1:right:0:systray@cinnamon.org:40']", "2",
            "panel1:right:0:kestrum@orvale.com:41", "42");
        row("entries without a number, and strange ones",
            "['panel1:right:0:!systray@cinnamon.org', '', ':::::', 'x', \"it's:a:b:c:-1\", "
            "'p:q:r:s:2147483647']",
            "5", "panel1:right:0:kestrum@orvale.com:2147483648", "2147483649");
        row("an empty list", "@as []", "0", "panel1:right:0:kestrum@orvale.com:0", "1");
    }
    void anAppletStandsBesideTheStatusIcons()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const QByteArray, next);
        DesktopTools::install(appletFile);
        m_tools->set("org.cinnamon", "enabled-applets", before);
        m_tools->set("org.cinnamon", "next-applet-id", next);
        const auto cinnamon = part("X-Cinnamon");
        QCOMPARE(looked(*cinnamon), text("missing"));
        QCOMPARE(add(*cinnamon), text("now"));
        QTEST(m_tools->value("org.cinnamon", "enabled-applets"), "after");
        QTEST(m_tools->value("org.cinnamon", "next-applet-id"), "nextAfter");
        // The desktop counts on by itself once it sees the list.
        QCOMPARE(m_tools->written(), (QByteArrayList { "next-applet-id", "enabled-applets" }));
        QCOMPARE(looked(*cinnamon), text("added"));
        QCOMPARE(add(*cinnamon), text("now"));
        QCOMPARE(m_tools->written().size(), 2);

        QCOMPARE(remove(*cinnamon), text("now"));
        QCOMPARE(m_tools->value("org.cinnamon", "enabled-applets"), before);
        QCOMPARE(looked(*cinnamon), text("missing"));
    }

    void anAppletThatIsNotKeptIsAFailure()
    {
        DesktopTools::install(appletFile);
        m_tools->replace(
            "gsettings", "[ \"$1\" = set ] || echo \"org.cinnamon enabled-applets ['p:right:0:a@b:1']\"\n");
        QCOMPARE(add(*part("X-Cinnamon")), text("failed: the desktop's settings have not kept the change"));
    }

    void anAppletThatIsMarkedOrOldIsOurs()
    {
        DesktopTools::install(appletFile);
        m_tools->set("org.cinnamon", "enabled-applets",
            "['panel1:left:0:!kestrum@orvale.com:4', 'panel1:left:1:kestrum@orvale.com', "
            "'panel1:left:2:notkestrum@orvale.com:5', 'kestrum@orvale.com']");
        m_tools->set("org.cinnamon", "next-applet-id", "6");
        const auto cinnamon = part("X-Cinnamon");
        QCOMPARE(looked(*cinnamon), text("added"));
        QCOMPARE(remove(*cinnamon), text("now"));
        QCOMPARE(m_tools->value("org.cinnamon", "enabled-applets"),
            QByteArray("['panel1:left:2:notkestrum@orvale.com:5', 'kestrum@orvale.com']"));
    }

    // Xfce

    void statusIconsBecomeWideAndSquareAgain()
    {
        m_tools->setProperty("/plugins/plugin-1", "applicationsmenu");
        m_tools->setProperty("/plugins/plugin-1/square-icons", "true");
        m_tools->setProperty("/plugins/plugin-6", "systray");
        m_tools->setProperty("/plugins/plugin-6/square-icons", "true");
        m_tools->setProperty("/plugins/plugin-6/known-items", "<<UNSUPPORTED>>");
        m_tools->setProperty("/plugins/plugin-16", "systray");
        const auto xfce = part("XFCE");
        QCOMPARE(looked(*xfce), text("missing"));
        QCOMPARE(add(*xfce), text("now"));
        QCOMPARE(m_tools->property("/plugins/plugin-6/square-icons"), QByteArray("false"));
        QCOMPARE(m_tools->property("/plugins/plugin-1/square-icons"), QByteArray("true"));
        QCOMPARE(m_tools->property("/plugins/plugin-16/square-icons"), QByteArray("absent"));
        QCOMPARE(looked(*xfce), text("added"));
        QCOMPARE(add(*xfce), text("now"));

        QCOMPARE(remove(*xfce), text("now"));
        QCOMPARE(m_tools->property("/plugins/plugin-6/square-icons"), QByteArray("true"));
        QCOMPARE(m_tools->property("/plugins/plugin-6/kestrum-square-icons"), QByteArray("absent"));
        QCOMPARE(m_tools->property("/plugins/plugin-16/square-icons"), QByteArray("absent"));
        QCOMPARE(looked(*xfce), text("missing"));
    }

    void wideStatusIconsAreTheUsersOwn()
    {
        m_tools->setProperty("/plugins/plugin-6", "systray");
        m_tools->setProperty("/plugins/plugin-6/square-icons", "false");
        const auto xfce = part("XFCE");
        QCOMPARE(looked(*xfce), text("unneeded"));
        QCOMPARE(add(*xfce), text("now"));
        QCOMPARE(remove(*xfce), text("now"));
        QCOMPARE(m_tools->property("/plugins/plugin-6/square-icons"), QByteArray("false"));
    }

    void aPanelWithoutStatusIconsSaysSo()
    {
        m_tools->setProperty("/plugins/plugin-1", "clock");
        const auto xfce = part("XFCE");
        QCOMPARE(looked(*xfce), text("uninstalled; the panel has no place for status icons"));
        QCOMPARE(add(*xfce), text("failed: the panel has no place for status icons"));
        m_tools->replace("xfconf-query", "echo no >&2; exit 1\n");
        QCOMPARE(looked(*xfce), text("failed: xfconf-query: no"));
        QCOMPARE(remove(*xfce), text("failed: xfconf-query: no"));
    }

    // Plasma

    void aWidgetIsAddedAndRemovedByTheShell()
    {
        DesktopTools::install(widgetFile);
        startBus();
        PlasmaShell shell;
        QVERIFY(shell.join(m_bus->address()));
        const auto plasma = part("KDE");
        QCOMPARE(looked(*plasma), text("missing"));
        QCOMPARE(add(*plasma), text("now"));
        QVERIFY(shell.hasWidget);
        QCOMPARE(looked(*plasma), text("added"));
        QCOMPARE(remove(*plasma), text("now"));
        QVERIFY(!shell.hasWidget);
        for (const QString& script : shell.scripts)
            QVERIFY(!script.contains(text("WIDGET")));
    }

    void aShellThatRefusesIsQuoted()
    {
        DesktopTools::install(widgetFile);
        startBus();
        PlasmaShell shell;
        QVERIFY(shell.join(m_bus->address()));
        shell.error = text("Widgets are locked");
        const auto plasma = part("KDE");
        for (const QString& told : { looked(*plasma), add(*plasma), remove(*plasma) })
            QCOMPARE(told, text("failed: plasmashell: Widgets are locked"));
        shell.error.clear();
        shell.answer = text("no panel");
        QCOMPARE(looked(*plasma), text("unneeded"));
        QCOMPARE(add(*plasma), text("failed: this desktop has no panel"));
        shell.answer = text("absent");
        QCOMPARE(add(*plasma), text("failed: plasmashell has not changed its panel"));
        shell.answer = text("<b>");
        QCOMPARE(looked(*plasma), text("failed: plasmashell's answer is not understood"));
    }

    void withoutAShellNothingIsAdded()
    {
        const auto plasma = part("KDE");
        QCOMPARE(looked(*plasma), text("uninstalled"));
        DesktopTools::install(widgetFile);
        QCOMPARE(looked(*plasma), text("failed: the session bus does not answer"));
        startBus();
        QVERIFY(add(*plasma).startsWith(text("failed: plasmashell: ")));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, PanelAdditionTest)
#include "PanelAdditionTest.moc"
