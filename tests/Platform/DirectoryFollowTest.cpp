#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Files/FileDescriptor.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/WatchedPlace.h"

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>

using namespace kestrum;

/// A watch follows a directory that is created, removed, renamed or replaced.
class DirectoryFollowTest : public QObject, WatchedPlace {
    Q_OBJECT

private Q_SLOTS:
    void init() { makePlace(); }

    void changedPathIsFollowed_data()
    {
        QTest::addColumn<QString>("watched");
        QTest::addColumn<Step>("before"); // steps before the watch exists
        QTest::addColumn<Step>("change");
        const auto row = [](const char* name, const char* watched, Step before, Step change) {
            QTest::newRow(name) << QString::fromLatin1(watched) << before << change;
        };
        const Step nothing = [] {};
        const auto make
            = [this](const char* name) { return [=, this] { QVERIFY(QDir().mkpath(path(name))); }; };
        row("absent, made", "later", nothing, make("later"));
        row("made together with its parents", "a/b/c/e", nothing, [=, this] {
            make("a/b/c/e")();
            write("a/b/c/e/early");
        });
        row("removed and made again", "d", nothing, [this] {
            QVERIFY(QDir().rmdir(path("d")));
            deliverPendingEvents();
            QVERIFY(m_ear->heard("")); // of the removal alone
            m_ear->told.clear();
            makeDirectory("d");
        });
        row("removed and made again at once", "d", nothing, [=, this] {
            QVERIFY(QDir(path("d")).removeRecursively());
            makeDirectory("d");
        });
        // The kernel reports that a directory is deleted only after its last descriptor is closed.
        row(
            "the same, while somebody holds it open", "d",
            [this] { m_holder = FileDescriptor(::open(encoded("d").constData(), O_RDONLY | O_CLOEXEC)); },
            [=, this] {
                QVERIFY(m_holder.isValid());
                QVERIFY(QDir().rmdir(path("d")));
                makeDirectory("d");
            });
        row("replaced in one step", "d", make("new"), [this] { rename("new", "d"); });
        row("far ancestor moved", "a/b/c/e", make("a/b/c/e"), [=, this] {
            rename("a", "old");
            deliverPendingEvents();
            QVERIFY(m_ear->heard("")); // of the move alone
            m_ear->told.clear();
            make("a/b/c/e")();
        });
        row("near ancestor moved", "a/b/c/e", make("a/b/c/e"), [=, this] {
            rename("a/b", "a/old");
            make("a/b/c/e")();
        });
        row(
            "ancestor exchanged", "a/b/c",
            [=] {
                make("a/b/c")();
                make("x/b/c")();
            },
            [this] {
                QCOMPARE(::renameat2(AT_FDCWD, encoded("a").constData(), AT_FDCWD, encoded("x").constData(),
                             RENAME_EXCHANGE),
                    0);
            });
        row(
            "link that gets another target", "link",
            [this] {
                makeDirectory("other");
                QVERIFY(QFile::link(path("d"), path("link")));
                QVERIFY(QFile::link(path("other"), path("newlink")));
            },
            [this] { rename("newlink", "link"); });
        row(
            "file in its place", "place", [this] { write("place"); },
            [this] {
                QVERIFY(QFile::remove(path("place")));
                makeDirectory("place");
            });
    }

    void changedPathIsFollowed()
    {
        QFETCH(const QString, watched);
        QFETCH(const Step, before);
        QFETCH(const Step, change);
        before();
        WatchRecorder ear(path(qUtf8Printable(watched)));
        m_ear = &ear;
        QVERIFY(ear.watch->isNotified());
        change();
        QTRY_VERIFY(ear.heard("") || ear.heard("early"));
        verifyHears(ear, qUtf8Printable(watched));
    }

    void linkedDirectoryIsWatchedAtItsTarget()
    {
        QVERIFY(QFile::link(path("d"), path("link")));
        WatchRecorder ear(path("link"));
        write("d/file");
        QTRY_VERIFY(ear.heard("file"));
    }

    void absentAndRenamedDirectoriesAreQuiet()
    {
        WatchRecorder absent(path("later"));
        WatchRecorder renamed(path("d"));
        rename("d", "old");
        deliverPendingEvents();
        QVERIFY(renamed.heard(""));
        absent.told.clear();
        renamed.told.clear();
        write("other");
        write("old/file");
        deliverPendingEvents();
        QCOMPARE(absent.told, QByteArrayList());
        QCOMPARE(renamed.told, QByteArrayList());
        makeDirectory("d");
        verifyHears(renamed, "d");
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

private:
    using Step = std::function<void()>;
    WatchRecorder* m_ear = nullptr;
    FileDescriptor m_holder;
};

KESTRUM_TEST_MAIN(QCoreApplication, DirectoryFollowTest)
#include "DirectoryFollowTest.moc"
