#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;
using Status = LoginItemService::Status;

namespace {

/// 0 for success, otherwise the failure's code.
int codeOf(const Result<>& result)
{
    return result ? 0 : result.failure().error;
}

QByteArray value(const QByteArray& key)
{
    for (const QByteArray& line : contentOf(LoginItemFixture::entry()).split('\n')) {
        if (line.startsWith(key + '='))
            return line.mid(key.size() + 1);
    }
    return "absent";
}

} // namespace

/// The four states of a login item, and the errors.
class LoginItemServiceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_fixture = std::make_unique<LoginItemFixture>(); }
    void init() { LoginItemFixture::clear(); }
    void cleanupTestCase() { m_fixture.reset(); }

    void withoutAnEntryItIsNotRegistered() { QCOMPARE(m_fixture->service().status(), Status::notRegistered); }

    void registeringWritesAnEntryThatStartsTheProgram()
    {
        const LoginItemService service = m_fixture->service();
        QCOMPARE(service.entryPath(), LoginItemFixture::entry());
        QCOMPARE(codeOf(service.registerItem()), 0);
        QCOMPARE(service.status(), Status::enabled);
        QCOMPARE(value("Type"), QByteArray("Application"));
        QCOMPARE(value("Name"), QByteArray("Kestrum"));
        QCOMPARE(value("Exec"), '"' + QFile::encodeName(m_fixture->agentProgram()) + '"');
        QCOMPARE(value("TryExec"), QFile::encodeName(m_fixture->agentProgram()));
        QCOMPARE(value("Hidden"), QByteArray("false"));
        QCOMPARE(value("X-GNOME-Autostart-enabled"), QByteArray("true"));
    }

    void unregisteringTakesTheEntryAway()
    {
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        QCOMPARE(codeOf(m_fixture->service().unregister()), 0);
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        QVERIFY(QDir(LoginItemFixture::folder()).isEmpty());
    }

    void desktopsSwitchItOffInTwoWays_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::newRow("hidden") << QByteArray("Hidden=true\n");
        QTest::newRow("GNOME's key") << QByteArray("X-GNOME-Autostart-enabled=false\n");
        QTest::newRow("both") << QByteArray("Hidden=true\nX-GNOME-Autostart-enabled=false\n");
        QTest::newRow("one of two") << QByteArray("Hidden=false\nX-GNOME-Autostart-enabled=false\n");
        QTest::newRow("as a number") << QByteArray("Hidden=1\n");
    }

    void desktopsSwitchItOffInTwoWays()
    {
        QFETCH(const QByteArray, lines);
        write(LoginItemFixture::entry(), plainEntry() + lines);
        QCOMPARE(m_fixture->service().status(), Status::requiresApproval);
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        QCOMPARE(m_fixture->service().status(), Status::enabled);
        QCOMPARE(value("Hidden"), QByteArray("false"));
        QCOMPARE(value("X-GNOME-Autostart-enabled"), QByteArray("true"));
    }

    void anEntryWithoutEitherKeyIsEnabled()
    {
        write(LoginItemFixture::entry(), plainEntry());
        QCOMPARE(m_fixture->service().status(), Status::enabled);
    }

    void anEntryWhoseProgramIsGoneIsNotFound_data()
    {
        QTest::addColumn<QByteArray>("lines");
        const QByteArray there = m_fixture->agentProgram().toUtf8();
        QTest::newRow("Exec") << QByteArray("Exec=/nowhere/agent\n");
        QTest::newRow("TryExec") << "Exec=\"" + there + "\"\nTryExec=/nowhere/agent\n";
        QTest::newRow("a name that no folder holds") << QByteArray("Exec=no-such-program-of-anybody\n");
        QTest::newRow("a folder") << QByteArray("Exec=/\n");
        QTest::newRow("a file that cannot be run") << QByteArray("Exec=/etc/passwd\n");
        QTest::newRow("switched off, too") << QByteArray("Exec=/nowhere/agent\nHidden=true\n");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("an open quote") << "Exec=\"" + there + '\n';
    }

    void anEntryWhoseProgramIsGoneIsNotFound()
    {
        QFETCH(const QByteArray, lines);
        write(LoginItemFixture::entry(), "[Desktop Entry]\nType=Application\nName=Kestrum\n" + lines);
        QCOMPARE(m_fixture->service().status(), Status::notFound);
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        QCOMPARE(m_fixture->service().status(), Status::enabled);
    }

    void aProgramOnTheSearchPathIsFound()
    {
        write(LoginItemFixture::entry(),
            "[Desktop Entry]\nType=Application\nName=x\nExec=sh -c \"exec "
                + QFile::encodeName(m_fixture->agentProgram()) + "\"\nTryExec=sh\n");
        QCOMPARE(m_fixture->service().status(), Status::enabled);
    }

    void anotherKindOfEntryStartsNothing()
    {
        write(LoginItemFixture::entry(), plainEntry().replace("Application", "Link"));
        QCOMPARE(m_fixture->service().status(), Status::notFound);
    }

    void registeringTwiceIsCode12AndWritesNothing()
    {
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        struct stat before;
        QCOMPARE(::stat(QFile::encodeName(LoginItemFixture::entry()).constData(), &before), 0);
        const auto again = m_fixture->service().registerItem();
        QCOMPARE(codeOf(again), 12);
        QVERIFY2(again.failureText().contains(LoginItemFixture::entry()), qPrintable(again.failureText()));
        struct stat after;
        QCOMPARE(::stat(QFile::encodeName(LoginItemFixture::entry()).constData(), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
    }

    void anEntryOfAnotherProgramIsReplaced()
    {
        write(LoginItemFixture::entry(), "[Desktop Entry]\nType=Application\nName=Kestrum\nExec=/bin/true\n");
        QCOMPARE(m_fixture->service().status(), Status::notFound);
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        QCOMPARE(value("Exec"), '"' + QFile::encodeName(m_fixture->agentProgram()) + '"');
    }

    void withNothingToRemoveItIsCode6()
    {
        const auto withoutFolder = m_fixture->service().unregister();
        QCOMPARE(codeOf(withoutFolder), 6);
        QVERIFY2(withoutFolder.failureText().contains(LoginItemFixture::entry()),
            qPrintable(withoutFolder.failureText()));
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QCOMPARE(codeOf(m_fixture->service().unregister()), 6);
    }

    void aProgramThatOthersMayChangeIsCode3_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("reason");
        QTest::newRow("everybody writes") << 0757 << QStringLiteral("everybody may change it");
        QTest::newRow("nobody runs it") << 0644 << QStringLiteral("it cannot be run");
    }

    void aProgramThatOthersMayChangeIsCode3()
    {
        QFETCH(const int, mode);
        QFETCH(const QString, reason);
        const QByteArray program = QFile::encodeName(m_fixture->agentProgram());
        QCOMPARE(::chmod(program.constData(), mode_t(mode)), 0);
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(::chmod(program.constData(), 0700), 0);
        QCOMPARE(codeOf(result), 3);
        QVERIFY2(
            result.failureText().contains(m_fixture->agentProgram()) && result.failureText().contains(reason),
            qPrintable(result.failureText()));
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

    void aFolderThroughWhichOthersGetInIsCode3_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("code");
        const QString bundle = m_fixture->bundlePath();
        const QString own = QFileInfo(m_fixture->agentProgram()).path();
        QTest::newRow("everybody writes into its own") << own << 0707 << 3;
        QTest::newRow("everybody writes into one above") << bundle << 0707 << 3;
        QTest::newRow("a sticky one, where all keep their own") << own << 01707 << 0;
        QTest::newRow("all may read") << bundle << 0755 << 0;
    }

    void aFolderThroughWhichOthersGetInIsCode3()
    {
        QFETCH(const QString, folder);
        QFETCH(const int, mode);
        QFETCH(const int, code);
        const QByteArray path = QFile::encodeName(folder);
        QCOMPARE(::chmod(path.constData(), mode_t(mode)), 0);
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(::chmod(path.constData(), 0700), 0);
        QCOMPARE(codeOf(result), code);
        if (!result)
            QVERIFY2(result.failureText().startsWith(
                         folder + QStringLiteral(": everybody may change it (mode 0707)")),
                qPrintable(result.failureText()));
    }

    void aFolderThatAForeignGroupWritesIntoIsCode3()
    {
        if (::getuid() != 0)
            QSKIP("only root can give a folder to another group");
        const QByteArray folder = QFile::encodeName(m_fixture->agentBundle());
        const auto given = [&folder](gid_t group) {
            return ::seteuid(0) == 0 && ::chown(folder.constData(), uid_t(-1), group) == 0
                && ::chmod(folder.constData(), 0770) == 0 && ::seteuid(65534) == 0;
        };
        QVERIFY(given(100));
        const auto foreign = m_fixture->service().registerItem();
        QVERIFY(given(65534));
        const auto own = m_fixture->service().registerItem();
        QCOMPARE(codeOf(foreign), 3);
        QCOMPARE(codeOf(own), 0);
    }

    void throughALinkOthersMayGetInAtEitherEnd()
    {
        const FileTree tree;
        const QString open = tree.path(QStringLiteral("open"));
        const QString closed = tree.path(QStringLiteral("closed"));
        for (const QString& folder : { open, closed }) {
            LoginItemFixture::makeProgram(folder + QStringLiteral("/program"));
            const QString other = folder == open ? closed : open;
            QVERIFY(QDir().mkpath(other));
            QVERIFY(QFile::link(folder + QStringLiteral("/program"), other + QStringLiteral("/link")));
        }
        const auto codeOfItem = [](const QString& program) {
            return codeOf(LoginItemService(QStringLiteral("x"), program, QStringLiteral("X")).registerItem());
        };
        QCOMPARE(codeOfItem(closed + QStringLiteral("/link")), 0);
        QCOMPARE(::chmod(QFile::encodeName(open).constData(), 0777), 0);
        QCOMPARE(codeOfItem(closed + QStringLiteral("/link")), 3);
        QCOMPARE(codeOfItem(open + QStringLiteral("/link")), 3);
        QCOMPARE(codeOfItem(closed + QStringLiteral("/program")), 0);
    }

    void aProgramThatIsNotThereIsCode3()
    {
        const LoginItemService service(
            QStringLiteral("x"), QStringLiteral("/nowhere/agent"), QStringLiteral("X"));
        QCOMPARE(codeOf(service.registerItem()), 3);
    }

    void aFolderThatRefusesUsIsCode11()
    {
        QCOMPARE(codeOf(m_fixture->service().registerItem()), 0);
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto removed = m_fixture->service().unregister();
        QCOMPARE(codeOf(removed), 11);
        QVERIFY2(
            removed.failureText().contains(LoginItemFixture::entry()), qPrintable(removed.failureText()));
        LoginItemFixture::clear();
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto registered = m_fixture->service().registerItem();
        QCOMPARE(codeOf(registered), 11);
        QVERIFY2(registered.failureText().contains(LoginItemFixture::folder()),
            qPrintable(registered.failureText()));
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
    }

    void whatTheSystemFailsWithIsToldByItsOwnNumber()
    {
        // A file stands in the folder's place.
        write(LoginItemFixture::folder(), "mine");
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(codeOf(result), -ENOTDIR);
        QVERIFY2(result.failureText().contains(LoginItemFixture::folder()), qPrintable(result.failureText()));
        QCOMPARE(contentOf(LoginItemFixture::folder()), QByteArray("mine"));
        QCOMPARE(m_fixture->service().status(), Status::notRegistered);
        QCOMPARE(codeOf(m_fixture->service().unregister()), 6);
    }

    void rootGetsNoLoginItem()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        const LoginItemService service = m_fixture->service();
        QCOMPARE(::seteuid(0), 0);
        const auto result = service.registerItem();
        QCOMPARE(::seteuid(65534), 0);
        QCOMPARE(codeOf(result), -EPERM);
        QVERIFY2(result.failureText().contains(QStringLiteral("root")), qPrintable(result.failureText()));
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

    void aConfigurationFolderThatIsNoAbsolutePathIsPassedOver()
    {
        const QByteArray before = qgetenv("XDG_CONFIG_HOME");
        for (const char* path : { "", "relative" }) {
            qputenv("XDG_CONFIG_HOME", path);
            const QString entry = m_fixture->service().entryPath();
            qputenv("XDG_CONFIG_HOME", before);
            QCOMPARE(entry, LoginItemFixture::entry());
        }
    }

private:
    QByteArray plainEntry() const
    {
        return "[Desktop Entry]\nType=Application\nName=Kestrum\nExec="
            + QFile::encodeName(m_fixture->agentProgram()) + '\n';
    }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemServiceTest)
#include "LoginItemServiceTest.moc"
