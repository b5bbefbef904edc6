#include "Platform/Machine/ProcessSample.h"
#include "tests/Support/FakeProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QRandomGenerator>

using namespace kestrum;

class ProcessSampleTest : public QObject {
    Q_OBJECT
private:
    static std::optional<ProcessSample> parsed(const QByteArray& line)
    {
        return ProcessSample::parsed({ line.constData(), std::size_t(line.size()) });
    }

private Q_SLOTS:
    void numbersAreThoseOfTheKernelsLine()
    {
        const auto sample
            = parsed("77 (a) S 5 70 60 34816 70 4194304 1 2 3 4 100 20 300 4000 20 0 1 0 55555 9 9\n");
        QVERIFY(sample);
        QCOMPARE(sample->pid, 77);
        QCOMPARE(sample->parent, 5);
        QCOMPARE(sample->job, 70);
        QCOMPARE(sample->terminal, 34816);
        QVERIFY(!sample->isKernelThread);
        QCOMPARE(sample->time, 120u);
        QCOMPARE(sample->childrenTime, 4300u);
        QCOMPARE(sample->start, 55555u);
    }

    void nameMayContainAnything()
    {
        for (const QByteArray& name :
            { QByteArray(), QByteArray("a b"), QByteArray(") R (x"), QByteArray("x) S 1 1 1 ("),
                QByteArray("((("), QByteArray(")))"), QByteArray("line\nend"), QByteArray("\xff\xfe") }) {
            const auto sample
                = parsed(FakeProcess { .pid = 9, .parent = 4, .command = name, .time = 33 }.stat());
            QVERIFY2(sample, name.constData());
            QCOMPARE(sample->command.data(), name.constData());
            QCOMPARE(sample->parent, 4);
            QCOMPARE(sample->time, 33u);
        }
        // Kernel threads have longer names, of which the start is kept.
        QCOMPARE(
            parsed(FakeProcess { .pid = 9, .command = "kworker/u8:2-events_unbound" }.stat())->command.data(),
            "kworker/u8:2-ev");
    }

    void virtualConsoleIsNoTerminal()
    {
        const struct {
            const char* name;
            int device;
            bool isTerminal;
        } rows[] { { "none", 0, false }, { "console 2", FakeProcesses::virtualConsole, false },
            { "console 63", 4 << 8 | 63, false }, { "serial line", 4 << 8 | 64, true },
            { "first pseudo-terminal", FakeProcesses::pseudoTerminal, true },
            { "pseudo-terminal 300", 137 << 8 | 44, true } };
        for (const auto& row : rows)
            QCOMPARE_ROW(row.name,
                parsed(FakeProcess { .pid = 9, .terminal = row.device }.stat())->terminal != 0,
                row.isTerminal);
    }

    void damagedLineIsNone()
    {
        const QByteArray sound = FakeProcess { .pid = 9, .start = 12345 }.stat();
        QVERIFY(parsed(sound));
        const qsizetype startEnd = sound.indexOf("12345") + 5;
        for (qsizetype size = 0; size <= startEnd; ++size)
            QVERIFY2(!parsed(sound.left(size)), sound.left(size).constData());
        for (const char* line :
            { "", "()", ")(", "9 a S 1", "x (a) S 1 1 1 0 -1 0 0 0 0 0 1 1 1 1 20 0 1 0 5 6 7",
                "0 (a) S 1 1 1 0 -1 0 0 0 0 0 1 1 1 1 20 0 1 0 5 6 7",
                "-9 (a) S 1 1 1 0 -1 0 0 0 0 0 1 1 1 1 20 0 1 0 5 6 7",
                "9 (a) S 1 1 1 0 -1 0 0 0 0 0 -1 1 1 1 20 0 1 0 5 6 7",
                "9 (a) S 1 1 1 0 -1 0 0 0 0 0 18446744073709551615 1 1 1 20 0 1 0 5 6 7",
                "9 (a) S 99999999999 1 1 0 -1 0 0 0 0 0 1 1 1 1 20 0 1 0 5 6 7" })
            QVERIFY2(!parsed(line), line);
    }

    void randomlyDamagedLinesDoNoHarm()
    {
        QRandomGenerator random(20260101);
        const QByteArray sound = FakeProcess { .pid = 9, .time = 7 }.stat();
        for (int i = 0; i < 20'000; ++i) {
            QByteArray line = sound;
            for (int changes = random.bounded(1, 5); changes > 0; --changes)
                line[random.bounded(line.size())] = char(random.bounded(256));
            if (const auto sample = parsed(line)) {
                QVERIFY(sample->pid > 0);
                QVERIFY(sample->time <= quint64(2) << 56);
            }
        }
    }

    void memoryIsWhatIsSharedWithNobody()
    {
        const struct {
            const char* statm;
            qint64 memory;
        } rows[] { { "900 300 100 1 0 50 0\n", 200 * 4096 }, { "900 100 300 1 0 50 0\n", 0 }, { "", 0 },
            { "900 300", 0 }, { "900 x 100 1", 0 }, { "900 9999999999999 1 1", 0 } };
        for (const auto& row : rows) {
            ProcessSample sample;
            sample.addMemory(row.statm, 4096);
            QCOMPARE_ROW(row.statm, sample.memory, row.memory);
        }
    }

    void cancelledWritesDoNotCount()
    {
        const struct {
            const char* io;
            bool isKnown;
            quint64 read;
            quint64 written;
        } rows[] {
            { "rchar: 9\nwchar: 9\nsyscr: 9\nsyscw: 9\nread_bytes: 4096\nwrite_bytes: "
              "8192\ncancelled_write_bytes: 1000\n",
                true, 4096, 7192 },
            { "read_bytes: 1\nwrite_bytes: 2\ncancelled_write_bytes: 3\n", true, 1, 0 },
            { "read_bytes: 1\n", false, 0, 0 },
            { "read_bytes: -1\nwrite_bytes: 2\n", false, 0, 0 },
            { "read_bytes: 18446744073709551615\nwrite_bytes: 2\n", false, 0, 0 },
            { "", false, 0, 0 },
            { "read_bytes\n:::\nwrite_bytes:", false, 0, 0 },
        };
        for (const auto& row : rows) {
            ProcessSample sample;
            sample.addVolumeCounters(row.io);
            QCOMPARE_ROW(row.io, sample.hasVolumeCounters, row.isKnown);
            QCOMPARE_ROW(row.io, sample.readBytes, row.read);
            QCOMPARE_ROW(row.io, sample.writtenBytes, row.written);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ProcessSampleTest)
#include "ProcessSampleTest.moc"
