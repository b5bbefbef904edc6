#include "Platform/Files/DirectoryWatch.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/WatchedPlace.h"

#include <QCoreApplication>
#include <QTest>
#include <sys/inotify.h>

using namespace kestrum;

namespace {

/// The event masks of all kernel watches of this process, read from /proc/self/fdinfo.
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

} // namespace

/// The kernel resources that watches use, and how watches work when the kernel has none left.
class WatchResourcesTest : public QObject, WatchedPlace {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_place = std::make_unique<QTemporaryDir>();
        makeDirectory("d");
    }

    void noKernelWatchIsLeftBehind()
    {
        const qsizetype before = kernelWatches().size();
        {
            WatchRecorder ear(path("d"));
            WatchRecorder absent(path("not/yet/there"));
            QVERIFY(kernelWatches().size() > before);
            QVERIFY(QDir().mkpath(path("not/yet/there")));
            QTRY_VERIFY(absent.heard(""));
        }
        QCOMPARE(kernelWatches().size(), before);
    }

    void farAncestorsAreWatchedForMovesOnly()
    {
        // Events in a far ancestor, such as /tmp or the home folder, must not wake the process.
        WatchRecorder ear(path("a/b"));
        QVERIFY(QDir().mkpath(path("a/b")));
        QTRY_VERIFY(ear.heard(""));
        qsizetype noisy = 0;
        const QList<quint32> masks = kernelWatches();
        for (const quint32 mask : masks)
            noisy += (mask & IN_CREATE) != 0 ? 1 : 0;
        QCOMPARE(noisy, 2); // the directory and its parent
        QVERIFY(masks.size() > noisy);
    }

    void instanceIsNotInherited()
    {
        WatchRecorder ear(path("d"));
        int instances = 0;
        const QStringList descriptors
            = QDir(QStringLiteral("/proc/self/fd"))
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

    void withoutDescriptorsTheDirectoryIsLookedAt()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizer needs descriptors of its own and takes their lack for a fault");
#endif
        starved("descriptors");
    }

    void withoutInstancesTheDirectoryIsLookedAt()
    {
        starved("instances");
    }

    void withoutKernelWatchesTheDirectoryIsLookedAt()
    {
        starved("watches");
    }

private:
    void starved(const char* kind) const
    {
        HelperProcess helper({ QStringLiteral("starve"), QString::fromLatin1(kind), path("d") });
        const QByteArray first = helper.line();
        if (first.startsWith("unsupported"))
            QSKIP("this kernel does not let us lower the limits for one process");
        QCOMPARE(first, QByteArray("polled"));
        // Each poll reports that anything may have changed.
        QCOMPARE(helper.line(5000), QByteArray("told"));
        QCOMPARE(helper.line(5000), QByteArray("told"));
        helper.say("relieve");
        QCOMPARE(helper.line(5000), QByteArray("relieved"));
        QCOMPARE(helper.line(5000), QByteArray("told"));
        write("d/file");
        QCOMPARE(helper.line(1000), QByteArray("told file"));
        // The events of creating and closing the file may come in two batches. There are no polls any more.
        while (helper.hasLine(2500))
            QCOMPARE(helper.line(), QByteArray("told file"));
        QCOMPARE(helper.finish(), 0);
        QCOMPARE(helper.errors().count("looked at every 2 s"), 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, WatchResourcesTest)
#include "WatchResourcesTest.moc"
