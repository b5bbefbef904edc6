#include "Platform/Machine/MemoryUse.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QRandomGenerator>
#include <limits>

using namespace kestrum;

namespace {

constexpr quint64 kibibyte = 1024;

/// A file of a machine's tree.
struct MachineFile {
    const char* path;
    QByteArray content;
};

MachineFile zfs(const QByteArray& size, const QByteArray& least)
{
    return { "proc/spl/kstat/zfs/arcstats",
        "13 1 0x01 147 39984 6302452184 5164463170853\n"
        "name                            type data\n"
        "hits                            4    90113\n"
        "c                               4    777\n"
        "c_min                           4    "
            + least
            + "\nc_max                           4    999\n"
              "size                            4    "
            + size + "\ncompressed_size                 4    1\n" };
}

MachineFile swaps(const QByteArray& lines)
{
    return { "proc/swaps", "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n" + lines };
}
const QByteArray zram0 = "/dev/zram0                              partition\t8388604\t\t512\t\t100\n";
const QByteArray zram12 = "/dev/zram12                             partition\t8388604\t\t512\t\t100\n";
const QByteArray diskSwap = "/dev/nvme0n1p3                          partition\t8388604\t\t0\t\t-2\n";

MachineFile zramStatistics(int number, const QByteArray& text)
{
    static const char* const paths[] { "sys/block/zram0/mm_stat", "sys/block/zram12/mm_stat" };
    return { paths[number == 12], text };
}
const QByteArray tenThousand = "  819200   204800 10240000        0 20480000       15        0        0\n";

} // namespace

class MemoryPartsTest : public QObject {
    Q_OBJECT
private:
    void write(const QByteArray& text) const { m_tree->write(QStringLiteral("proc/meminfo"), text); }
    void write(const MachineFile& file) const { m_tree->write(QLatin1StringView(file.path), file.content); }
    MemoryParts sampled(const QByteArray& text, const QList<MachineFile>& files = {}) const
    {
        write(text);
        for (const MachineFile& file : files)
            write(file);
        MemoryUse memory(m_tree->root());
        memory.sample();
        return memory.parts();
    }
    std::unique_ptr<FileTree> m_tree;

    static constexpr const char* ordinary
        = "MemTotal: 100000 kB\nMemFree: 10000 kB\nMemAvailable: 40000 kB\nBuffers: 1000 kB\n"
          "Cached: 30000 kB\nSwapTotal: 50000 kB\nSwapFree: 20000 kB\nZswap: 5000 kB\nZswapped: 20000 kB\n"
          "AnonPages: 30000 kB\nMapped: 8000 kB\nShmem: 4000 kB\nSReclaimable: 3000 kB\n";

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void beforeTheFirstSampleThereIsNothing() { QCOMPARE(MemoryUse(m_tree->root()).parts(), MemoryParts()); }

    void parts()
    {
        const struct {
            const char* name;
            QByteArray text;
            QList<MachineFile> files;
            MemoryParts expected; ///< in KiB
        } rows[] {
            { "ordinary", ordinary, {}, { 100000, 34000, 21000, 5000, 30000, 10000, 50000, 30000 } },
            { "without swap", "MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 40 kB\nAnonPages: 30 kB\n", {},
                { 100, 30, 30, 0, 30, 10, 0, 0 } },
            { "old kernel",
                "MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 50 kB\nCached: 250 kB\nSwapTotal: 0 kB\n"
                "SwapFree: 0 kB\nAnonPages: 200 kB\nShmem: 40 kB\nSReclaimable: 40 kB\n",
                {}, { 1000, 240, 360, 0, 300, 100, 0, 0 } },
            { "zram", ordinary, { swaps(diskSwap + zram0), zramStatistics(0, tenThousand) },
                { 100000, 34000, 11000, 15000, 30000, 10000, 50000, 30000 } },
            { "two of zram", ordinary,
                { swaps(zram0 + zram12), zramStatistics(0, tenThousand), zramStatistics(12, "1 1 1024000") },
                { 100000, 34000, 10000, 16000, 30000, 10000, 50000, 30000 } },
            { "zram that is no swap", ordinary, { swaps(diskSwap), zramStatistics(0, tenThousand) },
                { 100000, 34000, 21000, 5000, 30000, 10000, 50000, 30000 } },
            { "zram without statistics", ordinary, { swaps(zram0) },
                { 100000, 34000, 21000, 5000, 30000, 10000, 50000, 30000 } },
            { "zram beyond what is used", ordinary,
                { swaps(zram0), zramStatistics(0, "1 1 18446744073709551615 0\n") },
                { 100000, 0, 0, 60000, 30000, 10000, 50000, 30000 } },
            { "zram beyond all numbers", ordinary,
                { swaps(zram0 + zram12), zramStatistics(0, "1 1 18446744073709551615 0\n"),
                    zramStatistics(12, "1 1 1024 0\n") },
                { 100000, 0, 0, 60000, 30000, 10000, 50000, 30000 } },
            { "ZFS", ordinary, { zfs("30720000", "10240000") },
                { 100000, 34000, 1000, 5000, 50000, 10000, 50000, 30000 } },
            { "ZFS below its least size", ordinary, { zfs("10240000", "30720000") },
                { 100000, 34000, 21000, 5000, 30000, 10000, 50000, 30000 } },
            { "ZFS beyond all memory", ordinary, { zfs("18446744073709551615", "0") },
                { 100000, 0, 0, 0, 90000, 10000, 50000, 30000 } },
            { "ZFS in words", ordinary, { zfs("much", "little") },
                { 100000, 34000, 21000, 5000, 30000, 10000, 50000, 30000 } },
            { "programs beyond what is used",
                "MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 40 kB\nAnonPages: 300 kB\nZswap: 7 kB\n", {},
                { 100, 53, 0, 7, 30, 10, 0, 0 } },
            { "more free than available", "MemTotal: 100 kB\nMemFree: 50 kB\nMemAvailable: 40 kB\n", {},
                { 100, 0, 60, 0, 0, 40, 0, 0 } },
            { "more available than there is", "MemTotal: 100 kB\nMemFree: 20 kB\nMemAvailable: 400 kB\n", {},
                { 100, 0, 0, 0, 80, 20, 0, 0 } },
        };
        for (const auto& row : rows) {
            init();
            const MemoryParts parts = sampled(row.text, row.files);
            QCOMPARE_ROW(row.name, parts.total, row.expected.total * kibibyte);
            QCOMPARE_ROW(row.name, parts.app, row.expected.app * kibibyte);
            QCOMPARE_ROW(row.name, parts.system, row.expected.system * kibibyte);
            QCOMPARE_ROW(row.name, parts.compressed, row.expected.compressed * kibibyte);
            QCOMPARE_ROW(row.name, parts.cache, row.expected.cache * kibibyte);
            QCOMPARE_ROW(row.name, parts.free, row.expected.free * kibibyte);
            QCOMPARE_ROW(row.name, parts.swapTotal, row.expected.swapTotal * kibibyte);
            QCOMPARE_ROW(row.name, parts.swapUsed, row.expected.swapUsed * kibibyte);
        }
    }

    void theCacheOfZFSIsNotUsed()
    {
        write(ordinary);
        write(zfs("30720000", "10240000"));
        MemoryUse memory(m_tree->root());
        memory.sample();
        QCOMPARE(memory.used(), 0.4);
    }

    void swapThatIsAddedLaterIsSeen()
    {
        write("MemTotal: 100000 kB\nMemFree: 1 kB\nMemAvailable: 1 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
        MemoryUse memory(m_tree->root());
        memory.sample();
        QCOMPARE(memory.parts().compressed, quint64(0));
        write(ordinary);
        write(swaps(zram0));
        write(zramStatistics(0, tenThousand));
        memory.sample();
        QCOMPARE(memory.parts().compressed, 15000 * kibibyte);
        write("MemTotal: 100000 kB\nMemFree: 1 kB\nMemAvailable: 1 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
        memory.sample();
        QCOMPARE(memory.parts().compressed, quint64(0));
    }

    void theListOfSwapIsReadWhenTheAmountChangesAndNowAndThen()
    {
        MemoryUse memory(m_tree->root());
        write(ordinary);
        write(swaps(diskSwap));
        memory.sample();
        write(swaps(zram0));
        write(zramStatistics(0, tenThousand));
        memory.sample();
        QCOMPARE(memory.parts().compressed, 5000 * kibibyte);
        write(QByteArray(ordinary).replace("SwapTotal: 50000", "SwapTotal: 50001"));
        memory.sample();
        QCOMPARE(memory.parts().compressed, 15000 * kibibyte);
        // A disk of the same size takes the place.
        write(swaps(diskSwap));
        for (int i = 1; i < KernelFile::longestPause; ++i)
            memory.sample();
        QCOMPARE(memory.parts().compressed, 15000 * kibibyte);
        memory.sample();
        QCOMPARE(memory.parts().compressed, 5000 * kibibyte);
    }

    void aListOfSwapThatCouldNotBeReadIsTriedAgain()
    {
        MemoryUse memory(m_tree->root());
        write(ordinary);
        memory.sample();
        QCOMPARE(memory.parts().compressed, 5000 * kibibyte);
        write(swaps(zram0));
        write(zramStatistics(0, tenThousand));
        memory.sample(); // a file that could not be read is passed over once
        memory.sample();
        QCOMPARE(memory.parts().compressed, 15000 * kibibyte);
    }

    void whatCannotBeReadLeavesTheParts()
    {
        write(ordinary);
        MemoryUse memory(m_tree->root());
        memory.sample();
        const MemoryParts before = memory.parts();
        for (const char* text : { "", "MemTotal: 7 kB\n", "MemAvailable: 7 kB\n", "SwapTotal: 7 kB\n" }) {
            write(text);
            memory.sample();
            QVERIFY2(memory.parts() == before, text);
        }
    }

    // Whatever the kernel writes, the parts add up to the whole memory.
    void randomMachines()
    {
        QRandomGenerator random(7);
        const auto amount = [&random] {
            switch (random.bounded(8)) {
            case 0:
                return random.generate64();
            case 1:
                return std::numeric_limits<quint64>::max() >> random.bounded(16);
            case 2:
                return quint64(random.bounded(3));
            default:
                return quint64(random.bounded(64'000'000));
            }
        };
        // Files that are written over, but never emptied, are as quick as memory.
        std::vector<std::unique_ptr<QFile>> files;
        for (const char* path : { "proc/meminfo", "proc/spl/kstat/zfs/arcstats", "proc/swaps",
                 "sys/block/zram0/mm_stat", "sys/block/zram12/mm_stat" }) {
            m_tree->write(QLatin1StringView(path), {});
            files.push_back(std::make_unique<QFile>(m_tree->path(QLatin1StringView(path))));
            QVERIFY(files.back()->open(QIODevice::ReadWrite | QIODevice::Unbuffered));
        }
        const auto write = [&files](std::size_t file, const QByteArray& content) {
            files[file]->seek(0);
            QCOMPARE(files[file]->write(content.leftJustified(2000, '\n')), 2000);
        };
        int known = 0;
        int compressed = 0;
        int swapped = 0;
        for (int round = 0; round < 1000; ++round) {
            QByteArray text;
            std::optional<quint64> total;
            for (const char* name : { "MemTotal:", "MemFree:", "MemAvailable:", "Buffers:", "Cached:",
                     "SwapTotal:", "SwapFree:", "Zswap:", "AnonPages:", "Shmem:", "SReclaimable:" }) {
                if (random.bounded(10) == 0)
                    continue;
                const quint64 value = amount();
                if (!total && QByteArray(name) == "MemTotal:")
                    total = value;
                text += QByteArray(name) + QByteArray::number(value).rightJustified(15) + " kB\n";
                if (random.bounded(30) == 0)
                    text += QByteArray(name) + " -3 kB\n";
            }
            if (random.bounded(10) == 0)
                text.truncate(random.bounded(int(text.size()) + 1));
            const auto maybe = [&random](const MachineFile& file) {
                return random.bounded(2) == 0 ? file.content : QByteArray();
            };
            const auto bytes = [&amount] { return QByteArray::number(amount()); };
            write(0, text);
            write(1, maybe(zfs(bytes(), bytes())));
            write(2, maybe(swaps(zram0 + diskSwap + zram12)));
            write(3, maybe(zramStatistics(0, "1 2 " + bytes() + " 4\n")));
            write(4, maybe(zramStatistics(12, "1 2 " + bytes() + " 4\n")));
            MemoryUse memory(m_tree->root());
            memory.sample();
            const MemoryParts& parts = memory.parts();
            const auto whole = text + " gives " + QByteArray::number(parts.total);
            const quint64 limit = parts.total;
            for (const quint64 part : { parts.app, parts.system, parts.compressed, parts.cache, parts.free })
                QVERIFY2(part <= limit, whole.constData());
            QVERIFY2(parts.app + parts.system + parts.compressed + parts.cache + parts.free == parts.total,
                whole.constData());
            QVERIFY2(parts.swapUsed <= parts.swapTotal, whole.constData());
            QVERIFY2(parts.total == 0 || (total && parts.total == *total * kibibyte), whole.constData());
            known += int(parts.total > 0);
            compressed += int(parts.compressed > 0);
            swapped += int(parts.swapUsed > 0);
        }
        // The random machines are of all kinds.
        QVERIFY(known > 500 && known < 950);
        QVERIFY(compressed > 100);
        QVERIFY(swapped > 150);
    }

    void thisMachine()
    {
        MemoryUse memory;
        memory.sample();
        const MemoryParts& parts = memory.parts();
        QCOMPARE(parts.used() + parts.cache + parts.free, parts.total);
        QVERIFY(parts.app > 0 && parts.system > 0 && parts.free > 0);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MemoryPartsTest)
#include "MemoryPartsTest.moc"
