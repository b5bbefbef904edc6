#include "Platform/Files/DirectoryWatch.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/KernelResources.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/WatchedPlace.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTest>
#include <map>
#include <sys/inotify.h>

using namespace kestrum;

/// The kernel resources that watches use, and how watches work when these resources are used up.
class WatchResourcesTest : public QObject, WatchedPlace {
    Q_OBJECT

private Q_SLOTS:
    void init() { makePlace(); }

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
        QCOMPARE(noisy, 2); // events of the directory and its parent
        QVERIFY(masks.size() > noisy);
    }

    void instanceIsNotInherited()
    {
        WatchRecorder ear(path("d"));
        int instances = 0;
        const QDir descriptors(QStringLiteral("/proc/self/fd"));
        for (const QString& descriptor : descriptors.entryList(QDir::AllEntries | QDir::System)) {
            if (QFile::symLinkTarget(descriptors.filePath(descriptor)).contains(u"inotify")) {
                ++instances;
                QCOMPARE(::fcntl(descriptor.toInt(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
            }
        }
        QCOMPARE(instances, 1);
    }

    void withoutDescriptorsInstancesOrWatchesTheDirectoryIsLookedAt()
    {
        FaultRow row("watches used up");
        // All kinds of shortage are tested at once, because each test waits for several polls.
        std::map<const char*, std::unique_ptr<HelperProcess>> helpers;
        bool isSupported = true;
        for (const char* kind : { "descriptors", "instances", "watches" }) {
            // The sanitizer needs some descriptors, and reports a lack as an error.
            if (Programs::areSanitized && kind == std::string_view("descriptors"))
                continue;
            auto helper = std::make_unique<HelperProcess>(
                QStringList { QStringLiteral("starve"), QString::fromLatin1(kind), path("d") });
            const QByteArray first = helper->line();
            isSupported = isSupported && !first.startsWith("unsupported");
            if (first.startsWith("unsupported"))
                continue;
            QVERIFY2(first == "polled", kind);
            helpers[kind] = std::move(helper);
        }
        // A deliberately wrong program, which does not look by itself: it proves that the checks below can fail.
        HelperProcess deaf({ QStringLiteral("starved"), QStringLiteral("instances"),
            QStringLiteral("watch-only"), path("d") });
        isSupported = isSupported && deaf.line() == "ready";
        const auto expect = [&helpers, &row](const QByteArray& line) {
            for (const auto& [kind, helper] : helpers) {
                QVERIFY2(helper->line(5000) == line, kind);
                row.add();
            }
        };
        // Each poll reports a possible change of anything.
        expect("told");
        expect("told");
        for (const auto& [kind, helper] : helpers)
            helper->say("relieve");
        expect("relieved");
        expect("told");
        write("d/file");
        expect("told file");
        // The events of creating and closing the file may come in two batches. After that, nothing is polled.
        const QDeadlineTimer quiet(2500);
        for (const auto& [kind, helper] : helpers) {
            while (helper->hasLine(int(quiet.remainingTime())))
                QVERIFY2(helper->line() == "told file", kind);
            QVERIFY2(helper->finish() == 0, kind);
            QVERIFY2(helper->errors().count("looked at every 2 s") == 1, kind);
        }
        if (isSupported) {
            QVERIFY(!deaf.hasLine(0));
            row.addFoundOut();
        }
        QCOMPARE(deaf.finish(), 0);
        if (!isSupported)
            QSKIP("this kernel does not let us lower all limits for one process");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, WatchResourcesTest)
#include "WatchResourcesTest.moc"
