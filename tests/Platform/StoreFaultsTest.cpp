// What a save leaves when one of its system calls fails, once or always, or when the process is killed at this call.

#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QCoreApplication>
#include <QTest>

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
        constexpr int errors[] = { EIO, ENOSPC, EACCES, EMFILE, EROFS, EDQUOT, ENOMEM };
        QFETCH(const QByteArray, before);
        int failures = 0;
        int needed = 0;
        size_t round = 0;
        tryEachCall(before, [&](const TracedSave::Call& call) {
            needed += call.name == "readlink" ? 0 : 1; // a link that cannot be read is taken for a folder
            for (const bool isLasting : { false, true }) {
                const int error = errors[round++ % std::size(errors)];
                const auto outcome = saved(before, { call.name, call.number, error, isLasting });
                const bool isTold = outcome.exitCode == TracedSave::reportedFailure;
                failures += isTold ? 1 : 0;
                QVERIFY(isTold || outcome.exitCode == 0);
                QVERIFY(!isTold || TracedSave::leftovers().isEmpty());
            }
        });
        // Most failed calls make the save fail. A few calls are not required, such as the call that sets the exact time stamp.
        QVERIFY2(failures > needed, QByteArray::number(failures).constData());
    }

    void endAtAnyCallLeavesOldOrNewAndNoLock_data() { TracedSave::addStates(); }

    void endAtAnyCallLeavesOldOrNewAndNoLock()
    {
        QFETCH(const QByteArray, before);
        tryEachCall(before, [&](const TracedSave::Call& call) {
            QCOMPARE(saved(before, { call.name, call.number }).exitCode, -1);
        });
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
        QCOMPARE(outcome.flushed(), (QByteArrayList { parent, ".config", "temporary", "kestrum" }));
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
