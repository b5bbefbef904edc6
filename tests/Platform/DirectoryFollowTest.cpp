#include "Platform/Files/DirectoryWatch.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/WatchedPlace.h"

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>

using namespace kestrum;

/// Watches whose directory is created, removed, renamed or replaced.
class DirectoryFollowTest : public QObject, WatchedPlace {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_place = std::make_unique<QTemporaryDir>();
        makeDirectory("d");
    }

    void absentDirectoryIsFoundWhenItIsMade()
    {
        WatchRecorder ear(path("later"));
        QVERIFY(ear.watch->isNotified());
        write("other");
        QTest::qWait(quietTime);
        QVERIFY(ear.told.isEmpty());
        makeDirectory("later");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "later");
    }

    void directoryMadeTogetherWithItsParentsIsFound()
    {
        WatchRecorder ear(path("a/b/c/e"));
        QVERIFY(QDir().mkpath(path("a/b/c/e")));
        write("a/b/c/e/early");
        QTRY_VERIFY(ear.heard("") || ear.heard("early"));
        verifyHears(ear, "a/b/c/e");
    }

    void removedDirectoryIsFollowedToTheNew()
    {
        WatchRecorder ear(path("d"));
        QVERIFY(QDir().rmdir(path("d")));
        QTRY_VERIFY(ear.heard(""));
        ear.told.clear();
        makeDirectory("d");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "d");

        // Removed and created again within one turn of the event loop.
        QVERIFY(QDir(path("d")).removeRecursively());
        makeDirectory("d");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "d");
    }

    void directoryThatSomebodyHoldsOpenIsFollowedToo()
    {
        // The kernel reports that a directory is deleted only after its last descriptor is closed.
        const int holder = ::open(encoded("d").constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        QVERIFY(holder >= 0);
        WatchRecorder ear(path("d"));
        QVERIFY(QDir().rmdir(path("d")));
        makeDirectory("d");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "d");
        ::close(holder);
    }

    void renamedDirectoryIsLeft()
    {
        WatchRecorder ear(path("d"));
        rename("d", "old");
        QTRY_VERIFY(ear.heard(""));
        QTest::qWait(quietTime);
        ear.told.clear();
        write("old/file");
        QTest::qWait(quietTime);
        QVERIFY(ear.told.isEmpty());
        makeDirectory("d");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "d");
    }

    void directoryReplacedInOneStepIsFollowed()
    {
        WatchRecorder ear(path("d"));
        makeDirectory("new");
        rename("new", "d");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "d");
    }

    void movedAncestorIsNoticed()
    {
        QVERIFY(QDir().mkpath(path("a/b/c/e")));
        WatchRecorder ear(path("a/b/c/e"));
        rename("a", "old");
        QTRY_VERIFY(ear.heard(""));
        QVERIFY(QDir().mkpath(path("a/b/c/e")));
        verifyHears(ear, "a/b/c/e");
        rename("a/b", "a/old");
        QTRY_VERIFY(ear.heard(""));
        QVERIFY(QDir().mkpath(path("a/b/c/e")));
        verifyHears(ear, "a/b/c/e");
    }

    void exchangedAncestorIsNoticed()
    {
        QVERIFY(QDir().mkpath(path("a/b/c")));
        QVERIFY(QDir().mkpath(path("x/b/c")));
        WatchRecorder ear(path("a/b/c"));
        QCOMPARE(::renameat2(
                     AT_FDCWD, encoded("a").constData(), AT_FDCWD, encoded("x").constData(), RENAME_EXCHANGE),
            0);
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "a/b/c");
    }

    void deletedAndRecreatedHundredTimesIsNeverLost()
    {
        makeDirectory("d/e");
        WatchRecorder ear(path("d/e"));
        for (int i = 0; i < 100; ++i) {
            QVERIFY(QDir(path("d")).removeRecursively());
            if (i % 3 == 0)
                QCoreApplication::processEvents();
            makeDirectory("d");
            if (i % 2 == 0)
                QCoreApplication::processEvents();
            makeDirectory("d/e");
            write("d/e/file");
            QTRY_VERIFY_WITH_TIMEOUT(ear.heard("") || ear.heard("file"), 1000);
            ear.told.clear();
        }
        verifyHears(ear, "d/e");
    }

    void linkedDirectoryIsFollowedAndSoIsItsNewTarget()
    {
        makeDirectory("other");
        QVERIFY(QFile::link(path("d"), path("link")));
        WatchRecorder ear(path("link"));
        write("d/file");
        QTRY_VERIFY(ear.heard("file"));
        QVERIFY(QFile::link(path("other"), path("newlink")));
        rename("newlink", "link");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "other");
    }

    void fileInPlaceOfTheDirectoryIsWaitedOut()
    {
        write("place");
        WatchRecorder ear(path("place"));
        QVERIFY(ear.watch->isNotified());
        QVERIFY(QFile::remove(path("place")));
        makeDirectory("place");
        QTRY_VERIFY(ear.heard(""));
        verifyHears(ear, "place");
    }

    void ancestorThatMayBePassedButNotReadIsNoHindrance()
    {
        QVERIFY(QDir().mkpath(path("closed/a/b")));
        const OrdinaryUser user({ m_place->path(), path("closed"), path("closed/a"), path("closed/a/b") });
        QCOMPARE(::chmod(encoded("closed").constData(), 0111), 0);
        WatchRecorder ear(path("closed/a/b"));
        QVERIFY(ear.watch->isNotified());
        write("closed/a/b/file");
        QTRY_VERIFY(ear.heard("file"));
        QCOMPARE(::chmod(encoded("closed").constData(), 0700), 0);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DirectoryFollowTest)
#include "DirectoryFollowTest.moc"
