#include "Platform/Machine/MemoryUse.h"
#include "tests/Support/FileTree.h"
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
        QCOMPARE(memory.swapUsed(), quint64(1000000) * 1024);
    }

    void oldKernelsAvailableMemoryIsFreeAndCachedButNotShared()
    {
        const MemoryUse memory
            = sampled("MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 50 kB\nCached: 250 kB\n"
                      "Shmem: 40 kB\nSReclaimable: 40 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
        QCOMPARE(memory.used(), 0.6);
        QCOMPARE(memory.swapUsed(), quint64(0));
    }

    void aMachineWithoutSwapUsesNone()
    {
        QCOMPARE(sampled("MemTotal: 4 kB\nMemAvailable: 1 kB\n").swapUsed(), quint64(0));
    }

    void whatCannotBeReadLeavesTheValues()
    {
        MemoryUse memory = sampled("MemTotal: 4 kB\nMemAvailable: 1 kB\nSwapTotal: 8 kB\nSwapFree: 5 kB\n");
        write("MemTotal: 4 kB\n");
        memory.sample();
        QCOMPARE(memory.used(), 0.75);
        QCOMPARE(memory.swapUsed(), quint64(3072));
    }

    void newValuesReplaceTheOld()
    {
        MemoryUse memory = sampled("MemTotal: 4 kB\nMemAvailable: 1 kB\nSwapTotal: 8 kB\nSwapFree: 5 kB\n");
        write("MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 8 kB\nSwapFree: 8 kB\n");
        memory.sample();
        QCOMPARE(memory.used(), 0.25);
        QCOMPARE(memory.swapUsed(), quint64(0));
    }

    void junk_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<double>("used");
        QTest::addColumn<quint64>("swap");
        QTest::newRow("nothing") << QByteArray() << 0.0 << quint64(0);
        QTest::newRow("no total") << QByteArray("MemAvailable: 5 kB\n") << 0.0 << quint64(0);
        QTest::newRow("total of 0") << QByteArray("MemTotal: 0 kB\nMemAvailable: 0 kB\n") << 0.0
                                    << quint64(0);
        QTest::newRow("more available than there is")
            << QByteArray("MemTotal: 4 kB\nMemAvailable: 5 kB\n") << 0.0 << quint64(0);
        QTest::newRow("more swap free than there is")
            << QByteArray("MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 1 kB\nSwapFree: 2 kB\n") << 0.25
            << quint64(0);
        QTest::newRow("negative") << QByteArray("MemTotal: -4 kB\nMemAvailable: 3 kB\n") << 0.0 << quint64(0);
        QTest::newRow("words") << QByteArray("MemTotal: all kB\nMemAvailable: some kB\n") << 0.0
                               << quint64(0);
        QTest::newRow("cut in a number")
            << QByteArray("MemTotal: 4 kB\nMemAvailable: 3 kB\nSwapTotal: 8 kB\nSwapFree:") << 0.25
            << quint64(0);
        QTest::newRow("beyond a number of bytes") << QByteArray(
            "MemTotal: 18446744073709551615 kB\nMemAvailable: 1 kB\nSwapTotal: 18446744073709551615 kB\n"
            "SwapFree: 0 kB\n") << 0.0 << quint64(0);
        QTest::newRow("the first of two")
            << QByteArray("MemTotal: 4 kB\nMemAvailable: 1 kB\nMemAvailable: 3 kB\n") << 0.75 << quint64(0);
        QTest::newRow("shared beyond the cache")
            << QByteArray("MemTotal: 10 kB\nMemFree: 4 kB\nCached: 1 kB\nShmem: 9 kB\n") << 0.6 << quint64(0);
    }
    void junk()
    {
        QFETCH(QByteArray, text);
        const MemoryUse memory = sampled(text);
        QTEST(memory.used(), "used");
        QTEST(memory.swapUsed(), "swap");
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
