#include "Platform/Machine/DiskActivity.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QTemporaryFile>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

struct Counters {
    const char* name;
    quint64 read;
    quint64 written;
};

// The kernel's line. Every number that is not asked for is another, so that a wrong place shows.
QByteArray diskLine(const Counters& counters)
{
    return QByteArray("   8       0 ") + counters.name + " 111 222 " + QByteArray::number(counters.read)
        + " 333 444 555 " + QByteArray::number(counters.written)
        + " 666 0 777 888 999 1111 2222 3333 44 55\n";
}

QByteArray diskLines(const QList<Counters>& devices)
{
    QByteArray text;
    for (const Counters& counters : devices)
        text += diskLine(counters);
    return text;
}

DiskActivity::Rates sectors(double read, double write)
{
    return { read * 512, write * 512 };
}

} // namespace

class DiskActivityTest : public QObject {
    Q_OBJECT
private:
    void addDisk(const QString& name, const QStringList& below = {}, const QByteArray& hidden = "0\n") const
    {
        const QString folder = QStringLiteral("sys/block/") + name + u'/';
        m_tree->write(folder + QStringLiteral("hidden"), hidden);
        QVERIFY(QDir().mkpath(m_tree->path(folder + QStringLiteral("slaves"))));
        for (const QString& device : below)
            QVERIFY(QFile::link(QStringLiteral("../../") + device,
                m_tree->path(folder + QStringLiteral("slaves/") + device)));
    }
    void write(const QByteArray& text) const { m_tree->write(QStringLiteral("proc/diskstats"), text); }

    // The rates one second after the last sample.
    std::optional<DiskActivity::Rates> sample(const QList<Counters>& devices)
    {
        write(diskLines(devices));
        return m_activity->sample(m_now += 1s);
    }

    std::unique_ptr<FileTree> m_tree;
    std::unique_ptr<DiskActivity> m_activity;
    DiskActivity::Clock::time_point m_now;

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<FileTree>();
        m_activity = std::make_unique<DiskActivity>(m_tree->root());
        m_now = DiskActivity::Clock::time_point(1h);
    }

    void ratesAreBytesPerSecondBetweenTwoSamples()
    {
        addDisk(QStringLiteral("sda"));
        QCOMPARE(sample({ { "sda", 1000, 5000 } }), std::nullopt);
        QCOMPARE(sample({ { "sda", 1100, 5020 } }), sectors(100, 20));
        QCOMPARE(sample({ { "sda", 1100, 5020 } }), sectors(0, 0));
        write(diskLines({ { "sda", 1200, 5040 } }));
        QCOMPARE(m_activity->sample(m_now += 2s), sectors(50, 10));
        write(diskLines({ { "sda", 1200, 5090 } }));
        QCOMPARE(m_activity->sample(m_now += 500ms), sectors(0, 100));
    }

    void whatPassesThroughSeveralLayersCountsOnce()
    {
        const struct {
            const char* name;
            QList<Counters> devices;
            DiskActivity::Rates rates;
        } rows[] {
            { "a partition", { { "sda", 100, 10 }, { "sda1", 60, 6 }, { "sda2", 40, 4 } }, sectors(100, 10) },
            { "a logical volume on an encrypted partition",
                { { "sda", 100, 10 }, { "sda2", 100, 10 }, { "dm-0", 100, 10 }, { "dm-1", 100, 10 } },
                sectors(100, 10) },
            { "an array", { { "sdb", 50, 10 }, { "sdc", 50, 10 }, { "md0", 100, 10 } }, sectors(100, 20) },
            { "a disk with several paths", { { "nvme0n1", 100, 10 }, { "nvme0c0n1", 100, 10 } },
                sectors(100, 10) },
            { "a volume in a pool", { { "sda", 100, 10 }, { "zd0", 90, 9 }, { "zd16", 90, 9 } },
                sectors(100, 10) },
            { "no disks", { { "sr0", 7, 0 }, { "loop7", 9, 9 }, { "ram0", 9, 9 }, { "zram0", 9, 9 } },
                sectors(7, 0) },
            { "a disk whose name begins like memory", { { "ramdisk1", 8, 1 } }, sectors(8, 1) },
            { "an old controller", { { "cciss/c0d0", 30, 3 }, { "cciss/c0d0p1", 30, 3 } }, sectors(30, 3) },
        };
        for (const char* disk : { "sda", "sdb", "sdc", "nvme0n1", "sr0", "loop7", "ram0", "zram0", "zd0",
                 "zd16", "ramdisk1", "cciss!c0d0" })
            addDisk(QString::fromLatin1(disk));
        addDisk(QStringLiteral("nvme0c0n1"), {}, "1\n");
        addDisk(QStringLiteral("dm-0"), { QStringLiteral("sda2") });
        addDisk(QStringLiteral("dm-1"), { QStringLiteral("dm-0") });
        addDisk(QStringLiteral("md0"), { QStringLiteral("sdb"), QStringLiteral("sdc") });
        for (const auto& row : rows) {
            QList<Counters> before = row.devices;
            for (Counters& counters : before)
                counters.read = counters.written = 0;
            m_activity->pause();
            QCOMPARE_ROW(row.name, sample(before), std::nullopt);
            QCOMPARE_ROW(row.name, sample(row.devices), std::optional(row.rates));
        }
    }

    void aDeviceThatComesOrGoesIsNoSpike()
    {
        for (const char* disk : { "sda", "sdb", "sdc" })
            addDisk(QString::fromLatin1(disk));
        sample({ { "sda", 0, 0 }, { "sdc", 70000, 0 } });
        // One comes, in the middle of the list.
        QCOMPARE(
            sample({ { "sda", 10, 1 }, { "sdb", 900000, 900000 }, { "sdc", 70005, 0 } }), sectors(15, 1));
        QCOMPARE(
            sample({ { "sda", 20, 2 }, { "sdb", 900100, 900020 }, { "sdc", 70005, 0 } }), sectors(110, 21));
        // One goes, and comes back in the place of another.
        QCOMPARE(sample({ { "sdb", 900200, 900040 }, { "sdc", 70010, 0 } }), sectors(105, 20));
        QCOMPARE(sample({ { "sda", 500000, 500000 }, { "sdc", 70020, 0 } }), sectors(10, 0));
    }

    void aCounterThatGoesBackCountsAsNone()
    {
        addDisk(QStringLiteral("sda"));
        addDisk(QStringLiteral("sdb"));
        sample({ { "sda", 4'294'967'290, 100 }, { "sdb", 50, 50 } });
        QCOMPARE(sample({ { "sda", 5, 130 }, { "sdb", 60, 0 } }), sectors(10, 30));
        QCOMPARE(sample({ { "sda", 15, 130 }, { "sdb", 60, 3 } }), sectors(10, 3));
    }

    void aVolumeIsLeftOutAsSoonAsItIsKnownToLieOnADisk()
    {
        addDisk(QStringLiteral("sda"));
        sample({ { "sda", 0, 0 } });
        addDisk(QStringLiteral("md0"));
        sample({ { "sda", 0, 0 }, { "md0", 0, 0 } });
        addDisk(QStringLiteral("md0"), { QStringLiteral("sda") });
        QCOMPARE(sample({ { "sda", 40, 4 }, { "md0", 40, 4 } }), sectors(40, 4));
        // From now on, the devices are not looked at until the list changes.
        addDisk(QStringLiteral("sda"), {}, "1\n");
        QCOMPARE(sample({ { "sda", 80, 8 }, { "md0", 80, 8 } }), sectors(40, 4));
        QCOMPARE(sample({ { "sda", 120, 12 } }), std::nullopt);
    }

    void samplesTooSoonLeaveTheRates()
    {
        addDisk(QStringLiteral("sda"));
        sample({ { "sda", 0, 0 } });
        QCOMPARE(sample({ { "sda", 100, 0 } }), sectors(100, 0));
        write(diskLines({ { "sda", 110, 0 } }));
        QCOMPARE(m_activity->sample(m_now + 1ms), sectors(100, 0));
        QCOMPARE(m_activity->sample(m_now - 1h), sectors(100, 0));
        QCOMPARE(sample({ { "sda", 120, 0 } }), sectors(20, 0));
    }

    void afterAPauseTheNextSampleIsAFirstOne()
    {
        addDisk(QStringLiteral("sda"));
        sample({ { "sda", 0, 0 } });
        m_activity->pause();
        QCOMPARE(sample({ { "sda", 100, 0 } }), std::nullopt);
        QCOMPARE(sample({ { "sda", 150, 0 } }), sectors(50, 0));
    }

    void damagedLinesAreLeftOut()
    {
        addDisk(QStringLiteral("sda"));
        for (const char* line :
            { "", "\n", "   8", "   8 0 sda", "   8 0 sda 1 2 3 4 5 6", "   8 0 sda 1 2 x 4 5 6 7",
                "   8 0 sda 1 2 -3 4 5 6 7", "   8 0 sda 1 2 99999999999999999999 4 5 6 7",
                "   8 0  1 2 3 4 5 6 7 8", "8 0 ../../etc 1 2 3 4 5 6 7" }) {
            m_activity->pause();
            write(line + QByteArray("\n"));
            QCOMPARE_ROW(line, m_activity->sample(m_now += 1s), std::nullopt);
            QCOMPARE_ROW(line, m_activity->sample(m_now += 1s), std::nullopt);
            write(line + QByteArray("\n") + diskLine({ "sda", 1, 1 }));
            m_activity->sample(m_now += 1s);
            write(line + QByteArray("\n") + diskLine({ "sda", 2, 3 }));
            QCOMPARE_ROW(line, m_activity->sample(m_now += 1s), std::optional(sectors(1, 2)));
        }
    }

    void withoutCountersOrDisksThereAreNoRates()
    {
        QCOMPARE(m_activity->sample(m_now += 1s), std::nullopt);
        QCOMPARE(m_activity->sample(m_now += 1s), std::nullopt);
        // Counters, but nothing that says which devices are disks.
        sample({ { "sda", 0, 0 } });
        QCOMPARE(sample({ { "sda", 100, 0 } }), std::nullopt);
        // The counters are lost while they are shown.
        addDisk(QStringLiteral("sda"));
        m_activity->pause();
        sample({ { "sda", 0, 0 } });
        QVERIFY(sample({ { "sda", 100, 0 } }));
        write({});
        QCOMPARE(m_activity->sample(m_now += 1s), std::nullopt);
        QCOMPARE(sample({ { "sda", 90000, 0 } }), sectors(0, 0));
    }

    void moreDevicesThanAPageHolds()
    {
        QList<Counters> before;
        QList<QByteArray> names;
        for (int i = 0; i < 80; ++i) {
            names.append("nbd" + QByteArray::number(i));
            addDisk(QString::fromLatin1(names.last()));
        }
        for (const QByteArray& name : names)
            before.append({ name.constData(), 1'000'000, 1'000'000 });
        QList<Counters> after = before;
        for (Counters& counters : after)
            counters.read += 10;
        sample(before);
        QCOMPARE(sample(after), sectors(800, 0));
    }

    void whatIsReallyWrittenIsCounted()
    {
        static constexpr qsizetype size = 8 << 20;
        QTemporaryFile file(QStringLiteral("/var/tmp/DiskActivityTestXXXXXX"));
        QVERIFY(file.open());
        struct stat status { };
        QCOMPARE(::fstat(file.handle(), &status), 0);
        const auto device = QStringLiteral("/sys/dev/block/%1:%2");
        if (!QFile::exists(device.arg(major(status.st_dev)).arg(minor(status.st_dev))))
            QSKIP("the file is on no block device of its own");
        const FileDescriptor direct(
            ::open(QFile::encodeName(file.fileName()).constData(), O_WRONLY | O_DIRECT | O_CLOEXEC));
        if (!direct.isValid())
            QSKIP("the file system has only a cache");
        const std::unique_ptr<void, decltype(&std::free)> block(std::aligned_alloc(4096, size), &std::free);
        std::memset(block.get(), 'x', size);

        DiskActivity activity;
        // Both samples are within this time, however long this process is held up between two lines.
        const auto begin = DiskActivity::Clock::now();
        QCOMPARE(activity.sample(), std::nullopt);
        QCOMPARE(::write(direct.get(), block.get(), size), size);
        QTest::qSleep(int(DiskActivity::shortestTime.count()));
        // Other programs write too, so there is no upper limit.
        const auto rates = activity.sample();
        const std::chrono::duration<double> time = DiskActivity::Clock::now() - begin;
        QVERIFY(rates);
        QVERIFY2(rates->write * time.count() > 0.98 * size, qPrintable(QString::number(rates->write)));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DiskActivityTest)
#include "DiskActivityTest.moc"
