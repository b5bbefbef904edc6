#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/SystemCallFilter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>

using namespace kestrum;
using Status = LoginItemService::Status;

/// Entries with keys, comments or groups of other programs, and files of other kinds in the entry's place.
class LoginItemEntryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_fixture = std::make_unique<LoginItemFixture>(); }
    void init() { LoginItemFixture::clear(); }
    void cleanupTestCase() { m_fixture.reset(); }

    void foreignKeysCommentsAndGroupsStayWhenItIsSwitchedOnAgain()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        QCOMPARE(service().status(), Status::requiresApproval);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        verifyForeign();
        // All lines keep their order, and the program's own key keeps its place.
        const QByteArray text = contentOf(LoginItemFixture::entry());
        QVERIFY(
            text.startsWith("# my own\n[Desktop Entry]\nType=Application\nName=Kestrum\nName[de]=Meins\n"));
        QVERIFY(text.indexOf("Hidden=false") < text.indexOf("X-GNOME-Autostart-Delay"));
        QVERIFY(text.endsWith("\n\n[X-Mine]\nExec=other\n"));
    }

    void foreignKeysOutlastSwitchingOffAndOn()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(QDir(LoginItemFixture::folder())
                    .entryList({ QStringLiteral("*.desktop") }, QDir::Files)
                    .isEmpty());
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        verifyForeign();
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files).size(), 1);
    }

    void whatWasSwitchedOffEarlierIsKept()
    {
        const auto mine
            = [this](int number) { return foreignEntry() + "X-Mine=" + QByteArray::number(number) + '\n'; };
        for (const int number : { 1, 2, 3 }) {
            write(LoginItemFixture::entry(), mine(number));
            QVERIFY(service().unregister());
            QCOMPARE(service().status(), Status::notRegistered);
        }
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off-1")), mine(1));
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off-2")), mine(2));
        // Only the newest of the entries that were put aside comes back.
        QVERIFY(service().registerItem());
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=3\n"));
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files).size(), 3);
        QVERIFY(service().unregister());
        QVERIFY(contentOf(LoginItemFixture::entry() + QStringLiteral(".off")).contains("X-Mine=3\n"));
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files).size(), 3);
    }

    void aFolderUnderTheOtherNameStaysToo()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        write(LoginItemFixture::entry() + QStringLiteral(".off/mine"), "x");
        QVERIFY(service().unregister());
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off")), foreignEntry());
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off-1/mine")), QByteArray("x"));
    }

    void withoutAFreeNameTheEntryStays()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        const QString off = LoginItemFixture::entry() + QStringLiteral(".off");
        write(off, "older");
        for (int number = 1; number <= 999; ++number)
            write(off + QStringLiteral("-%1").arg(number), "old");
        const auto result = service().unregister();
        QVERIFY(!result);
        QCOMPARE(result.failure().error, -EEXIST);
        QCOMPARE(contentOf(LoginItemFixture::entry()), foreignEntry());
        QCOMPARE(contentOf(off), QByteArray("older"));
    }

    void whereARenameCannotSpareWhatIsThereItIsKeptAllTheSame()
    {
        write(LoginItemFixture::entry() + QStringLiteral(".off"), "older");
        write(LoginItemFixture::entry(), foreignEntry());
        bool isRefused = false;
        // The filter applies to the calling thread only, so it gets a thread of its own.
        std::thread([this, &isRefused] {
            isRefused = SystemCallFilter::failing({ SYS_renameat2 }, EINVAL).enter() == 0;
            (void)service().unregister();
        }).join();
        if (!isRefused)
            QSKIP("the kernel does not let a system call fail here");
        QCOMPARE(service().status(), Status::notRegistered);
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off")), foreignEntry());
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off-1")), QByteArray("older"));
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files).size(), 2);
    }

    void whatWasPutAsideAndCannotBeAskedForIsNotPassedOver()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        QVERIFY(service().unregister());
        bool isRefused = false;
        Result<> result;
        std::thread([this, &isRefused, &result] {
            isRefused = SystemCallFilter::failingLooksAtNames(EIO).enter() == 0;
            result = service().registerItem();
        }).join();
        if (!isRefused)
            QSKIP("the kernel does not let a system call fail here");
        QVERIFY(!result);
        QCOMPARE(result.failure().error, -EIO);
        QVERIFY2(result.failureText().contains(LoginItemFixture::entry()), qPrintable(result.failureText()));
        QVERIFY(!QFile::exists(LoginItemFixture::entry()));
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off")), foreignEntry());
    }

    void anEntryOfOursAloneLeavesNothingBehind()
    {
        QVERIFY(service().registerItem());
        QVERIFY(service().unregister());
        QVERIFY(QDir(LoginItemFixture::folder())
                    .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                    .isEmpty());
    }

    void aLinkedEntryIsChangedWhereItIs()
    {
        const QString kept = TestHome::root() + QStringLiteral("/dotfiles/agent.desktop");
        write(kept, foreignEntry());
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QVERIFY(QFile::link(QStringLiteral("../../dotfiles/agent.desktop"), LoginItemFixture::entry()));
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(LoginItemFixture::entry()).isSymLink());
        QVERIFY(contentOf(kept).contains("Hidden=false"));
        QCOMPARE(service().status(), Status::enabled);
        // Unregistering moves the link away and does not change the file.
        const QByteArray text = contentOf(kept);
        QVERIFY(service().unregister());
        QCOMPARE(contentOf(kept), text);
        QCOMPARE(service().status(), Status::notRegistered);
        // Registering again brings the link back.
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(LoginItemFixture::entry()).isSymLink());
        QCOMPARE(service().status(), Status::enabled);
    }

    void aLinkThatLeadsNowhereIsFollowed()
    {
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        const QString target = TestHome::root() + QStringLiteral("/new.desktop");
        QFile::remove(target);
        QVERIFY(QFile::link(target, LoginItemFixture::entry()));
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(LoginItemFixture::entry()).isSymLink());
        QVERIFY(contentOf(target).contains("Exec="));
    }

    void theModeOfTheEntryStays()
    {
        write(LoginItemFixture::entry(), foreignEntry());
        const QByteArray path = QFile::encodeName(LoginItemFixture::entry());
        QCOMPARE(::chmod(path.constData(), 0640), 0);
        QVERIFY(service().registerItem());
        struct stat state;
        QCOMPARE(::stat(path.constData(), &state), 0);
        QCOMPARE(int(state.st_mode & 0777), 0640);
    }

    void aDamagedEntryIsKeptAsideAndWhatIsSoundInItStays_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("words") << foreignEntry() + "words\n";
        QTest::newRow("zeros") << foreignEntry() + QByteArray(100, '\0');
        QTest::newRow("a byte order mark") << "\xEF\xBB\xBF" + foreignEntry();
        QTest::newRow("another group first") << "[First]\nA=1\n" + foreignEntry().remove(0, 9);
    }

    void aDamagedEntryIsKeptAsideAndWhatIsSoundInItStays()
    {
        QFETCH(const QByteArray, text);
        write(LoginItemFixture::entry(), text);
        QCOMPARE(service().status(), Status::notFound);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-GNOME-Autostart-Delay=10\n"));
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".damaged-1")), text);
    }

    void aDamagedEntryIsNotDeleted()
    {
        write(LoginItemFixture::entry(), "not at all an entry");
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QCOMPARE(
            contentOf(LoginItemFixture::entry() + QStringLiteral(".off")), QByteArray("not at all an entry"));
    }

    void anEmptyFileIsAnEntryWithoutAProgram()
    {
        write(LoginItemFixture::entry(), {});
        QCOMPARE(service().status(), Status::notFound);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        QCOMPARE(QDir(LoginItemFixture::folder()).entryList(QDir::Files).size(), 1);
    }

    void aHugeFileIsNeitherReadNorWrittenOver()
    {
        const QByteArray huge = foreignEntry() + '#' + QByteArray(2 * 1024 * 1024, 'x') + '\n';
        write(LoginItemFixture::entry(), huge);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(service().status(), Status::notFound);
        const auto result = service().registerItem();
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(!result);
        QCOMPARE(result.failure().error, -EFBIG);
        QVERIFY2(result.failureText().contains(LoginItemFixture::entry()), qPrintable(result.failureText()));
        QCOMPARE(contentOf(LoginItemFixture::entry()), huge);
        QVERIFY(service().unregister());
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral(".off")), huge);
    }

    void aFolderInItsPlaceStays()
    {
        write(LoginItemFixture::entry() + QStringLiteral("/mine"), "x");
        QCOMPARE(service().status(), Status::notFound);
        const auto registered = service().registerItem();
        const auto removed = service().unregister();
        QVERIFY(!registered && !removed);
        QCOMPARE(registered.failure().error, -EISDIR);
        QCOMPARE(removed.failure().error, -EISDIR);
        QCOMPARE(contentOf(LoginItemFixture::entry() + QStringLiteral("/mine")), QByteArray("x"));
    }

    void aPipeInItsPlaceMakesNobodyWait()
    {
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QCOMPARE(::mkfifo(QFile::encodeName(LoginItemFixture::entry()).constData(), 0600), 0);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(service().status(), Status::notFound);
        QVERIFY(!service().registerItem());
        QVERIFY(!service().unregister());
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(QFileInfo::exists(LoginItemFixture::entry()));
    }

    void aFullLoopOfLinksIsAnError()
    {
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QVERIFY(QFile::link(LoginItemFixture::entry(), LoginItemFixture::entry()));
        QCOMPARE(service().status(), Status::notFound);
        const auto result = service().registerItem();
        QVERIFY(!result);
        QCOMPARE(result.failure().error, -ELOOP);
    }

    void whatAKilledWriterLeftIsSweptLater()
    {
        const QString leftover
            = LoginItemFixture::folder() + QStringLiteral("/.kestrum-0123456789abcdef.tmp");
        write(leftover, "half");
        const struct timespec longAgo[2] = { { 1'000'000, 0 }, { 1'000'000, 0 } };
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(leftover).constData(), longAgo, 0), 0);
        QVERIFY(service().registerItem());
        QVERIFY(!QFile::exists(leftover));
    }

private:
    LoginItemService service() const { return m_fixture->service(); }

    QByteArray foreignEntry() const
    {
        return "# my own\n[Desktop Entry]\nType=Application\nName=Old\nName[de]=Meins\nExec=\""
            + QFile::encodeName(m_fixture->agentProgram())
            + "\"\nHidden=true\nX-GNOME-Autostart-Delay=10\n# "
              "stays\nOnlyShowIn=XFCE;\n\n[X-Mine]\nExec=other\n";
    }

    static void verifyForeign()
    {
        const QByteArray text = contentOf(LoginItemFixture::entry());
        for (const char* line : { "# my own\n", "Name[de]=Meins\n", "X-GNOME-Autostart-Delay=10\n",
                 "# stays\n", "OnlyShowIn=XFCE;\n", "[X-Mine]\nExec=other\n" })
            QVERIFY2(text.contains(line), line);
    }

    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemEntryTest)
#include "LoginItemEntryTest.moc"
