// What happens when a system call of a save fails, once or for good.

#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>
#include <algorithm>

using namespace kestrum;

class StoreFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString obstacle = TracedSave::obstacle();
        if (!obstacle.isEmpty())
            QSKIP(qUtf8Printable(obstacle));
    }

    void typedReadMakesNoSystemCall()
    {
        TracedSave::prepare(R"({"text": "x", "truth": true})");
        const auto outcome = TracedSave::run("read");
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.calls.size(), 0);
    }

    void failedCallLeavesOldOrNewAndIsTold_data() { TracedSave::addStates(); }

    void failedCallLeavesOldOrNewAndIsTold()
    {
        QFETCH(const QByteArray, before);
        TracedSave::prepare(before);
        const auto sound = TracedSave::run("save");
        QCOMPARE(sound.exitCode, 0);
        QVERIFY(sound.calls.size() > 15);
        int failures = 0;
        int round = 0;
        QByteArray last;
        qsizetype tried = 0;
        for (const auto& call : sound.calls) {
            // Of several readlink calls in a row, one for each folder of a path, only the first is tried.
            if (call.name == "readlink" && std::exchange(last, call.name) == call.name)
                continue;
            last = call.name;
            ++tried;
            for (const char* once : { "", "+" }) {
#ifdef __SANITIZE_ADDRESS__
                // The sanitizers check memory by writing to pipes, and end the process if that fails.
                if (call.name == "write" && *once)
                    continue;
#endif
                const char* const errors[]
                    = { "EIO", "ENOSPC", "EACCES", "EMFILE", "EROFS", "EDQUOT", "ENOMEM" };
                const char* const error = errors[round++ % std::size(errors)];
                const QByteArray injection
                    = call.name + ":error=" + error + ":when=" + QByteArray::number(call.number) + once;
                TracedSave::prepare(before);
                const auto outcome = TracedSave::run("save", injection);
                failures += outcome.exitCode == TracedSave::reportedFailure ? 1 : 0;
                QVERIFY2(outcome.exitCode == 0 || outcome.exitCode == TracedSave::reportedFailure,
                    injection.constData());
                if (outcome.exitCode == TracedSave::reportedFailure)
                    QVERIFY2(TracedSave::leftovers().isEmpty(), injection.constData());
                const QString flaw = TracedSave::flaw(before, outcome, injection);
                QVERIFY2(flaw.isEmpty(), qUtf8Printable(QString::fromLatin1(injection) + u' ' + flaw));
            }
        }
        // Most failed calls fail the save. A few calls are not required, such as the one that sets the exact time stamp.
        QVERIFY2(failures > tried, QByteArray::number(failures).constData());
    }

    void namedStepsAreInTheError_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QByteArray& call, const char* error) {
            QTest::newRow(name) << call << QString::fromLatin1(error);
        };
        row("lock", "flock:error=ENOLCK", "cannot lock: No locks available");
        row("write", "write:error=ENOSPC", "cannot write: No space left on device");
        row("sync", "fsync:error=EIO", "cannot bring to disk: Input/output error");
        row("mode", "fchmod:error=EPERM", "cannot keep the permissions: Operation not permitted");
        row("rename", "renameat:error=EXDEV", "cannot replace: Invalid cross-device link");
    }

    void namedStepsAreInTheError()
    {
        const QByteArray before("{\"a\": 1, \"b\": true}");
        TracedSave::prepare(before);
        const auto sound = TracedSave::run("save");
        QFETCH(QByteArray, call);
        // The save's first call of this name.
        const QByteArray name = call.left(call.indexOf(':'));
        const auto found = std::find_if(sound.calls.begin(), sound.calls.end(),
            [&](const TracedSave::Call& it) { return it.name == name; });
        QVERIFY(found != sound.calls.end());
        call += ":when=" + QByteArray::number(found->number);
        TracedSave::prepare(before);
        const auto outcome = TracedSave::run("save", call);
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QCOMPARE(TracedSave::content(), before);
        QFETCH(const QString, error);
        QCOMPARE(outcome.error, TracedSave::path() + QStringLiteral(": ") + error);
    }

    void failedDirectorySyncIsMadeUpFor()
    {
        // The new file is in place, but the save must be reported as failed. A second save of the same values must
        // not succeed before the directory is on disk.
        const QByteArray before("{\"a\": 1, \"b\": true}");
        TracedSave::prepare(before);
        const auto sound = TracedSave::run("save");
        QList<int> syncs;
        for (const TracedSave::Call& call : sound.calls) {
            if (call.name == "fsync")
                syncs.append(call.number);
        }
        QCOMPARE(syncs.size(), 2); // the file, then its directory
        TracedSave::prepare(before);
        const QByteArray injection = "fsync:error=EIO:when=" + QByteArray::number(syncs.constLast()) + '+';
        const auto outcome = TracedSave::run("save-twice", injection);
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QVERIFY2(outcome.error.contains(QStringLiteral("directory")), qUtf8Printable(outcome.error));
    }

    void failedCloseFailsTheSave()
    {
        // Network file systems may report a failed write only when the file is closed.
        const QByteArray before("{\"a\": 1, \"b\": true}");
        const auto isCloseOfTheNewFile = [](const TracedSave::Call& call) {
            return call.name == "close" && call.line.contains(".kestrum-");
        };
        // The number of files that a process closes before the save differs from run to run. So try until the intended call
        // failed.
        TracedSave::Outcome outcome;
        for (int tries = 0; tries < 10; ++tries) {
            TracedSave::prepare(before);
            const auto sound = TracedSave::run("save");
            const auto close = std::find_if(sound.calls.begin(), sound.calls.end(), isCloseOfTheNewFile);
            QVERIFY(close != sound.calls.end());
            TracedSave::prepare(before);
            outcome = TracedSave::run("save", "close:error=EIO:when=" + QByteArray::number(close->number));
            const auto failed = std::find_if(outcome.calls.begin(), outcome.calls.end(), isCloseOfTheNewFile);
            if (failed != outcome.calls.end() && failed->line.contains("INJECTED"))
                break;
        }
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QCOMPARE(outcome.error, TracedSave::path() + QStringLiteral(": cannot close: Input/output error"));
        QCOMPARE(TracedSave::content(), before);
        QVERIFY(TracedSave::leftovers().isEmpty());
    }

    void copyOfADamagedFileIsOnDiskBeforeTheFileIsReplaced()
    {
        TracedSave::prepare("{\"a\": 1, \"b\": true, \"n\": NaN}");
        const auto outcome = TracedSave::run("save");
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.flushed(), (QByteArrayList { "temporary", "kestrum", "temporary", "kestrum" }));
        const auto indexOf = [&outcome](const char* name, const char* words) {
            const auto found = std::find_if(outcome.calls.begin(), outcome.calls.end(),
                [=](const TracedSave::Call& call) { return call.name == name && call.line.contains(words); });
            return found - outcome.calls.begin();
        };
        const auto kept = indexOf("renameat2", ".damaged-1\"");
        QVERIFY(indexOf("fsync", ".kestrum-") < kept); // the content is on disk before the rename
        QVERIFY(kept < indexOf("fsync", "/kestrum>")); // the new name is brought to disk, too
        QVERIFY(indexOf("fsync", "/kestrum>") < indexOf("renameat", "suite.json\""));
    }

    void entryOfANewDirectoryIsBroughtToDisk()
    {
        TracedSave::prepare({});
        QVERIFY(QFileInfo(TestHome::configDirectory()).dir().removeRecursively());
        const auto outcome = TracedSave::run("save");
        QCOMPARE(outcome.exitCode, 0);
        const QByteArray home = QFile::encodeName(TestHome::root()).split('/').constLast();
        QCOMPARE(outcome.flushed(), (QByteArrayList { home, ".config", "temporary", "kestrum" }));
    }

    void noDescriptorIsLeftToChildren_data()
    {
        TracedSave::addStates();
    }

    void noDescriptorIsLeftToChildren()
    {
        QFETCH(const QByteArray, before);
        TracedSave::prepare(before);
        const auto outcome = TracedSave::run("save");
        QCOMPARE(outcome.exitCode, 0);
        int opened = 0;
        for (const auto& call : outcome.calls) {
            if (call.name == "openat" && call.line.contains(TestHome::root().toUtf8())) {
                ++opened;
                QVERIFY2(call.line.contains("O_CLOEXEC"), call.line.constData());
            }
        }
        QVERIFY2(
            opened >= 4, QByteArray::number(opened).constData()); // the folder, lock, old file and new file
    }
};

KESTRUM_TEST_MAIN_OF(StoreFaultsTest)(int argc, char** argv)
{
    if (const int exitCode = TracedSave::played(argc, argv); exitCode >= 0)
        return exitCode;
    const TestHome home;
    const QCoreApplication application(argc, argv);
    StoreFaultsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StoreFaultsTest.moc"
