#include "KestrumShared/Readings/PopoverReader.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SeenReads.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

namespace {

/// The files of a machine that has everything.
void fill(const PopoverFixture& fixture)
{
    fixture.write("proc/meminfo",
        "MemTotal: 100000 kB\nMemFree: 10000 kB\nMemAvailable: 40000 kB\nSwapTotal: 50000 kB\n"
        "SwapFree: 20000 kB\nZswap: 5000 kB\nAnonPages: 30000 kB\nShmem: 4000 kB\n");
    fixture.write("proc/pressure/memory", "some avg10=4.00 avg60=0.00 avg300=0.00 total=0\n");
    fixture.write("proc/pressure/io", "some avg10=2.00 avg60=0.00 avg300=0.00 total=0\n");
    fixture.write("proc/loadavg", "5.24 3.96 2.71 2/500 999\n");
    fixture.write("proc/uptime", "273600.33 1000.00\n");
    fixture.write("proc/diskstats", "   8       0 sda 10 0 1000 5 20 0 2000 6 0 7 8\n");
    fixture.write("sys/block/sda/hidden", "0\n");
    fixture.write("proc/self/mountinfo", localLine(1, "/"));
    fixture.write("sys/devices/system/cpu/cpufreq/policy0/scaling_cur_freq", "1200000\n");
    fixture.write("sys/devices/system/cpu/cpufreq/policy1/scaling_cur_freq", "3420000\n");
    fixture.write("sys/class/powercap/intel-rapl:0/name", "package-0\n");
    fixture.write("sys/class/powercap/intel-rapl:0/max_energy_range_uj", "262143328850\n");
    fixture.write("sys/class/powercap/intel-rapl:0/energy_uj", "1000000\n");
    fixture.write("proc/7/stat", "7 (worker) S 1 7 7 0 -1 0 0 0 0 0 5 5 0 0 20 0 1 0 100 0 10\n");
    fixture.devices.setSensors({ 48.0, {}, {}, {} });
}

void spend(const PopoverFixture& fixture, const QByteArray& microjoules)
{
    fixture.write("sys/class/powercap/intel-rapl:0/energy_uj", microjoules + '\n');
}

} // namespace

class PopoverReaderTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<FakeMachine> m_machine;
    std::unique_ptr<PopoverFixture> m_fixture;
    const CPUPopoverReadings& cpu() const { return m_fixture->readings().cpu; }
    const MemoryPopoverReadings& memory() const { return m_fixture->readings().memory; }

    /// Opens the CPU's popover and waits until its rows are decided.
    void openCPU()
    {
        m_fixture->open(MonitorSection::cpu);
        QTest::qWait(20); // the power is that of this time
        spend(*m_fixture, QByteArray::number(m_joules += 1'000'000));
        m_fixture->tick();
    }
    int m_joules = 1'000'000;

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init()
    {
        forgetSettings();
        m_fixture.reset();
        m_machine = std::make_unique<FakeMachine>(4);
        m_fixture = std::make_unique<PopoverFixture>(*m_machine);
    }
    void cleanup()
    {
        m_fixture.reset();
        m_machine.reset();
    }

    void whileNoneIsOpenTheItemsValuesBecomeHistories()
    {
        fill(*m_fixture);
        const QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        for (int i = 0; i < 3; ++i)
            m_fixture->tick();
        QVERIFY(changed.isEmpty());
        QVERIFY(cpu().history.isEmpty());
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(!cpu().history.isEmpty());
        // The first sample measures no load, and counts for nothing.
        for (const double load : valuesOf(cpu().history))
            QCOMPARE(load, 0.25);
        m_fixture->open(MonitorSection::memory);
        QCOMPARE(memory().app.last().value, 0.34);
        QCOMPARE(memory().system.last().value, 0.21);
        QCOMPARE(memory().compressed.last().value, 0.05);
        QCOMPARE(memory().cache.last().value, 0.3);
    }

    void whatAnItemDoesNotReadIsInNoHistory()
    {
        fill(*m_fixture);
        for (int i = 0; i < 3; ++i)
            m_fixture->sample({});
        m_fixture->reader.opened(MonitorSection::cpu);
        QVERIFY(cpu().history.isEmpty());
        m_fixture->reader.opened(MonitorSection::memory);
        QVERIFY(memory().app.isEmpty());
    }

    // Only the counters of the disks are read besides what the items show.
    void whileNoneIsOpenNothingIsReadForPopovers()
    {
        fill(*m_fixture);
        // A new disk is looked at twice.
        for (int i = 0; i < 3; ++i) {
            m_fixture->tick();
            QTest::qWait(60); // rates need a moment
        }
        const SeenReads reads(m_machine->root());
        const auto readOf = [&](const auto& act) {
            reads.take();
            act();
            return reads.take();
        };
        const auto tick = [this] { m_fixture->tick(); };
        const auto itemsAlone = readOf([this] {
            QSemaphore done;
            m_fixture->live->sample(itemSources(), [&done] { done.release(); });
            QVERIFY(done.tryAcquire(1, 5000));
        });
        QVERIFY(itemsAlone.contains(QStringLiteral("proc/meminfo")));
        const QString disks = QStringLiteral("proc/diskstats");
        const auto closed = readOf(tick);
        QCOMPARE(closed - itemsAlone, QSet<QString>({ disks }));

        QSet<QString> open;
        for (const auto& entry : allCases<MonitorSection>()) {
            open |= readOf([&] {
                m_fixture->open(entry.value);
                QTRY_VERIFY_WITH_TIMEOUT(
                    entry.value == MonitorSection::sensors || m_fixture->reader.appScans() > 0, 5000);
                QTest::qWait(60);
                m_fixture->tick();
            });
        }
        for (const char* path :
            { "proc/loadavg", "proc/uptime", "proc/pressure/memory", "proc/pressure/io", "proc/7/stat",
                "proc/self/mountinfo", "sys/devices/system/cpu/cpufreq/policy1/scaling_cur_freq" })
            QVERIFY2(open.contains(QLatin1StringView(path)), path);

        m_fixture->open(MonitorSection::cpu);
        m_fixture->tick();
        m_fixture->close();
        QTest::qWait(600); // a scan that was due would come now
        m_fixture->tick();
        QTest::qWait(60);
        QCOMPARE(readOf(tick), closed);
        QTest::qWait(60);
        QCOMPARE(readOf(tick), closed);
        // Only the items' readers still have open files.
        QSet<QString> files;
        for (const QFileInfo& file :
            QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System)) {
            if (file.symLinkTarget().startsWith(m_machine->root() + u'/'))
                files.insert(file.symLinkTarget().mid(m_machine->root().size() + 1));
        }
        QCOMPARE(files - closed,
            QSet<QString>({ QStringLiteral("proc/pressure/memory"),
                QStringLiteral("sys/class/powercap/intel-rapl:0/energy_uj") }));
    }

    void withoutAShownVolumeItsDisksAreNotRead()
    {
        fill(*m_fixture);
        m_fixture->tick();
        const SeenReads reads(m_machine->root());
        WantedReadings wanted = itemSources();
        wanted.storage = false;
        m_fixture->sample(wanted);
        QVERIFY(!reads.take().contains(QStringLiteral("proc/diskstats")));
    }

    void aMachineThatHasEverything()
    {
        fill(*m_fixture);
        m_fixture->tick();
        m_fixture->tick();
        openCPU();
        QCOMPARE(cpu().usage, 0.25);
        QCOMPARE(cpu().cores, QList<double>({ 0.1, 0.2, 0.3, 0.4 }));
        QVERIFY(cpu().tiers.isEmpty());
        QCOMPARE(cpu().celsius, RowValue<double>(48));
        QVERIFY(cpu().watts.hasRow && cpu().watts.value > 0 && cpu().watts.value <= 50);
        QCOMPARE(cpu().powerAccess, PowerAccess::granted);
        QTRY_COMPARE_WITH_TIMEOUT(cpu().hertz, RowValue<double>(3.42e9), 5000);
        QCOMPARE(cpu().load.value.value(), (std::array { 5.24, 3.96, 2.71 }));
        QCOMPARE(cpu().uptime.value.value(), std::chrono::seconds(273600));

        m_fixture->open(MonitorSection::memory);
        QCOMPARE(memory().parts.used(), quint64(60000) * 1024);
        QCOMPARE(memory().pressure, 0.04);
        QVERIFY(memory().hasCompressed);
        QVERIFY(memory().hasSwap);
    }

    void thePopoverOfAnAgentThatHasJustStartedGetsTheRatesOfDisks()
    {
        fill(*m_fixture);
        m_fixture->wanted = itemSources() | WantedReadings::ofPopover(MonitorSection::storage);
        m_fixture->reader.opened(MonitorSection::storage);
        const DiskPopoverReadings& disk = m_fixture->readings().disk;
        for (int i = 0; i < 2; ++i) {
            QVERIFY(!disk.readRate.value);
            m_fixture->tick();
            QTest::qWait(60); // a rate over less time would be none
        }
        QCOMPARE(disk.readRate.value, std::optional<double>(0));
        QCOMPARE(disk.writeRate.value, std::optional<double>(0));
        m_fixture->tick();
        QVERIFY(disk.readRate.hasRow && disk.writeRate.hasRow);
    }

    void theItemsTemperatureIsThereAtOnce()
    {
        fill(*m_fixture);
        m_fixture->tick();
        m_fixture->open(MonitorSection::cpu);
        QCOMPARE(cpu().celsius, RowValue<double>(48));
    }

    void aTemperatureOfLongAgoIsNotShown()
    {
        fill(*m_fixture);
        m_fixture->tick();
        m_fixture->devices.setSensors({});
        m_fixture->sample({});
        // The popover is opened before the worker answers.
        m_fixture->live->sample(WantedReadings::ofPopover(MonitorSection::cpu));
        m_fixture->reader.opened(MonitorSection::cpu);
        QCOMPARE(cpu().celsius, RowValue<double>());
    }

    void coresOfDifferentKinds()
    {
        m_machine->writeKind("cpu_core", "0-1\n");
        m_machine->writeKind("cpu_atom", "2-3\n");
        m_fixture->tick();
        m_fixture->open(MonitorSection::cpu);
        const QList<CoreTier> tiers { { QStringLiteral("Performance"), 2 },
            { QStringLiteral("Efficiency"), 2 } };
        QCOMPARE(cpu().tiers, tiers);
        QCOMPARE(cpu().cores, QList<double>({ 0.3, 0.4, 0.1, 0.2 }));
        // The kernel's lists say something else than its counters.
        m_machine->writeKind("cpu_atom", "2-7\n");
        m_machine->writeOnline("0-7\n");
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().tiers.isEmpty());
    }

    void coresThatAreTheSameAreNotLookedAtAgain()
    {
        m_machine->writeKind("cpu_core", "0-1\n");
        m_machine->writeKind("cpu_atom", "2-3\n");
        m_fixture->tick();
        m_fixture->open(MonitorSection::cpu);
        const QList<CoreTier> tiers = cpu().tiers;
        QCOMPARE(tiers.size(), 2);
        m_fixture->close();
        const SeenReads reads(m_machine->root());
        const QString kind = QStringLiteral("sys/devices/cpu_core/cpus");
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(!reads.take().contains(kind));
        QCOMPARE(cpu().tiers, tiers);
        m_machine->writeOnline("0-7\n");
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(reads.take().contains(kind));
    }

    void aMachineThatTellsNothingHasNoRowsAndGetsNone()
    {
        m_fixture->tick();
        openCPU();
        for (int i = 0; i < 3; ++i) {
            for (const auto* row : { &cpu().celsius, &cpu().watts, &cpu().hertz })
                QCOMPARE(*row, RowValue<double>());
            QVERIFY(!cpu().load.hasRow && !cpu().uptime.hasRow);
            if (i == 1)
                fill(*m_fixture); // too late
            QTest::qWait(20);
            m_fixture->tick();
        }
    }

    void swapThatIsAddedWhileOpenHasNoRow()
    {
        m_fixture->write("proc/meminfo", "MemTotal: 10 kB\nMemAvailable: 5 kB\n");
        m_fixture->open(MonitorSection::memory);
        QVERIFY(!memory().hasSwap && !memory().hasCompressed);
        fill(*m_fixture);
        m_fixture->tick();
        QVERIFY(memory().parts.swapTotal > 0);
        QVERIFY(!memory().hasSwap && !memory().hasCompressed);
    }

    void whatIsLostWhileOpenKeepsItsRow()
    {
        fill(*m_fixture);
        m_fixture->tick();
        openCPU();
        QTRY_VERIFY_WITH_TIMEOUT(cpu().hertz.value, 5000);
        m_fixture->remove("sys/class/powercap/intel-rapl:0/energy_uj");
        spend(*m_fixture, "junk");
        m_fixture->write("sys/devices/system/cpu/cpufreq/policy0/scaling_cur_freq", "");
        m_fixture->write("sys/devices/system/cpu/cpufreq/policy1/scaling_cur_freq", "");
        m_fixture->write("proc/loadavg", "");
        m_fixture->write("proc/uptime", "");
        m_fixture->devices.setSensors({});
        const auto isLost = [this] {
            m_fixture->tick();
            return !cpu().watts.value && !cpu().hertz.value && !cpu().celsius.value && !cpu().load.value
                && !cpu().uptime.value;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isLost(), 5000);
        for (const auto* row : { &cpu().celsius, &cpu().watts, &cpu().hertz })
            QVERIFY(row->hasRow);
        QVERIFY(cpu().load.hasRow && cpu().uptime.hasRow);
        fill(*m_fixture);
        const auto isBack = [this] {
            m_fixture->tick();
            return cpu().hertz.value && cpu().celsius.value && cpu().load.value && cpu().uptime.value;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isBack(), 5000);

        fill(*m_fixture);
        m_fixture->open(MonitorSection::memory);
        m_fixture->write("proc/meminfo",
            "MemTotal: 10 kB\nMemFree: 4 kB\nMemAvailable: 5 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n");
        m_fixture->tick();
        QCOMPARE(memory().parts.swapTotal, quint64(0));
        QVERIFY(memory().hasSwap && memory().hasCompressed);
    }

    // So the popover has its height before workers answer.
    void rowsAreExpectedAsTheyWereLastTime()
    {
        fill(*m_fixture);
        m_fixture->tick();
        openCPU();
        QTRY_VERIFY_WITH_TIMEOUT(cpu().hertz.value, 5000);
        m_fixture->close();
        m_fixture->devices.setSensors({});
        m_fixture->sample({});
        m_fixture->live->sample(WantedReadings::ofPopover(MonitorSection::cpu));
        m_fixture->reader.opened(MonitorSection::cpu);
        for (const auto* row : { &cpu().celsius, &cpu().hertz })
            QVERIFY(row->hasRow && !row->value);
        m_fixture->wanted = WantedReadings::ofPopover(MonitorSection::cpu);
        m_fixture->tick();
        QVERIFY2(cpu().celsius.hasRow && !cpu().celsius.value, "a row that is shown stays");
        QTRY_COMPARE_WITH_TIMEOUT(cpu().hertz, RowValue<double>(3.42e9), 5000);
        m_fixture->open(MonitorSection::cpu);
        QCOMPARE(cpu().celsius, RowValue<double>());
    }

    void rowsThatNeedTimeToMeasureAreThereAtTheFirstOpening()
    {
        fill(*m_fixture);
        m_fixture->tick();
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().watts.hasRow && !cpu().watts.value);
        QVERIFY(cpu().hertz.hasRow);
        for (const char* policy : { "policy0", "policy1" })
            m_fixture->remove(
                (QByteArray("sys/devices/system/cpu/cpufreq/") + policy + "/scaling_cur_freq").constData());
        QVERIFY(
            QDir(m_machine->root() + QStringLiteral("/sys/devices/system/cpu/cpufreq")).removeRecursively());
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(!cpu().hertz.hasRow);
        m_fixture->write("proc/cpuinfo", "processor\t: 0\ncpu MHz\t\t: 2400.000\n");
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().hertz.hasRow);
    }

    void whoMayNotReadThePowerHasARowForIt()
    {
        fill(*m_fixture);
        const QString energy
            = m_machine->root() + QStringLiteral("/sys/class/powercap/intel-rapl:0/energy_uj");
        QVERIFY(QFile::setPermissions(energy, QFileDevice::Permissions()));
        const OrdinaryUser user({ m_machine->root(), energy });
        WantedReadings wanted;
        wanted.cpuLoad = wanted.cpuPower = true;
        m_fixture->live->sample(wanted);
        m_fixture->reader.sampled(wanted, m_fixture->interval);
        m_fixture->reader.opened(MonitorSection::cpu);
        QCOMPARE(cpu().powerAccess, PowerAccess::denied);
        QVERIFY(cpu().watts.hasRow);
        const auto tick = [&] {
            m_fixture->live->sample(wanted);
            m_fixture->reader.sampled(wanted, m_fixture->interval);
        };
        for (int i = 0; i < 4; ++i)
            tick();
        QVERIFY(cpu().watts.hasRow && !cpu().watts.value);
        // Somebody gives the permission.
        QVERIFY(QFile::setPermissions(energy, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        for (int i = 0; i < 100 && !cpu().watts.value; ++i) {
            kestrum::write(energy, QByteArray::number(m_joules += 1000) + '\n');
            QTest::qWait(2);
            tick();
        }
        QCOMPARE(cpu().powerAccess, PowerAccess::granted);
        QVERIFY(cpu().watts.value);
    }

    void eachTickOfAnOpenPopoverIsAChange()
    {
        fill(*m_fixture);
        const QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        m_fixture->open(MonitorSection::memory);
        QCOMPARE(changed.count(), 0);
        m_fixture->tick();
        QCOMPARE(changed.count(), 1);
        m_fixture->close();
        m_fixture->tick();
        QCOMPARE(changed.count(), 1);
    }

    // Without a tick: the worker rings.
    void theFirstAnswersAreShownAsSoonAsTheyAreThere()
    {
        fill(*m_fixture);
        m_fixture->interval = std::chrono::hours(1);
        const QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        m_fixture->open(MonitorSection::cpu);
        QTRY_VERIFY_WITH_TIMEOUT(cpu().hertz.value, 5000);
        QVERIFY(!changed.isEmpty());
    }

    void laterAnswersAreShownAtTheNextTickUnlessItIsFarAway()
    {
        const struct {
            const char* name;
            std::chrono::milliseconds interval;
            bool rings;
        } rows[] { { "1 s", std::chrono::seconds(1), false },
            { "4.9 s", std::chrono::milliseconds(4900), false }, { "5 s", std::chrono::seconds(5), true },
            { "60 s", std::chrono::seconds(60), true } };
        for (const auto& row : rows) {
            init();
            m_fixture->interval = row.interval;
            m_fixture->open(MonitorSection::sensors);
            for (int i = 0; i < 3; ++i) {
                QTest::qWait(20); // so that the worker has answered
                m_fixture->tick();
            }
            QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
            const int reads = m_fixture->devices.listReads();
            QTRY_VERIFY_WITH_TIMEOUT(
                (QTest::qWait(20), m_fixture->tick(), m_fixture->devices.listReads() > reads), 5000);
            changed.clear();
            QCOMPARE_ROW(row.name, changed.wait(row.rings ? 5000 : 100), row.rings);
        }
    }

    void theListOfAClosedPopoverIsNotScanned()
    {
        m_fixture->open(MonitorSection::cpu);
        QCOMPARE(m_fixture->reader.appScans(), 1);
        m_fixture->close();
        QTest::qWait(600);
        QCOMPARE(m_fixture->reader.appScans(), 1);
        // The popover of the sensors has none.
        m_fixture->open(MonitorSection::cpu);
        m_fixture->open(MonitorSection::sensors);
        const int scans = m_fixture->reader.appScans();
        QTest::qWait(600);
        m_fixture->reader.approached(MonitorSection::sensors);
        QCOMPARE(m_fixture->reader.appScans(), scans);
    }

    void anotherSectionTakesThePlaceOfTheOpenOne()
    {
        fill(*m_fixture);
        m_fixture->open(MonitorSection::cpu);
        m_fixture->open(MonitorSection::memory);
        const auto before = cpu().usage;
        m_machine->write(QStringLiteral("proc/stat"), statText(coresAfter(1000, { 90, 90, 90, 90 })));
        m_fixture->tick();
        QCOMPARE(cpu().usage, before);
        QCOMPARE(memory().parts.total, quint64(100000) * 1024);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, PopoverReaderTest)
#include "PopoverReaderTest.moc"
