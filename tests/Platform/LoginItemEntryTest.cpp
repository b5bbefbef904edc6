#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemTest.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SystemCallFilter.h"

#include <QElapsedTimer>
#include <fcntl.h>
#include <functional>
#include <thread>

using namespace kestrum;

/// Entries with keys, comments or groups of other programs, and other kinds of files in place of the entry.
class LoginItemEntryTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void foreignKeysCommentsAndGroupsStayWhenItIsSwitchedOnAgain()
    {
        writeEntry(foreignEntry());
        QCOMPARE(service().status(), Status::requiresApproval);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        verifyForeign();
        // All lines keep their order, including the key "Hidden" that the program changes.
        const QByteArray text = content();
        QVERIFY(
            text.startsWith("# my own\n[Desktop Entry]\nType=Application\nName=Kestrum\nName[de]=Meins\n"));
        QVERIFY(text.indexOf("Hidden=false") < text.indexOf("X-GNOME-Autostart-Delay"));
        QVERIFY(text.endsWith("\n\n[X-Mine]\nExec=other\n"));
    }

    void foreignKeysOutlastSwitchingOffAndOn()
    {
        writeEntry(foreignEntry());
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(QDir(folder()).entryList({ text("*.desktop") }, QDir::Files).isEmpty());
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        verifyForeign();
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 1);
    }

    void whatWasSwitchedOffEarlierIsKept()
    {
        const auto mine
            = [this](int number) { return foreignEntry() + "X-Mine=" + QByteArray::number(number) + '\n'; };
        for (const int number : { 1, 2, 3 }) {
            writeEntry(mine(number));
            QVERIFY(service().unregister());
            QCOMPARE(service().status(), Status::notRegistered);
        }
        QCOMPARE(content(".off-1"), mine(1));
        QCOMPARE(content(".off-2"), mine(2));
        // Only the newest of the entries that were moved aside comes back.
        QVERIFY(service().registerItem());
        QVERIFY(content().contains("X-Mine=3\n"));
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 3);
        QVERIFY(service().unregister());
        QVERIFY(content(".off").contains("X-Mine=3\n"));
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 3);
    }

    void aFolderUnderTheOtherNameStaysToo()
    {
        writeEntry(foreignEntry());
        write(entry() + text(".off/mine"), "x");
        QVERIFY(service().unregister());
        QCOMPARE(content(".off"), foreignEntry());
        QCOMPARE(content(".off-1/mine"), QByteArray("x"));
    }

    void withoutAFreeNameTheEntryStays()
    {
        writeEntry(foreignEntry());
        const QString off = entry() + text(".off");
        write(off, "older");
        for (int number = 1; number <= 999; ++number)
            write(off + text("-%1").arg(number), "old");
        QCOMPARE(codeOf(service().unregister()), -EEXIST);
        QCOMPARE(content(), foreignEntry());
        QCOMPARE(contentOf(off), QByteArray("older"));
    }

    void whereARenameCannotSpareWhatIsThereItIsKeptAllTheSame()
    {
        write(entry() + text(".off"), "older");
        writeEntry(foreignEntry());
        if (!doneUnder(SystemCallFilter::failing({ SYS_renameat2 }, EINVAL),
                [this] { (void)service().unregister(); }))
            QSKIP("the kernel does not let a system call fail here");
        QCOMPARE(service().status(), Status::notRegistered);
        QCOMPARE(content(".off"), foreignEntry());
        QCOMPARE(content(".off-1"), QByteArray("older"));
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 2);
    }

    void whatWasPutAsideAndCannotBeAskedForIsNotPassedOver()
    {
        writeEntry(foreignEntry());
        QVERIFY(service().unregister());
        Result<> result;
        if (!doneUnder(SystemCallFilter::failingLooksAtNames(EIO),
                [this, &result] { result = service().registerItem(); }))
            QSKIP("the kernel does not let a system call fail here");
        QCOMPARE(codeOf(result), -EIO);
        QVERIFY2(result.failureText().contains(entry()), qPrintable(result.failureText()));
        QVERIFY(!QFile::exists(entry()));
        QCOMPARE(content(".off"), foreignEntry());
    }

    void anEntryOfOursAloneLeavesNothingBehind()
    {
        QVERIFY(service().registerItem());
        QVERIFY(service().unregister());
        QVERIFY(QDir(folder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    }

    void aLinkedEntryIsChangedWhereItIs()
    {
        const QString kept = TestHome::root() + text("/dotfiles/agent.desktop");
        write(kept, foreignEntry());
        QVERIFY(QDir().mkpath(folder()));
        QVERIFY(QFile::link(text("../../dotfiles/agent.desktop"), entry()));
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(entry()).isSymLink());
        QVERIFY(contentOf(kept).contains("Hidden=false"));
        QCOMPARE(service().status(), Status::enabled);
        // Unregistering moves the link aside and does not change the linked file.
        const QByteArray text = contentOf(kept);
        QVERIFY(service().unregister());
        QCOMPARE(contentOf(kept), text);
        QCOMPARE(service().status(), Status::notRegistered);
        // Registering again brings the link back.
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(entry()).isSymLink());
        QCOMPARE(service().status(), Status::enabled);
    }

    void aLinkThatLeadsNowhereIsFollowed()
    {
        QVERIFY(QDir().mkpath(folder()));
        const QString target = TestHome::root() + text("/new.desktop");
        QFile::remove(target);
        QVERIFY(QFile::link(target, entry()));
        QCOMPARE(service().status(), Status::notRegistered);
        QVERIFY(service().registerItem());
        QVERIFY(QFileInfo(entry()).isSymLink());
        QVERIFY(contentOf(target).contains("Exec="));
    }

    void theModeOfTheEntryStays()
    {
        writeEntry(foreignEntry());
        const QByteArray path = QFile::encodeName(entry());
        QCOMPARE(::chmod(path.constData(), 0640), 0);
        QVERIFY(service().registerItem());
        struct stat state;
        QCOMPARE(::stat(path.constData(), &state), 0);
        QCOMPARE(int(state.st_mode & 0777), 0640);
    }

    void aDamagedEntryIsKeptAsideAndWhatIsSoundInItStays()
    {
        for (const QByteArray& damaged : { foreignEntry() + "words\n", foreignEntry() + QByteArray(100, '\0'),
                 "\xEF\xBB\xBF" + foreignEntry(), "[First]\nA=1\n" + foreignEntry().remove(0, 9) }) {
            LoginItemFixture::clear();
            writeEntry(damaged);
            QCOMPARE_ROW(damaged, service().status(), Status::notFound);
            QVERIFY(service().registerItem());
            QCOMPARE_ROW(damaged, service().status(), Status::enabled);
            QVERIFY2(content().contains("X-GNOME-Autostart-Delay=10\n"), damaged.constData());
            QCOMPARE_ROW(damaged, content(".damaged-1"), damaged);
        }
    }

    void aDamagedEntryIsNotDeleted()
    {
        writeEntry("not at all an entry");
        QVERIFY(service().unregister());
        QCOMPARE(service().status(), Status::notRegistered);
        QCOMPARE(content(".off"), QByteArray("not at all an entry"));
    }

    void anEmptyFileIsAnEntryWithoutAProgram()
    {
        writeEntry({});
        QCOMPARE(service().status(), Status::notFound);
        QVERIFY(service().registerItem());
        QCOMPARE(service().status(), Status::enabled);
        QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 1);
    }

    void aHugeFileIsNeitherReadNorWrittenOver()
    {
        const QByteArray huge = foreignEntry() + '#' + QByteArray(2 * 1024 * 1024, 'x') + '\n';
        writeEntry(huge);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(service().status(), Status::notFound);
        const auto result = service().registerItem();
        QVERIFY(timer.elapsed() < 1000);
        QCOMPARE(codeOf(result), -EFBIG);
        QVERIFY2(result.failureText().contains(entry()), qPrintable(result.failureText()));
        QCOMPARE(content(), huge);
        QVERIFY(service().unregister());
        QCOMPARE(content(".off"), huge);
    }

    void aFolderInItsPlaceStays()
    {
        write(entry() + text("/mine"), "x");
        QCOMPARE(service().status(), Status::notFound);
        QCOMPARE(codeOf(service().registerItem()), -EISDIR);
        QCOMPARE(codeOf(service().unregister()), -EISDIR);
        QCOMPARE(content("/mine"), QByteArray("x"));
    }

    void aPipeInItsPlaceMakesNobodyWait()
    {
        QVERIFY(QDir().mkpath(folder()));
        QCOMPARE(::mkfifo(QFile::encodeName(entry()).constData(), 0600), 0);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(service().status(), Status::notFound);
        QVERIFY(!service().registerItem());
        QVERIFY(!service().unregister());
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(QFileInfo::exists(entry()));
    }

    void aFullLoopOfLinksIsAnError()
    {
        QVERIFY(QDir().mkpath(folder()));
        QVERIFY(QFile::link(entry(), entry()));
        QCOMPARE(service().status(), Status::notFound);
        QCOMPARE(codeOf(service().registerItem()), -ELOOP);
    }

    void whatAKilledWriterLeftIsSweptLater()
    {
        const QString leftover = folder() + text("/.kestrum-0123456789abcdef.tmp");
        write(leftover, "half");
        const struct timespec longAgo[2] = { { 1'000'000, 0 }, { 1'000'000, 0 } };
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(leftover).constData(), longAgo, 0), 0);
        QVERIFY(service().registerItem());
        QVERIFY(!QFile::exists(leftover));
    }

private:
    /// Runs `work` in a thread whose system calls fail according to `filter`. False where the kernel supports no filters.
    static bool doneUnder(const SystemCallFilter& filter, const std::function<void()>& work)
    {
        bool isFiltered = false;
        std::thread([&] {
            isFiltered = filter.enter() == 0;
            work();
        }).join();
        return isFiltered;
    }

    QByteArray foreignEntry() const
    {
        return "# my own\n[Desktop Entry]\nType=Application\nName=Old\nName[de]=Meins\nExec=\""
            + QFile::encodeName(agentProgram())
            + "\"\nHidden=true\nX-GNOME-Autostart-Delay=10\n# "
              "stays\nOnlyShowIn=XFCE;\n\n[X-Mine]\nExec=other\n";
    }

    static void verifyForeign()
    {
        const QByteArray text = content();
        for (const char* line : { "# my own\n", "Name[de]=Meins\n", "X-GNOME-Autostart-Delay=10\n",
                 "# stays\n", "OnlyShowIn=XFCE;\n", "[X-Mine]\nExec=other\n" })
            QVERIFY2(text.contains(line), line);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemEntryTest)
#include "LoginItemEntryTest.moc"
