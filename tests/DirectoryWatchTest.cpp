#include "Platform/DirectoryWatch.h"
#include "tests/Peer.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

namespace {

/// A watch, and what it told.
struct Ear {
    explicit Ear(
        const QString& directory, DirectoryWatch::Interest interest = DirectoryWatch::Interest::content)
        : watch(std::make_unique<DirectoryWatch>(
            directory, interest, [this](const QByteArray& entry) { told.append(entry); }))
    {
    }
    bool heard(const char* entry) const { return told.contains(QByteArray(entry)); }

    QByteArrayList told;
    std::unique_ptr<DirectoryWatch> watch;
};

/// The masks of all kernel watches of this process, by what /proc says of its descriptors.
QList<quint32> kernelWatches()
{
    QList<quint32> masks;
    const QStringList descriptors
        = QDir(QStringLiteral("/proc/self/fdinfo")).entryList(QDir::Files | QDir::NoDotAndDotDot);
    for (const QString& descriptor : descriptors) {
        QFile file(QStringLiteral("/proc/self/fdinfo/") + descriptor);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArrayList lines = file.readAll().split('\n');
        for (const QByteArray& line : lines) {
            const qsizetype at = line.indexOf(" mask:");
            if (line.startsWith("inotify ") && at > 0)
                masks.append(line.mid(at + 6, line.indexOf(' ', at + 1) - at - 6).toUInt(nullptr, 16));
        }
    }
    return masks;
}

constexpr int quietTime = 50;

} // namespace

class DirectoryWatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void writtenCreatedMovedAndRemovedEntriesAreTold();
    void writingIsToldWhenTheFileIsClosed();
    void timesAreToldToWhomTheyInterest();
    void nameIsToldOncePerBatch();
    void whatWasBeforeTheWatchIsNotTold();
    void allWatchesOfADirectoryHear();
    void neighboursAreNotTold();
    void directoryWithAFinalSlashOrDotsIsTheSame();

    void absentDirectoryIsFoundWhenItIsMade();
    void directoryMadeTogetherWithItsParentsIsFound();
    void removedDirectoryIsFollowedToTheNew();
    void directoryThatSomebodyHoldsOpenIsFollowedToo();
    void renamedDirectoryIsLeft();
    void directoryReplacedInOneStepIsFollowed();
    void movedAncestorIsNoticed();
    void exchangedAncestorIsNoticed();
    void deletedAndRecreatedHundredTimesIsNeverLost();
    void linkedDirectoryIsFollowedAndSoIsItsNewTarget();
    void fileInPlaceOfTheDirectoryIsWaitedOut();

    void overflowTellsThatAnythingMayHaveChanged();
    void handlerMayDestroyItsOwnWatch();
    void handlerMayDestroyAnotherWatch();
    void handlerMayMakeAWatch();
    void takenNamesAreNotTold();
    void takingNamesLeavesThoseOfOthers();

    void noKernelWatchIsLeftBehind();
    void farAncestorsAreWatchedForMovesOnly();
    void instanceIsNotInherited();
    void withoutDescriptorsTheDirectoryIsLookedAt();
    void withoutInstancesTheDirectoryIsLookedAt();
    void withoutKernelWatchesTheDirectoryIsLookedAt();

private:
    QString path(const char* name) const { return m_place->filePath(QString::fromLatin1(name)); }
    QByteArray encoded(const char* name) const { return QFile::encodeName(path(name)); }
    void makeDirectory(const char* name) const { QCOMPARE(::mkdir(encoded(name).constData(), 0700), 0); }
    void write(const char* name, const QByteArray& text = "x") const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QCOMPARE(file.write(text), text.size());
    }
    void touch(const char* name) const
    {
        QCOMPARE(::utimensat(AT_FDCWD, encoded(name).constData(), nullptr, 0), 0);
    }
    void rename(const char* from, const char* to) const
    {
        QCOMPARE(::rename(encoded(from).constData(), encoded(to).constData()), 0);
    }
    // Whether the watch, whatever it went through, hears of an entry of the directory that is there now.
    void verifyHears(Ear& ear, const char* directory) const
    {
        QTest::qWait(quietTime);
        ear.told.clear();
        write((QByteArray(directory) + "/probe").constData());
        QTRY_VERIFY(ear.heard("probe"));
    }
    void starved(const char* kind) const;

    std::unique_ptr<QTemporaryDir> m_place;
};

void DirectoryWatchTest::init()
{
    m_place = std::make_unique<QTemporaryDir>();
    makeDirectory("d");
}

void DirectoryWatchTest::writtenCreatedMovedAndRemovedEntriesAreTold()
{
    write("d/written");
    write("d/gone");
    write("d/out");
    write("in");
    Ear ear(path("d"));
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

void DirectoryWatchTest::writingIsToldWhenTheFileIsClosed()
{
    write("d/file");
    Ear ear(path("d"));
    {
        QFile file(path("d/file"));
        QVERIFY(file.open(QIODevice::Append | QIODevice::Unbuffered));
        QCOMPARE(file.write("more"), 4);
        QTest::qWait(quietTime);
        QVERIFY(ear.told.isEmpty());
    }
    QTRY_COMPARE(ear.told, QByteArrayList { "file" });
}

void DirectoryWatchTest::timesAreToldToWhomTheyInterest()
{
    write("d/file");
    Ear content(path("d"));
    Ear touched(path("d"), DirectoryWatch::Interest::touched);
    touch("d/file");
    QTRY_COMPARE(touched.told, QByteArrayList { "file" });
    QTest::qWait(quietTime);
    QVERIFY(content.told.isEmpty());
}

void DirectoryWatchTest::nameIsToldOncePerBatch()
{
    write("d/a");
    write("d/b");
    Ear ear(path("d"), DirectoryWatch::Interest::touched);
    for (int i = 0; i < 100; ++i) {
        touch("d/b");
        touch("d/a");
    }
    QTRY_VERIFY(!ear.told.isEmpty());
    QTest::qWait(quietTime);
    QCOMPARE(ear.told, (QByteArrayList { "b", "a" }));
}

void DirectoryWatchTest::whatWasBeforeTheWatchIsNotTold()
{
    Ear early(path("d"));
    write("d/before");
    Ear late(path("d"));
    write("d/after");
    QTRY_VERIFY(late.heard("after"));
    QCOMPARE(late.told, QByteArrayList { "after" });
    QCOMPARE(early.told, (QByteArrayList { "before", "after" }));
}

void DirectoryWatchTest::allWatchesOfADirectoryHear()
{
    Ear first(path("d"));
    Ear second(path("d"), DirectoryWatch::Interest::touched);
    Ear third(path("d"));
    second.watch.reset();
    write("d/file");
    QTRY_VERIFY(first.heard("file") && third.heard("file"));
    QVERIFY(second.told.isEmpty());
}

void DirectoryWatchTest::neighboursAreNotTold()
{
    Ear ear(path("d"));
    write("neighbour");
    makeDirectory("d2");
    write("d2/file");
    QTest::qWait(quietTime);
    QVERIFY(ear.told.isEmpty());
}

void DirectoryWatchTest::directoryWithAFinalSlashOrDotsIsTheSame()
{
    Ear ear(path("d") + QStringLiteral("/../d/./"));
    write("d/file");
    QTRY_VERIFY(ear.heard("file"));
}

void DirectoryWatchTest::absentDirectoryIsFoundWhenItIsMade()
{
    Ear ear(path("later"));
    QVERIFY(ear.watch->isNotified());
    write("other");
    QTest::qWait(quietTime);
    QVERIFY(ear.told.isEmpty());
    makeDirectory("later");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "later");
}

void DirectoryWatchTest::directoryMadeTogetherWithItsParentsIsFound()
{
    Ear ear(path("a/b/c/e"));
    QVERIFY(QDir().mkpath(path("a/b/c/e")));
    write("a/b/c/e/early");
    QTRY_VERIFY(ear.heard("") || ear.heard("early"));
    verifyHears(ear, "a/b/c/e");
}

void DirectoryWatchTest::removedDirectoryIsFollowedToTheNew()
{
    Ear ear(path("d"));
    QVERIFY(QDir().rmdir(path("d")));
    QTRY_VERIFY(ear.heard(""));
    ear.told.clear();
    makeDirectory("d");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "d");

    // Both in one turn.
    QVERIFY(QDir(path("d")).removeRecursively());
    makeDirectory("d");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "d");
}

void DirectoryWatchTest::directoryThatSomebodyHoldsOpenIsFollowedToo()
{
    // The kernel says of a directory that it is gone only when the last holder has let it go.
    const int holder = ::open(encoded("d").constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QVERIFY(holder >= 0);
    Ear ear(path("d"));
    QVERIFY(QDir().rmdir(path("d")));
    makeDirectory("d");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "d");
    ::close(holder);
}

void DirectoryWatchTest::renamedDirectoryIsLeft()
{
    Ear ear(path("d"));
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

void DirectoryWatchTest::directoryReplacedInOneStepIsFollowed()
{
    Ear ear(path("d"));
    makeDirectory("new");
    rename("new", "d");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "d");
}

void DirectoryWatchTest::movedAncestorIsNoticed()
{
    QVERIFY(QDir().mkpath(path("a/b/c/e")));
    Ear ear(path("a/b/c/e"));
    rename("a", "old");
    QTRY_VERIFY(ear.heard(""));
    QVERIFY(QDir().mkpath(path("a/b/c/e")));
    verifyHears(ear, "a/b/c/e");
    rename("a/b", "a/old");
    QTRY_VERIFY(ear.heard(""));
    QVERIFY(QDir().mkpath(path("a/b/c/e")));
    verifyHears(ear, "a/b/c/e");
}

void DirectoryWatchTest::exchangedAncestorIsNoticed()
{
    QVERIFY(QDir().mkpath(path("a/b/c")));
    QVERIFY(QDir().mkpath(path("x/b/c")));
    Ear ear(path("a/b/c"));
    QCOMPARE(
        ::renameat2(AT_FDCWD, encoded("a").constData(), AT_FDCWD, encoded("x").constData(), RENAME_EXCHANGE),
        0);
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "a/b/c");
}

void DirectoryWatchTest::deletedAndRecreatedHundredTimesIsNeverLost()
{
    makeDirectory("d/e");
    Ear ear(path("d/e"));
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

void DirectoryWatchTest::linkedDirectoryIsFollowedAndSoIsItsNewTarget()
{
    makeDirectory("other");
    QVERIFY(QFile::link(path("d"), path("link")));
    Ear ear(path("link"));
    write("d/file");
    QTRY_VERIFY(ear.heard("file"));
    QVERIFY(QFile::link(path("other"), path("newlink")));
    rename("newlink", "link");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "other");
}

void DirectoryWatchTest::fileInPlaceOfTheDirectoryIsWaitedOut()
{
    write("place");
    Ear ear(path("place"));
    QVERIFY(ear.watch->isNotified());
    QVERIFY(QFile::remove(path("place")));
    makeDirectory("place");
    QTRY_VERIFY(ear.heard(""));
    verifyHears(ear, "place");
}

void DirectoryWatchTest::overflowTellsThatAnythingMayHaveChanged()
{
    QFile limit(QStringLiteral("/proc/sys/fs/inotify/max_queued_events"));
    QVERIFY(limit.open(QIODevice::ReadOnly));
    const int queued = limit.readAll().trimmed().toInt();
    if (queued > 1'000'000)
        QSKIP("this system's queue is too long to be filled in a test");
    write("d/a");
    write("d/b");
    makeDirectory("quiet");
    Ear ear(path("d"), DirectoryWatch::Interest::touched);
    Ear other(path("quiet"));
    // Two names in turn, as the kernel merges equal neighbours.
    for (int i = 0; i <= queued / 2; ++i) {
        touch("d/a");
        touch("d/b");
    }
    QTRY_VERIFY(ear.heard("") && other.heard(""));
    QVERIFY(!ear.heard("a")); // "anything" stands for all names of its batch
    verifyHears(ear, "d");
    verifyHears(other, "quiet");
}

void DirectoryWatchTest::handlerMayDestroyItsOwnWatch()
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
    QTest::qWait(quietTime);
    QCOMPARE(calls, 1);
}

void DirectoryWatchTest::handlerMayDestroyAnotherWatch()
{
    std::unique_ptr<Ear> victim;
    int calls = 0;
    const auto kill = [&victim, &calls](const QByteArray&) {
        victim.reset();
        ++calls;
    };
    const DirectoryWatch before(path("d"), DirectoryWatch::Interest::content, kill);
    victim = std::make_unique<Ear>(path("d"));
    const DirectoryWatch after(path("d"), DirectoryWatch::Interest::content, kill);
    write("d/a");
    QTRY_COMPARE(calls, 2);
    QVERIFY(!victim);
}

void DirectoryWatchTest::handlerMayMakeAWatch()
{
    std::unique_ptr<Ear> made;
    const DirectoryWatch maker(
        path("d"), DirectoryWatch::Interest::content, [this, &made](const QByteArray&) {
            if (!made)
                made = std::make_unique<Ear>(path("d"));
        });
    write("d/a");
    QTRY_VERIFY(made);
    QVERIFY(made->told.isEmpty());
    write("d/b");
    QTRY_VERIFY(made->heard("b"));
    QVERIFY(!made->heard("a"));
}

void DirectoryWatchTest::takenNamesAreNotTold()
{
    Ear ear(path("d"));
    write("d/a");
    write("d/b");
    QCOMPARE(ear.watch->takePending(), (QByteArrayList { "a", "b" }));
    QCOMPARE(ear.watch->takePending(), QByteArrayList());
    QTest::qWait(quietTime);
    QVERIFY(ear.told.isEmpty());
    QVERIFY(QDir(path("d")).removeRecursively());
    QCOMPARE(ear.watch->takePending(), QByteArrayList { QByteArray() });
}

void DirectoryWatchTest::takingNamesLeavesThoseOfOthers()
{
    Ear taker(path("d"));
    Ear other(path("d"));
    write("d/a");
    QCOMPARE(taker.watch->takePending(), QByteArrayList { "a" });
    QTRY_COMPARE(other.told, QByteArrayList { "a" });
}

void DirectoryWatchTest::noKernelWatchIsLeftBehind()
{
    const qsizetype before = kernelWatches().size();
    {
        Ear ear(path("d"));
        Ear absent(path("not/yet/there"));
        QVERIFY(kernelWatches().size() > before);
        QVERIFY(QDir().mkpath(path("not/yet/there")));
        QTRY_VERIFY(absent.heard(""));
    }
    QCOMPARE(kernelWatches().size(), before);
}

void DirectoryWatchTest::farAncestorsAreWatchedForMovesOnly()
{
    // What happens in /tmp or in the home is no reason to wake up.
    Ear ear(path("a/b"));
    QVERIFY(QDir().mkpath(path("a/b")));
    QTRY_VERIFY(ear.heard(""));
    qsizetype noisy = 0;
    const QList<quint32> masks = kernelWatches();
    for (const quint32 mask : masks)
        noisy += (mask & IN_CREATE) != 0 ? 1 : 0;
    QCOMPARE(noisy, 2); // the directory and its parent
    QVERIFY(masks.size() > noisy);
}

void DirectoryWatchTest::instanceIsNotInherited()
{
    Ear ear(path("d"));
    int instances = 0;
    const QStringList descriptors = QDir(QStringLiteral("/proc/self/fd"))
                                        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& descriptor : descriptors) {
        if (QFile::symLinkTarget(QStringLiteral("/proc/self/fd/") + descriptor)
                .contains(QStringLiteral("inotify"))) {
            ++instances;
            QCOMPARE(::fcntl(descriptor.toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    }
    QCOMPARE(instances, 1);
}

void DirectoryWatchTest::withoutDescriptorsTheDirectoryIsLookedAt()
{
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer needs descriptors of its own and takes their lack for a fault");
#endif
    starved("descriptors");
}

void DirectoryWatchTest::withoutInstancesTheDirectoryIsLookedAt()
{
    starved("instances");
}

void DirectoryWatchTest::withoutKernelWatchesTheDirectoryIsLookedAt()
{
    starved("watches");
}

void DirectoryWatchTest::starved(const char* kind) const
{
    Peer peer({ QStringLiteral("starve"), QString::fromLatin1(kind), path("d") });
    const QByteArray first = peer.line();
    if (first.startsWith("unsupported"))
        QSKIP("this kernel does not let us lower the limits for one process");
    QCOMPARE(first, QByteArray("polled"));
    // Told without a cause, as nobody knows; and once more.
    QCOMPARE(peer.line(5000), QByteArray("told"));
    QCOMPARE(peer.line(5000), QByteArray("told"));
    peer.say("relieve");
    QCOMPARE(peer.line(5000), QByteArray("relieved"));
    QCOMPARE(peer.line(5000), QByteArray("told"));
    write("d/file");
    QCOMPARE(peer.line(1000), QByteArray("told file"));
    // The file's creation and its end may be two batches; but looking without a cause has ended.
    while (peer.hasLine(2500))
        QCOMPARE(peer.line(), QByteArray("told file"));
    QCOMPARE(peer.finish(), 0);
    QCOMPARE(peer.errors().count("looked at every 2 s"), 1);
}

KESTRUM_TEST_MAIN(QCoreApplication, DirectoryWatchTest)
#include "DirectoryWatchTest.moc"
