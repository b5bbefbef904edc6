#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemTest.h"
#include "tests/Support/Rows.h"

#include <unistd.h>

using namespace kestrum;

class LoginItemServiceTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void withoutAnEntryItIsNotRegistered() { QCOMPARE(service().status(), Status::notRegistered); }

    void registeringWritesAnEntryThatStartsTheProgram()
    {
        QCOMPARE(service().entryPath(), entry());
        QCOMPARE(codeOf(service().registerItem()), 0);
        QCOMPARE(service().status(), Status::enabled);
        const QByteArray program = QFile::encodeName(agentProgram());
        QCOMPARE(value("Type"), QByteArray("Application"));
        QCOMPARE(value("Name"), QByteArray("Kestrum"));
        QCOMPARE(value("Exec"), '"' + program + '"');
        QCOMPARE(value("TryExec"), program);
        QCOMPARE(value("Hidden"), QByteArray("false"));
        QCOMPARE(value("X-GNOME-Autostart-enabled"), QByteArray("true"));
    }

    void unregisteringTakesTheEntryAway()
    {
        QCOMPARE(codeOf(service().registerItem()), 0);
        QCOMPARE(codeOf(service().unregister()), 0);
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(QDir(folder()).isEmpty());
    }

    void desktopsSwitchItOffInTwoWays()
    {
        for (const char* lines : { "Hidden=true\n", "X-GNOME-Autostart-enabled=false\n",
                 "Hidden=true\nX-GNOME-Autostart-enabled=false\n",
                 "Hidden=false\nX-GNOME-Autostart-enabled=false\n", "Hidden=1\n" }) {
            writeEntry(entryOf(exec() + lines));
            QCOMPARE_ROW(lines, service().status(), Status::requiresApproval);
            QCOMPARE_ROW(lines, codeOf(service().registerItem()), 0);
            QCOMPARE_ROW(lines, service().status(), Status::enabled);
            QCOMPARE_ROW(lines, value("Hidden"), QByteArray("false"));
            QCOMPARE_ROW(lines, value("X-GNOME-Autostart-enabled"), QByteArray("true"));
        }
    }

    void anEntryWithoutEitherKeyIsEnabled()
    {
        writeEntry(entryOf(exec()));
        QCOMPARE(service().status(), Status::enabled);
    }

    void anEntryWhoseProgramIsGoneIsNotFound()
    {
        const struct {
            const char* name;
            QByteArray lines;
        } rows[] {
            { "Exec", "Exec=/nowhere/agent\n" },
            { "TryExec", exec() + "TryExec=/nowhere/agent\n" },
            { "a name that no folder holds", "Exec=no-such-program-of-anybody\n" },
            { "a folder", "Exec=/\n" },
            { "a file that cannot be run", "Exec=/etc/passwd\n" },
            { "switched off, too", "Exec=/nowhere/agent\nHidden=true\n" },
            { "nothing", {} },
            { "an open quote", "Exec=\"" + QFile::encodeName(agentProgram()) + '\n' },
        };
        for (const auto& row : rows) {
            writeEntry(entryOf(row.lines));
            QCOMPARE_ROW(row.name, service().status(), Status::notFound);
            QCOMPARE_ROW(row.name, codeOf(service().registerItem()), 0);
            QCOMPARE_ROW(row.name, service().status(), Status::enabled);
        }
    }

    void aProgramOnTheSearchPathIsFound()
    {
        writeEntry(entryOf("Exec=sh -c \"exec " + QFile::encodeName(agentProgram()) + "\"\nTryExec=sh\n"));
        QCOMPARE(service().status(), Status::enabled);
    }

    void anotherKindOfEntryStartsNothing()
    {
        writeEntry(entryOf(exec()).replace("Application", "Link"));
        QCOMPARE(service().status(), Status::notFound);
    }

    void registeringTwiceIsCode12AndWritesNothing()
    {
        QCOMPARE(codeOf(service().registerItem()), 0);
        struct stat before;
        QCOMPARE(::stat(QFile::encodeName(entry()).constData(), &before), 0);
        const auto again = service().registerItem();
        QCOMPARE(codeOf(again), 12);
        QVERIFY2(again.failureText().contains(entry()), qPrintable(again.failureText()));
        struct stat after;
        QCOMPARE(::stat(QFile::encodeName(entry()).constData(), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
    }

    void anEntryOfAnotherProgramIsReplaced()
    {
        writeEntry(entryOf("Exec=/bin/true\n"));
        QCOMPARE(service().status(), Status::notFound);
        QCOMPARE(codeOf(service().registerItem()), 0);
        QCOMPARE(value("Exec"), '"' + QFile::encodeName(agentProgram()) + '"');
    }

    void withNothingToRemoveItIsCode6()
    {
        const auto withoutFolder = service().unregister();
        QCOMPARE(codeOf(withoutFolder), 6);
        QVERIFY2(withoutFolder.failureText().contains(entry()), qPrintable(withoutFolder.failureText()));
        QVERIFY(QDir().mkpath(folder()));
        QCOMPARE(codeOf(service().unregister()), 6);
    }

    void aPathThroughWhichOthersGetInIsCode3()
    {
        const QString program = agentProgram();
        const QString own = QFileInfo(program).path();
        const QString above = bundlePath();
        const struct {
            const char* name;
            QString path;
            int mode;
            const char* reason;
        } rows[] {
            { "everybody writes the program", program, 0757, "everybody may change it (mode 0757)" },
            { "nobody runs the program", program, 0644, "it cannot be run" },
            { "everybody writes into its folder", own, 0707, "everybody may change it (mode 0707)" },
            { "everybody writes into one above", above, 0707, "everybody may change it (mode 0707)" },
            { "a sticky folder, where all keep their own", own, 01707, nullptr },
            { "all may read", above, 0755, nullptr },
        };
        for (const auto& row : rows) {
            const auto result = registeredWith(row.path, row.mode);
            QCOMPARE_ROW(row.name, codeOf(result), row.reason ? 3 : 0);
            QCOMPARE_ROW(row.name, result.failureText(),
                row.reason ? row.path + text(": ") + text(row.reason) : QString());
            QCOMPARE_ROW(row.name, QFile::exists(folder()), !row.reason);
            LoginItemFixture::clear();
        }
    }

    void throughALinkOthersMayGetInAtEitherEnd()
    {
        const FileTree tree;
        const QString open = tree.path(text("open"));
        const QString closed = tree.path(text("closed"));
        for (const QString& folder : { open, closed }) {
            LoginItemFixture::makeProgram(folder + text("/program"));
            const QString other = folder == open ? closed : open;
            QVERIFY(QDir().mkpath(other));
            QVERIFY(QFile::link(folder + text("/program"), other + text("/link")));
        }
        const auto codeOfItem = [](const QString& program) {
            return codeOf(LoginItemService(text("x"), program, text("X")).registerItem());
        };
        QCOMPARE(codeOfItem(closed + text("/link")), 0);
        QCOMPARE(::chmod(QFile::encodeName(open).constData(), 0777), 0);
        QCOMPARE(codeOfItem(closed + text("/link")), 3);
        QCOMPARE(codeOfItem(open + text("/link")), 3);
        QCOMPARE(codeOfItem(closed + text("/program")), 0);
    }

    void aProgramThatIsNotThereIsCode3()
    {
        const LoginItemService service(text("x"), text("/nowhere/agent"), text("X"));
        QCOMPARE(codeOf(service.registerItem()), 3);
    }

    void aFolderThatRefusesUsIsCode11()
    {
        QCOMPARE(codeOf(service().registerItem()), 0);
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto removed = service().unregister();
        QCOMPARE(codeOf(removed), 11);
        QVERIFY2(removed.failureText().contains(entry()), qPrintable(removed.failureText()));
        LoginItemFixture::clear();
        QVERIFY(QDir().mkpath(folder()));
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto registered = service().registerItem();
        QCOMPARE(codeOf(registered), 11);
        QVERIFY2(registered.failureText().contains(folder()), qPrintable(registered.failureText()));
        QCOMPARE(service().status(), Status::notRegistered);
    }

    void whatTheSystemFailsWithIsToldByItsOwnNumber()
    {
        // A file stands in the folder's place.
        write(folder(), "mine");
        const auto result = service().registerItem();
        QCOMPARE(codeOf(result), -ENOTDIR);
        QVERIFY2(result.failureText().contains(folder()), qPrintable(result.failureText()));
        QCOMPARE(contentOf(folder()), QByteArray("mine"));
        QCOMPARE(service().status(), Status::notRegistered);
        QCOMPARE(codeOf(service().unregister()), 6);
    }

    void rootGetsNoLoginItem()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        QCOMPARE(::seteuid(0), 0);
        const auto result = service().registerItem();
        QCOMPARE(::seteuid(65534), 0);
        QCOMPARE(codeOf(result), -EPERM);
        QVERIFY2(result.failureText().contains(text("root")), qPrintable(result.failureText()));
        QVERIFY(!QFile::exists(folder()));
    }

    void aConfigurationFolderThatIsNoAbsolutePathIsPassedOver()
    {
        const QByteArray before = qgetenv("XDG_CONFIG_HOME");
        for (const char* path : { "", "relative" }) {
            qputenv("XDG_CONFIG_HOME", path);
            const QString found = service().entryPath();
            qputenv("XDG_CONFIG_HOME", before);
            QCOMPARE(found, entry());
        }
    }

private:
    static QByteArray value(const QByteArray& key)
    {
        for (const QByteArray& line : content().split('\n')) {
            if (line.startsWith(key + '='))
                return line.mid(key.size() + 1);
        }
        return "absent";
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemServiceTest)
#include "LoginItemServiceTest.moc"
