// The extension that GNOME's shell needs to show the items. The shell and the program for its settings are stand-ins.

#include "Platform/Desktop/DesktopSettings.h"
#include "tests/Support/PanelAdditionFixture.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>

using namespace kestrum;

namespace {

constexpr char extensionFile[] = "gnome-shell/extensions/kestrum@orvale.com/metadata.json";

} // namespace

class GnomePanelAdditionTest : public PanelAdditionFixture {
    Q_OBJECT

private Q_SLOTS:
    // Lists of texts in GLib's form

    void listsKeepEveryEntry_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("list");
        QTest::newRow("none") << QByteArray("@as []") << QStringList();
        QTest::newRow("no blanks") << QByteArray("['a','b']") << words("a b");
        QTest::newRow("both kinds of quotes")
            << QByteArray("[\"it's\", 'say \"so\"', 'it\\'s \"so\"']")
            << QStringList { text("it's"), text("say \"so\""), text("it's \"so\"") };
        QTest::newRow("commas, brackets and line ends") << QByteArray(
            "['a, b', '[c]', 'd\\ne\\\\']") << QStringList { text("a, b"), text("[c]"), text("d\ne\\") };
        QTest::newRow("other scripts") << QByteArray("['größe', '\\u00e9', '時計']")
                                       << QStringList { text("größe"), text("é"), text("時計") };
        QTest::newRow("an empty text") << QByteArray("['']") << QStringList { QString() };
    }
    void listsKeepEveryEntry()
    {
        QFETCH(const QByteArray, text);
        QFETCH(const QStringList, list);
        QCOMPARE(DesktopSettings::list(text), std::optional(list));
        QCOMPARE(DesktopSettings::list(DesktopSettings::text(list)), std::optional(list));
    }

    void whatIsNoListIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text :
            { "", "[", "['a'", "['a',]x", "true", "'a'", "[1, 2]", "[('a', 'b')]", "nothing" })
            QTest::newRow(*text ? text : "empty") << QByteArray(text);
    }
    void whatIsNoListIsRefused()
    {
        QFETCH(const QByteArray, text);
        QVERIFY(!DesktopSettings::list(text));
        // And is left alone.
        DesktopTools::install(extensionFile);
        m_tools->set("org.gnome.shell", "enabled-extensions", text);
        const auto gnome = part("GNOME");
        QCOMPARE(add(*gnome), QStringLiteral("failed: the desktop's lists of extensions are not understood"));
        QCOMPARE(
            remove(*gnome), QStringLiteral("failed: the desktop's lists of extensions are not understood"));
        QCOMPARE(m_tools->value("org.gnome.shell", "enabled-extensions"), text);
    }

    // GNOME

    void anExtensionThatIsNotInstalledIsNotAdded()
    {
        const auto gnome = part("GNOME");
        QCOMPARE(looked(*gnome), text("uninstalled"));
        QVERIFY(add(*gnome).startsWith(text("failed: the extension kestrum@orvale.com is not installed; ")));
        QCOMPARE(m_tools->written(), QByteArrayList());
    }

    void anExtensionIsFoundInEveryDataDirectory()
    {
        const FileTree data;
        data.write(text("b/%1").arg(QLatin1StringView(extensionFile)), "{}");
        qputenv("XDG_DATA_DIRS", (data.path(text("a")) + u':' + data.path(text("b"))).toUtf8());
        QCOMPARE(looked(*part("GNOME")), text("missing"));
    }

    void aShellThatKnowsTheExtensionSwitchesItOn()
    {
        DesktopTools::install(extensionFile);
        startBus();
        GnomeShell shell;
        shell.info.insert(text("state"), 2.0);
        QVERIFY(shell.join(m_bus->address()));
        const auto gnome = part("GNOME");
        QCOMPARE(add(*gnome), text("now"));
        QCOMPARE(shell.enabled, words("kestrum@orvale.com"));
        QCOMPARE(m_tools->written(), QByteArrayList()); // the shell writes itself
    }

    void anExtensionThatTheShellCannotRunIsAFailure_data()
    {
        QTest::addColumn<double>("state");
        QTest::addColumn<QString>("expected");
        QTest::newRow("error") << 3.0 << text("failed: the shell cannot run it: no such thing");
        QTest::newRow("out of date") << 4.0 << text("failed: it is not made for this version of the shell");
        QTest::newRow("still off") << 2.0 << text("at the next login");
    }
    void anExtensionThatTheShellCannotRunIsAFailure()
    {
        QFETCH(const double, state);
        DesktopTools::install(extensionFile);
        startBus();
        GnomeShell shell;
        shell.info = { { text("state"), 2.0 }, { text("error"), text("no such thing") } };
        shell.stateOfEnabled = state;
        QVERIFY(shell.join(m_bus->address()));
        QTEST(add(*part("GNOME")), "expected");
    }

    void anExtensionThatIsNewToTheShellIsThereAtTheNextLogin_data()
    {
        QTest::addColumn<bool>("hasShell");
        QTest::newRow("a shell that does not know it") << true;
        QTest::newRow("no shell on the bus") << false;
    }
    void anExtensionThatIsNewToTheShellIsThereAtTheNextLogin()
    {
        QFETCH(const bool, hasShell);
        DesktopTools::install(extensionFile);
        m_tools->set("org.gnome.shell", "enabled-extensions", "['a@b', \"it's@c\"]");
        m_tools->set("org.gnome.shell", "disabled-extensions", "['kestrum@orvale.com', 'd@e']");
        startBus();
        GnomeShell shell;
        if (hasShell)
            QVERIFY(shell.join(m_bus->address()));
        const auto gnome = part("GNOME");
        QCOMPARE(looked(*gnome), text("missing"));
        QCOMPARE(add(*gnome), text("at the next login"));
        QCOMPARE(m_tools->value("org.gnome.shell", "enabled-extensions"),
            QByteArray("['a@b', \"it's@c\", 'kestrum@orvale.com']"));
        QCOMPARE(m_tools->value("org.gnome.shell", "disabled-extensions"), QByteArray("['d@e']"));
        QCOMPARE(looked(*gnome), text("added, pending"));
        // A second time changes nothing.
        const auto written = m_tools->written();
        QCOMPARE(add(*gnome), text("at the next login"));
        QCOMPARE(m_tools->written(), written);

        QCOMPARE(remove(*gnome), text("now"));
        QCOMPARE(m_tools->value("org.gnome.shell", "enabled-extensions"), QByteArray("['a@b', \"it's@c\"]"));
        QCOMPARE(m_tools->value("org.gnome.shell", "disabled-extensions"), QByteArray("['d@e']"));
        QCOMPARE(looked(*gnome), text("missing"));
    }

    void theShellTellsHowTheExtensionIs_data()
    {
        QTest::addColumn<double>("state");
        QTest::addColumn<QString>("expected");
        QTest::newRow("active") << 1.0 << text("added");
        QTest::newRow("off") << 2.0 << text("added, pending");
        QTest::newRow("error") << 3.0 << text("added; the shell cannot run it: no such thing");
        QTest::newRow("out of date") << 4.0 << text("added; it is not made for this version of the shell");
    }
    void theShellTellsHowTheExtensionIs()
    {
        QFETCH(const double, state);
        DesktopTools::install(extensionFile);
        m_tools->set("org.gnome.shell", "enabled-extensions", "['kestrum@orvale.com']");
        startBus();
        GnomeShell shell;
        shell.info = { { text("state"), state }, { text("error"), text("no such thing") } };
        QVERIFY(shell.join(m_bus->address()));
        QTEST(looked(*part("GNOME")), "expected");
    }

    void theSwitchForAllExtensionsIsTheUsers()
    {
        DesktopTools::install(extensionFile);
        m_tools->set("org.gnome.shell", "disable-user-extensions", "true");
        const auto gnome = part("GNOME");
        const QString reason = text("extensions are switched off as a whole in this desktop's settings");
        QCOMPARE(looked(*gnome), text("missing; ") + reason);
        QCOMPARE(add(*gnome), text("failed: ") + reason);
        QCOMPARE(m_tools->written(), QByteArrayList());
    }

    void settingsThatCannotBeReadAreNotWritten_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a message") << QByteArray("echo 'no backend' >&2; exit 1\n") << text("no backend");
        QTest::newRow("no message") << QByteArray("exit 1\n") << text("it failed without a message");
        QTest::newRow("too much") << QByteArray("cat /dev/zero\n") << text("it prints too much");
        QTest::newRow("too many messages") << QByteArray("cat /dev/zero >&2\n") << text("it prints too much");
        QTest::newRow("a crash") << QByteArray("kill -9 $$\n") << text("it failed without a message");
    }
    void settingsThatCannotBeReadAreNotWritten()
    {
        QFETCH(const QByteArray, script);
        QFETCH(const QString, reason);
        DesktopTools::install(extensionFile);
        m_tools->replace("gsettings", "echo \"$1\" >>\"${0%/*}/written\"\n" + script);
        const auto gnome = part("GNOME");
        QCOMPARE(looked(*gnome), text("failed: gsettings: ") + reason);
        QCOMPARE(add(*gnome), text("failed: gsettings: ") + reason);
        QCOMPARE(m_tools->written(), QByteArrayList(2, "list-recursively"));
    }

    void valuesThatAreNotKeptAreAFailure()
    {
        DesktopTools::install(extensionFile);
        m_tools->replace(
            "gsettings", "[ \"$1\" = set ] || echo \"org.gnome.shell enabled-extensions ['a@b']\"\n");
        QCOMPARE(add(*part("GNOME")), text("failed: the desktop's settings have not kept the change"));
    }

    void aProgramThatIsNotInstalledIsNamed()
    {
        DesktopTools::install(extensionFile);
        const QByteArray before = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        const QString found = looked(*part("GNOME"));
        qputenv("PATH", before);
        QCOMPARE(found, text("failed: gsettings: it is not installed"));
    }

    void aPartThatGoesAnswersNoMore()
    {
        DesktopTools::install(extensionFile);
        m_tools->replace("gsettings", "echo here >\"${0%/*}/written\"\nexec sleep 60\n");
        auto gnome = part("GNOME");
        bool isAnswered = false;
        gnome->look([&](const auto&) { isAnswered = true; });
        QTRY_VERIFY(!m_tools->written().isEmpty());
        QElapsedTimer time;
        time.start();
        gnome.reset();
        QVERIFY(time.elapsed() < Programs::withinASecond);
        QTest::qWait(50);
        QVERIFY(!isAnswered);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, GnomePanelAdditionTest)
#include "GnomePanelAdditionTest.moc"
