#include "Platform/Files/DirectoryWatch.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/WatchedPlace.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

class DirectoryWatchTest : public QObject, WatchedPlace {
    Q_OBJECT

private Q_SLOTS:
    void init() { makePlace(); }

    void writtenCreatedMovedAndRemovedEntriesAreTold()
    {
        write("d/written");
        write("d/gone");
        write("d/out");
        write("in");
        WatchRecorder ear(path("d"));
        QVERIFY(ear.watch->isNotified());
        const auto expect = [&ear](const char* name) {
            QTRY_COMPARE(ear.told, QByteArrayList { name });
            ear.told.clear();
        };
        write("d/written");
        expect("written");
        write("d/created");
        expect("created");
        QVERIFY(QFile::remove(path("d/gone")));
        expect("gone");
        rename("d/out", "outside");
        expect("out");
        rename("in", "d/in");
        expect("in");
        makeDirectory("d/directory");
        expect("directory");
    }

    void writingIsToldWhenTheFileIsClosed()
    {
        write("d/file");
        WatchRecorder ear(path("d"));
        {
            QFile file(path("d/file"));
            QVERIFY(file.open(QIODevice::Append | QIODevice::Unbuffered));
            QCOMPARE(file.write("more"), 4);
            deliverPendingEvents();
            QVERIFY(ear.told.isEmpty());
        }
        QTRY_COMPARE(ear.told, QByteArrayList { "file" });
    }

    void timesAndOpeningsAreToldToWhomTheyInterest()
    {
        write("d/file");
        WatchRecorder content(path("d"));
        WatchRecorder touched(path("d"), DirectoryWatch::Interest::touched);
        WatchRecorder opened(path("d"), DirectoryWatch::Interest::opened);
        touch("d/file");
        deliverPendingEvents();
        QCOMPARE(touched.told, QByteArrayList { "file" });
        QCOMPARE(opened.told, QByteArrayList());
        // Listing the directory does not count as opening a file.
        QCOMPARE(QDir(path("d")).entryList(QDir::Files).size(), 1);
        deliverPendingEvents();
        QCOMPARE(opened.told, QByteArrayList());
        QFile file(path("d/file"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        deliverPendingEvents();
        QCOMPARE(opened.told, QByteArrayList { "file" });
        QCOMPARE(touched.told, QByteArrayList { "file" });
        QCOMPARE(content.told, QByteArrayList());
        write("d/other");
        QTRY_VERIFY(opened.heard("other"));
    }

    void nameIsToldOncePerBatch()
    {
        write("d/a");
        write("d/b");
        WatchRecorder ear(path("d"), DirectoryWatch::Interest::touched);
        for (int i = 0; i < 100; ++i) {
            touch("d/b");
            touch("d/a");
        }
        QTRY_VERIFY(!ear.told.isEmpty());
        deliverPendingEvents();
        QCOMPARE(ear.told, (QByteArrayList { "b", "a" }));
    }

    void whatWasBeforeTheWatchIsNotTold()
    {
        WatchRecorder early(path("d"));
        write("d/before");
        WatchRecorder late(path("d"));
        QTRY_COMPARE(early.told, QByteArrayList { "before" }); // without any further event
        write("d/after");
        QTRY_VERIFY(late.heard("after"));
        QCOMPARE(late.told, QByteArrayList { "after" });
        QTRY_COMPARE(early.told, (QByteArrayList { "before", "after" }));
    }

    void allWatchesOfADirectoryHear()
    {
        WatchRecorder first(path("d"));
        WatchRecorder second(path("d"), DirectoryWatch::Interest::touched);
        WatchRecorder third(path("d"));
        second.watch.reset();
        write("d/file");
        QTRY_VERIFY(first.heard("file") && third.heard("file"));
        QVERIFY(second.told.isEmpty());
    }

    void neighboursAreNotTold()
    {
        WatchRecorder ear(path("d"));
        write("neighbour");
        makeDirectory("d2");
        write("d2/file");
        deliverPendingEvents();
        QVERIFY(ear.told.isEmpty());
    }

    void directoryWithAFinalSlashOrDotsIsTheSame()
    {
        WatchRecorder ear(path("d") + QStringLiteral("/../d/./"));
        write("d/file");
        QTRY_VERIFY(ear.heard("file"));
    }

    void overflowTellsThatAnythingMayHaveChanged()
    {
        QFile limit(QStringLiteral("/proc/sys/fs/inotify/max_queued_events"));
        QVERIFY(limit.open(QIODevice::ReadOnly));
        const int queued = limit.readAll().trimmed().toInt();
        if (queued > 1'000'000)
            QSKIP("this system's queue is too long to be filled in a test");
        write("d/a");
        write("d/b");
        makeDirectory("quiet");
        WatchRecorder ear(path("d"), DirectoryWatch::Interest::touched);
        WatchRecorder other(path("quiet"));
        // Two names alternate, because the kernel merges two equal events in a row.
        for (int i = 0; i <= queued / 2; ++i) {
            touch("d/a");
            touch("d/b");
        }
        QTRY_VERIFY(ear.heard("") && other.heard(""));
        QVERIFY(!ear.heard("a")); // an event with an empty name replaces all names of its batch
        verifyHears(ear, "d");
        verifyHears(other, "quiet");
    }

    void handlerMayDestroyItsOwnWatch()
    {
        int calls = 0;
        std::unique_ptr<DirectoryWatch> watch;
        watch = std::make_unique<DirectoryWatch>(
            path("d"), DirectoryWatch::Interest::content, [&watch, &calls](const QByteArray&) {
                watch.reset();
                ++calls;
            });
        write("d/a");
        write("d/b");
        QTRY_VERIFY(!watch);
        deliverPendingEvents();
        QCOMPARE(calls, 1);
    }

    void handlerMayDestroyAnotherWatch()
    {
        std::unique_ptr<WatchRecorder> victim;
        int calls = 0;
        const auto kill = [&victim, &calls](const QByteArray&) {
            victim.reset();
            ++calls;
        };
        const DirectoryWatch before(path("d"), DirectoryWatch::Interest::content, kill);
        victim = std::make_unique<WatchRecorder>(path("d"));
        const DirectoryWatch after(path("d"), DirectoryWatch::Interest::content, kill);
        write("d/a");
        QTRY_COMPARE(calls, 2);
        QVERIFY(!victim);
    }

    void handlerMayMakeAWatch()
    {
        std::unique_ptr<WatchRecorder> made;
        const DirectoryWatch maker(
            path("d"), DirectoryWatch::Interest::content, [this, &made](const QByteArray&) {
                if (!made)
                    made = std::make_unique<WatchRecorder>(path("d"));
            });
        write("d/a");
        QTRY_VERIFY(made);
        QVERIFY(made->told.isEmpty());
        write("d/b");
        QTRY_VERIFY(made->heard("b"));
        QVERIFY(!made->heard("a"));
    }

    void takenNamesAreNotTold()
    {
        WatchRecorder ear(path("d"));
        write("d/a");
        write("d/b");
        QCOMPARE(ear.watch->takePending(), (QByteArrayList { "a", "b" }));
        QCOMPARE(ear.watch->takePending(), QByteArrayList());
        deliverPendingEvents();
        QVERIFY(ear.told.isEmpty());
        QVERIFY(QDir(path("d")).removeRecursively());
        QCOMPARE(ear.watch->takePending(), QByteArrayList { QByteArray() });
    }

    void takingNamesLeavesThoseOfOthers()
    {
        WatchRecorder taker(path("d"));
        WatchRecorder other(path("d"));
        write("d/a");
        QCOMPARE(taker.watch->takePending(), QByteArrayList { "a" });
        QTRY_COMPARE(other.told, QByteArrayList { "a" });
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DirectoryWatchTest)
#include "DirectoryWatchTest.moc"
