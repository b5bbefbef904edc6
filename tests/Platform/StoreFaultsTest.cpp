// What a save leaves when one of its system calls fails, once or always, or when the process is killed at this call.

#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QCoreApplication>
#include <QTest>
#include <csignal>
#include <cstdlib>

using namespace kestrum;

class StoreFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (TracedSave::run().exitCode == TracedSave::unsupported)
            QSKIP("the kernel does not let a process watch its system calls");
    }

    void typedReadMakesNoSystemCall()
    {
        TracedSave::prepare(R"({"text": "x", "truth": true})");
        const auto outcome = TracedSave::run([](UserDefaults& store) {
            bool isRead = true;
            for (int i = 0; i < 1000; ++i)
                isRead = isRead && store.string("text") == u"x" && store.boolean("truth") == true;
            return isRead;
        });
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.calls.size(), 0);
    }

    void failedCallLeavesOldOrNewAndIsTold_data() { TracedSave::addStates(); }

    void failedCallLeavesOldOrNewAndIsTold()
    {
        constexpr int errors[] = { EIO, ENOSPC, EACCES, EMFILE, EROFS, EDQUOT, ENOMEM, EPERM, ENFILE, EBUSY };
        // The long form tries every error at every call, the short one a call with the next error.
        const int each = FaultRow::times(1, int(std::size(errors)));
        QFETCH(const QByteArray, before);
        FaultRow row("call fails");
        int failures = 0;
        int needed = 0;
        size_t round = 0;
        tryEachCall(before, [&](const TracedSave::Call& call) {
            needed += call.name == "readlink" ? 0 : each; // a link that cannot be read is taken for a folder
            for (int i = 0; i < 2 * each; ++i) {
                const int error = errors[round++ % std::size(errors)];
                const auto outcome = saved(before, { call.name, call.number, error, i >= each });
                const bool isTold = outcome.exitCode == TracedSave::reportedFailure;
                failures += isTold ? 1 : 0;
                QVERIFY(isTold || outcome.exitCode == 0);
                QVERIFY(!isTold || TracedSave::leftovers().isEmpty());
                row.add();
            }
        });
        // Most failed calls make the save fail. A few calls are not required, such as the call that sets the exact time stamp.
        QVERIFY2(failures > needed, QByteArray::number(failures).constData());
    }

    void endAtAnyCallLeavesOldOrNewAndNoLock_data() { TracedSave::addStates(); }

    void endAtAnyCallLeavesOldOrNewAndNoLock()
    {
        QFETCH(const QByteArray, before);
        FaultRow row("killed at a call");
        tryEachCall(before, [&](const TracedSave::Call& call) {
            QCOMPARE(saved(before, { call.name, call.number }).exitCode, TracedSave::killed);
            row.add();
        });
    }

    void endDuringTheSaveAfterAnEndLeavesOldOrNewAndNoLock_data() { TracedSave::addStates(); }

    void endDuringTheSaveAfterAnEndLeavesOldOrNewAndNoLock()
    {
        // Of all pairs of calls, a part, in which each call of both saves has its turns.
        const int strideOfFirst = FaultRow::times(15, 1);
        const int stride = FaultRow::times(10, 5);
        QFETCH(const QByteArray, before);
        FaultRow row("killed at a call");
        int first = 0;
        tryEachCall(before, [&](const TracedSave::Call& call) {
            if (++first % strideOfFirst != 0)
                return;
            const auto endAtFirst = [&] {
                TracedSave::prepare(before);
                QCOMPARE(TracedSave::run(TracedSave::save, { call.name, call.number }).exitCode,
                    TracedSave::killed);
                TracedSave::letPass();
                QTest::qSleep(25); // as in `prepare`
            };
            endAtFirst();
            const auto whole = TracedSave::run();
            QCOMPARE(whole.exitCode, 0);
            for (qsizetype at = first % stride; at < whole.calls.size(); at += stride) {
                endAtFirst();
                const TracedSave::Fault fault { whole.calls[at].name, whole.calls[at].number };
                const auto outcome = TracedSave::run(TracedSave::save, fault);
                QCOMPARE(outcome.exitCode, TracedSave::killed);
                const QByteArray flaw = TracedSave::flaw(before, outcome);
                QVERIFY2(flaw.isEmpty(), (flaw + " at " + fault.call).constData());
                row.add();
            }
        });
    }

    void wrongWritersAreFoundOut()
    {
        // Proves that the checks above can fail.
        FaultRow killed("killed at a call");
        FaultRow failed("call fails");
        const auto inPlace = [](UserDefaults&) {
            write(TracedSave::path(), "{\"a\": 2, \"b\": true}"); // empties the file first
            return true;
        };
        const auto unchecked = [](UserDefaults&) {
            QFile file(TracedSave::path() + u'~');
            if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
                return false;
            (void)file.write("{\"a\": 2, \"b\": true}");
            file.close();
            return ::rename(QFile::encodeName(file.fileName()), QFile::encodeName(TracedSave::path())) == 0;
        };
        const auto flawOf = [this](const TracedSave::Work& work, const TracedSave::Fault& fault) {
            TracedSave::prepare(sound);
            return TracedSave::flaw(sound, TracedSave::run(work, fault));
        };
        QCOMPARE(flawOf(inPlace, {}), QByteArray());
        QCOMPARE(flawOf(inPlace, { "write" }), QByteArray("neither old nor new: "));
        killed.addFoundOut();
        const auto crashing = [](UserDefaults&) -> bool {
            ::signal(SIGABRT,
                SIG_DFL); // the test's own handler would start a debugger, which the tracer is in the way of
            std::abort();
        };
        QCOMPARE(TracedSave::run(crashing).exitCode, TracedSave::crashed);
        QCOMPARE(flawOf(unchecked, {}), QByteArray());
        QCOMPARE(flawOf(unchecked, { "write", 1, EIO }), QByteArray("neither old nor new: "));
        failed.addFoundOut();
    }

    void namedStepsAreInTheError_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* call, int error, const char* text) {
            QTest::newRow(call) << QByteArray(call) << error << QString::fromLatin1(text);
        };
        row("flock", ENOLCK, "cannot lock: No locks available");
        row("write", ENOSPC, "cannot write: No space left on device");
        row("fsync", EIO, "cannot bring to disk: Input/output error");
        row("fchmod", EPERM, "cannot keep the permissions: Operation not permitted");
        row("renameat", EXDEV, "cannot replace: Invalid cross-device link");
    }

    void namedStepsAreInTheError()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, error);
        QFETCH(const QString, text);
        TracedSave::prepare(sound);
        const auto outcome = TracedSave::run(TracedSave::save, { call, 1, error });
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QCOMPARE(contentOf(TracedSave::path()), sound);
        QCOMPARE(outcome.error, TracedSave::path() + QStringLiteral(": ") + text);
    }

    void failedDirectorySyncIsMadeUpFor()
    {
        // The new file is in place, but the save must be reported as failed. A second save of the same values must not succeed
        // before the directory is on disk.
        TracedSave::prepare(sound);
        QCOMPARE(TracedSave::run().flushed(), (QByteArrayList { "temporary", "kestrum" }));
        TracedSave::prepare(sound);
        const auto saveTwice
            = [](UserDefaults& store) { return TracedSave::save(store) || TracedSave::save(store); };
        const auto outcome = TracedSave::run(saveTwice, { "fsync", 2, EIO, true });
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QVERIFY2(outcome.error.contains(QStringLiteral("directory")), qUtf8Printable(outcome.error));
    }

    void equalSaveOfAnotherProcessBringsToDiskWhatTheFirstCouldNot()
    {
        TracedSave::prepare(sound);
        QCOMPARE(
            TracedSave::run(TracedSave::save, { "fsync", 2, EIO }).exitCode, TracedSave::reportedFailure);
        const auto again = TracedSave::run();
        QCOMPARE(again.exitCode, 0);
        QCOMPARE(again.flushed(), QByteArrayList { "kestrum" });
    }

    void failedCloseFailsTheSave()
    {
        // Network file systems may report a failed write only when the file is closed.
        TracedSave::prepare(sound);
        const auto whole = TracedSave::run();
        const qsizetype close = whole.indexOf("close", ".tmp");
        QVERIFY(close < whole.calls.size());
        TracedSave::prepare(sound);
        const auto outcome = TracedSave::run(TracedSave::save, { "close", whole.calls[close].number, EIO });
        QCOMPARE(outcome.exitCode, TracedSave::reportedFailure);
        QCOMPARE(outcome.error, TracedSave::path() + QStringLiteral(": cannot close: Input/output error"));
        QCOMPARE(contentOf(TracedSave::path()), sound);
        QVERIFY(TracedSave::leftovers().isEmpty());
    }

    void copyOfADamagedFileIsOnDiskBeforeTheFileIsReplaced()
    {
        TracedSave::prepare("{\"a\": 1, \"b\": true, \"n\": NaN}");
        const auto outcome = TracedSave::run();
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.flushed(), (QByteArrayList { "temporary", "kestrum", "temporary", "kestrum" }));
        const qsizetype kept = outcome.indexOf("renameat2", ".damaged-1");
        QVERIFY(outcome.indexOf("fsync", ".tmp") < kept); // the content is on disk before the rename
        const qsizetype synced = outcome.indexOf("fsync", "/kestrum");
        QVERIFY(kept < synced); // the new name is also written to disk
        QVERIFY(synced < outcome.indexOf("renameat", "suite.json"));
    }

    void entryOfANewDirectoryIsBroughtToDisk()
    {
        TracedSave::prepare({});
        QDir configuration = QFileInfo(TestHome::configDirectory()).dir();
        QVERIFY(configuration.removeRecursively());
        const auto outcome = TracedSave::run();
        QCOMPARE(outcome.exitCode, 0);
        const QByteArray parent = QFile::encodeName(configuration.path()).split('/').end()[-2];
        // Twice: it does not matter who has made them.
        QCOMPARE(outcome.flushed(),
            (QByteArrayList { parent, ".config", ".config", parent, "temporary", "kestrum" }));
    }

    void noDescriptorIsLeftToChildren_data() { TracedSave::addStates(); }

    void noDescriptorIsLeftToChildren()
    {
        QFETCH(const QByteArray, before);
        TracedSave::prepare(before);
        const auto outcome = TracedSave::run();
        QCOMPARE(outcome.exitCode, 0);
        int opened = 0;
        for (const auto& call : outcome.calls) {
            opened += call.name == "openat" ? 1 : 0;
            QVERIFY2(!call.isInherited, call.file.constData());
        }
        QVERIFY(opened >= 4); // the folder, lock, old file and new file
    }

private:
    /// Repeats a save and calls `attempt` for each of its system calls, until an attempt fails.
    static void tryEachCall(
        const QByteArray& before, const std::function<void(const TracedSave::Call&)>& attempt)
    {
        const auto whole = saved(before);
        QCOMPARE(whole.exitCode, 0);
        QVERIFY(whole.calls.size() > 15);
        for (const auto& call : whole.calls) {
            attempt(call);
            if (QTest::currentTestFailed()) {
                qWarning("at %s, the %d.", call.name.constData(), call.number);
                return;
            }
        }
    }

    /// Saves with a fault, and checks the files afterwards.
    static TracedSave::Outcome saved(
        const QByteArray& before, const TracedSave::Fault& fault = TracedSave::Fault())
    {
        TracedSave::prepare(before);
        auto outcome = TracedSave::run(TracedSave::save, fault);
        const QByteArray flaw = TracedSave::flaw(before, outcome);
        if (!flaw.isEmpty())
            QTest::qFail(flaw.constData(), __FILE__, __LINE__);
        return outcome;
    }

    const QByteArray sound { "{\"a\": 1, \"b\": true}" };
    const SettingsInMemory m_memory;
};

KESTRUM_TEST_MAIN(QCoreApplication, StoreFaultsTest)
#include "StoreFaultsTest.moc"
