#include "Platform/Machine/MemoryUse.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class MemoryUseTest : public QObject {
    Q_OBJECT
private:
    void write(const QByteArray& text) const { m_tree->write(QStringLiteral("proc/meminfo"), text); }
    MemoryUse sampled(const QByteArray& text) const
    {
        write(text);
        MemoryUse memory(m_tree->root());
        memory.sample();
        return memory;
    }
    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void usedIsWhatIsNotAvailable()
    {
        const MemoryUse memory = sampled("MemTotal:       16000000 kB\nMemFree:         1000000 kB\n"
                                         "MemAvailable:    4000000 kB\nBuffers:          500000 kB\n"
                                         "Cached:          3000000 kB\nSwapCached:        10000 kB\n"
                                         "SwapTotal:       8000000 kB\nSwapFree:        7000000 kB\n");
        QCOMPARE(memory.used(), 0.75);
        QCOMPARE(memory.parts().swapUsed, quint64(1000000) * 1024);
    }

    void oldKernelsAvailableMemoryIsFreeAndCachedButNotShared()
    {
        const MemoryUse memory
            = sampled("MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 50 kB\nCached: 250 kB\n"
                      "Shmem: 40 kB\nSReclaimable: 40 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
        QCOMPARE(memory.used(), 0.6);
        QCOMPARE(memory.parts().swapUsed, quint64(0));
    }

    void whatCannotBeReadLeavesTheValues()
    {
        MemoryUse memory = sampled("MemTotal: 4 kB\nMemAvailable: 1 kB\nSwapTotal: 8 kB\nSwapFree: 5 kB\n");
        write("MemTotal: 4 kB\n");
        memory.sample();
        QCOMPARE(memory.used(), 0.75);
        QCOMPARE(memory.parts().swapUsed, quint64(3072));
    }

    void newValuesReplaceTheOld()
    {
        MemoryUse memory = sampled("MemTotal: 4 kB\nMemAvailable: 1 kB\nSwapTotal: 8 kB\nSwapFree: 5 kB\n");
        write("MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 8 kB\nSwapFree: 8 kB\n");
        memory.sample();
        QCOMPARE(memory.used(), 0.25);
        QCOMPARE(memory.parts().swapUsed, quint64(0));
    }

    void junk()
    {
        const struct {
            const char* name;
            const char* text;
            double used;
        } rows[] {
            { "nothing", "", 0 },
            { "no total", "MemAvailable: 5 kB\n", 0 },
            { "total of 0", "MemTotal: 0 kB\nMemAvailable: 0 kB\n", 0 },
            { "more available than there is", "MemTotal: 4 kB\nMemAvailable: 5 kB\n", 0 },
            { "more swap free than there is",
                "MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 1 kB\nSwapFree: 2 kB\n", 0.25 },
            { "negative", "MemTotal: -4 kB\nMemAvailable: 3 kB\n", 0 },
            { "words", "MemTotal: all kB\nMemAvailable: some kB\n", 0 },
            { "cut in a number", "MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 8 kB\nSwapFree:", 0.25 },
            { "beyond a number of bytes",
                "MemTotal: 18446744073709551615 kB\nMemAvailable: 1 kB\nSwapTotal: 18446744073709551615 kB\n"
                "SwapFree: 0 kB\n",
                0 },
            { "the first of two", "MemTotal: 4 kB\nMemAvailable: 1 kB\nMemAvailable: 3 kB\n", 0.75 },
            { "shared beyond the cache", "MemTotal: 10 kB\nMemFree: 4 kB\nCached: 1 kB\nShmem: 9 kB\n", 0.6 },
            { "no swap", "MemTotal: 4 kB\nMemAvailable: 1 kB\n", 0.75 },
        };
        for (const auto& row : rows) {
            const MemoryUse memory = sampled(row.text);
            QCOMPARE_ROW(row.name, memory.used(), row.used);
            QCOMPARE_ROW(row.name, memory.parts().swapUsed, quint64(0));
        }
    }

    void thisMachineUsesSomeMemory()
    {
        MemoryUse memory;
        memory.sample();
        QVERIFY(memory.used() > 0 && memory.used() < 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MemoryUseTest)
#include "MemoryUseTest.moc"
