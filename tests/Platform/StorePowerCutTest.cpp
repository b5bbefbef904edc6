// SPDX-License-Identifier: MIT
// What a reader finds after a power cut at any moment of one or two saves, in every state in which the disk may be.

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/PowerCut.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace kestrum;

class StorePowerCutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (TracedSave::run().exitCode == TracedSave::unsupported)
            QSKIP("the kernel does not let a process watch its system calls");
    }

    void noStateIsDamagedOrLosesWhatWasSaved_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<bool>("isNewPlace");
        QTest::newRow("first save in a new home") << QByteArray() << true;
        QTest::newRow("first save") << QByteArray() << false;
        QTest::newRow("later save") << QByteArray("{\"a\": 1, \"b\": true}") << false;
        QTest::newRow("file of several pages") << ofPages(3) << false;
        QTest::newRow("damaged file") << QByteArray("{\"a\": 1, \"b\": true, \"n\": NaN}") << false;
        QTest::newRow("damaged file of two pages") << ofPages(2).replace('}', ", \"n\": NaN}") << false;
        if (FaultRow::isLong())
            QTest::newRow("file of eight pages") << ofPages(8) << false;
    }

    void noStateIsDamagedOrLosesWhatWasSaved()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const bool, isNewPlace);
        FaultRow row("power cut");
        const auto calls = callsOf(before, isNewPlace, saveTwice);
        QVERIFY(!QTest::currentTestFailed());
        const Verdict verdict = judged(before, isNewPlace, calls);
        QVERIFY2(verdict.flaw.isEmpty(), verdict.flaw.constData());
        QVERIFY2(verdict.states > 10, QByteArray::number(verdict.states).constData());
        row.add(verdict.states);
    }

    void foldersOfAKilledSaveAreBroughtToDisk()
    {
        // The folders are there, but whoever made them was killed before they were on disk.
        FaultRow row("power cut");
        auto calls = callsOf({}, false, saveTwice);
        QVERIFY(!QTest::currentTestFailed());
        const QByteArray folder = QFile::encodeName(TestHome::configDirectory());
        const auto made = [](const QByteArray& path) {
            return TracedSave::Call { "mkdir", 1, path, false, {} };
        };
        calls.prepend(made(folder));
        calls.prepend(made(folder.left(folder.lastIndexOf('/'))));
        const Verdict verdict = judged({}, true, calls);
        QVERIFY2(verdict.flaw.isEmpty(), verdict.flaw.constData());
        row.add(verdict.states);
    }

    void wrongWritersAreFoundOut_data()
    {
        QTest::addColumn<QByteArray>("unflushed");
        QTest::addColumn<QByteArray>("flaw");
        QTest::newRow("the file is not flushed") << QByteArray(".tmp") << QByteArray("damaged");
        QTest::newRow("the directory is not flushed") << QByteArray("/kestrum") << QByteArray("lost");
        QTest::newRow("written in place") << QByteArray() << QByteArray("damaged");
    }

    void wrongWritersAreFoundOut()
    {
        // Proves that the check above can fail.
        QFETCH(const QByteArray, unflushed);
        QFETCH(const QByteArray, flaw);
        FaultRow row("power cut");
        const QByteArray before = ofPages(2);
        auto calls = callsOf(before, false, unflushed.isEmpty() ? saveInPlace : saveTwice);
        QVERIFY(!QTest::currentTestFailed());
        calls.removeIf([&](const TracedSave::Call& call) {
            return call.name == "fsync" && !unflushed.isEmpty() && call.file.endsWith(unflushed);
        });
        QCOMPARE(judged(before, false, calls).flaw, flaw);
        row.addFoundOut();
    }

private:
    static constexpr char acknowledgement[] = "/saved";
    static constexpr int saves = 2;
    static constexpr int unmodelled[] {
        SYS_truncate,
        SYS_ftruncate,
        SYS_fallocate,
        SYS_pwrite64,
        SYS_writev,
        SYS_pwritev,
        SYS_linkat,
        SYS_symlinkat,
        SYS_fdatasync,
        SYS_sync,
        SYS_syncfs,
        SYS_copy_file_range,
        SYS_sendfile,
#ifdef SYS_rename
        SYS_rename,
        SYS_unlink,
        SYS_link,
        SYS_symlink,
        SYS_creat,
        SYS_rmdir,
#endif
    };

    static QByteArray ofPages(qsizetype count)
    {
        return "{\"a\": 1, \"b\": true, \"text\": \"" + QByteArray(count * 4096 - 200, 'x') + "\"}";
    }

    /// A call that the trace shows: a save was reported as done.
    static void acknowledge()
    {
        ::faccessat(AT_FDCWD, acknowledgement, F_OK, 0);
    }

    static bool saveTwice(UserDefaults& store)
    {
        for (int i = 1; i <= saves; ++i) {
            if (!store.set("a", 1 + i))
                return false;
            acknowledge();
        }
        return true;
    }
    static bool saveInPlace(UserDefaults& /*store*/)
    {
        for (int i = 1; i <= saves; ++i) {
            QFile file(TracedSave::path());
            const QByteArray text = ofPages(2).replace("\"a\": 1", "\"a\": " + QByteArray::number(1 + i));
            if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(text) != text.size()
                || ::fsync(file.handle()) != 0)
                return false;
            acknowledge();
        }
        return true;
    }

    static QList<TracedSave::Call> callsOf(
        const QByteArray& before, bool isNewPlace, const TracedSave::Work& work)
    {
        TracedSave::prepare(before);
        if (isNewPlace)
            QDir(QFileInfo(TestHome::configDirectory()).path()).removeRecursively();
        else
            QDir().mkpath(TestHome::configDirectory());
        const auto outcome = TracedSave::run(work);
        if (outcome.exitCode != 0)
            QTest::qFail("the save failed", __FILE__, __LINE__);
        // The model must know every call that changes a disk.
        const QByteArray root = QFile::encodeName(QFileInfo(TestHome::configDirectory()).path());
        for (const TracedSave::Call& call : outcome.calls) {
            const bool isUnknown = call.name == "unlinkat"
                || std::any_of(std::begin(unmodelled), std::end(unmodelled),
                    [&call](int number) { return call.name == QByteArray::number(number); });
            if (isUnknown && (call.file.isEmpty() || call.file.startsWith(root)))
                QTest::qFail(
                    ("the model does not know the call " + call.name).constData(), __FILE__, __LINE__);
        }
        return outcome.calls;
    }

    struct Verdict {
        QByteArray flaw;
        int states = 0; ///< different ones, that were read
    };

    /// Cuts the power after every call, and reads every state of the disk until one has a flaw.
    static Verdict judged(const QByteArray& before, bool isNewPlace, const QList<TracedSave::Call>& calls)
    {
        const QByteArray path = QFile::encodeName(TracedSave::path());
        const QByteArray configuration = QFile::encodeName(QFileInfo(TestHome::configDirectory()).path());
        const QByteArray root = isNewPlace ? configuration.left(configuration.lastIndexOf('/'))
                                           : QFile::encodeName(TestHome::configDirectory());
        PowerCut disk(root, before.isNull() ? PowerCut::Files() : PowerCut::Files { { path, before } });
        Verdict verdict;
        int acknowledged = 0;
        QList<PowerCut::Files> known;
        for (const TracedSave::Call& call : calls) {
            disk.make(call);
            if (call.file == acknowledgement) {
                ++acknowledged;
                known.clear(); // the same files may now be too old
            }
            const auto states = disk.states();
            for (const PowerCut::Files& files : states) {
                if (known.contains(files))
                    continue;
                known.append(files);
                ++verdict.states;
                verdict.flaw = flawOf(files, before, acknowledged);
                if (!verdict.flaw.isEmpty())
                    return verdict;
            }
        }
        if (acknowledged != saves)
            verdict.flaw = "not all saves were seen";
        return verdict;
    }

    /// Puts the files on disk, and reads and saves them as a program does that starts after the power cut.
    static QByteArray flawOf(const PowerCut::Files& files, const QByteArray& before, int acknowledged)
    {
        QDir(TestHome::configDirectory()).removeRecursively();
        for (auto file = files.begin(); file != files.end(); ++file) {
            write(QFile::decodeName(file.key()), file.value());
            setTimes(
                QFile::decodeName(file.key()), 1000); // starting again takes longer than an editor's save
        }
        TracedSave::letPass();
        const SettingsFile file(TracedSave::path());
        const auto read = file.read();
        if (!read)
            return "cannot be read";
        const QByteArray path = QFile::encodeName(TracedSave::path());
        const bool isOld = before.isNull() ? !files.contains(path) : files.value(path) == before;
        if (!isOld && (!read->damage.isEmpty() || read->values.isEmpty()))
            return "damaged";
        const int version = isOld ? 0 : read->values.value(u"a").toInt() - 1;
        if (version < acknowledged)
            return "lost";
        if (!before.isNull() && (read->values.value(u"b") != QJsonValue(true)))
            return "a key that was not changed is another one";
        if (version > 0 && before.contains("NaN") && files.value(path + ".damaged-1") != before)
            return "the damaged file was not kept";
        if (!file.save({ json({ { "a", 9 } }), {} }) || file.read()->values.value(u"a") != QJsonValue(9))
            return "the next save fails";
        return {};
    }

    const SettingsInMemory m_memory;
};

KESTRUM_TEST_MAIN(QCoreApplication, StorePowerCutTest)
#include "StorePowerCutTest.moc"
