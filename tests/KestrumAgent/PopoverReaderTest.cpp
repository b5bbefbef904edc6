#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/PopoverMachineTest.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SeenReads.h"

using namespace kestrum;

class PopoverReaderTest : public PopoverMachineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { begin(); }
    void cleanup() { end(); }

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
        // Reading some of these would stop the process or show secrets; the others say nothing that is needed of a plain program.
        QSet<QString> never;
        for (const char* name : { "cmdline", "environ", "status", "smaps", "smaps_rollup" }) {
            const QString path = QStringLiteral("proc/7/") + QLatin1StringView(name);
            m_machine->write(path, "x\n");
            never.insert(path);
        }
        m_fixture->interval = std::chrono::seconds(4); // at which the disks are read at each tick
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
        QVERIFY(!open.intersects(never));

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

    void theLoadIsUnknownUntilItIsMeasured()
    {
        m_fixture->sample(itemSources());
        m_fixture->reader.opened(MonitorSection::cpu);
        QCOMPARE(cpu().usage, std::nullopt);
        m_machine->write(QStringLiteral("proc/stat"), statText(coresAfter(1000, { 10, 20, 30, 40 })));
        m_fixture->tick();
        QCOMPARE(cpu().usage, 0.25);
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
        QCOMPARE(cpu().coreNumbers, QList<int>({ 2, 3, 0, 1 }));
        // The kernel's lists say something else than its counters.
        m_machine->writeKind("cpu_atom", "2-7\n");
        m_machine->writeOnline("0-7\n");
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().tiers.isEmpty());
    }

    void aCoreThatGoesOfflineWhileItIsOpenIsMissingInItsTier()
    {
        m_machine->writeKind("cpu_core", "0-1\n");
        m_machine->writeKind("cpu_atom", "2-3\n");
        m_fixture->tick();
        m_fixture->open(MonitorSection::cpu);
        QCOMPARE(cpu().tiers.size(), 2);
        m_machine->writeKind("cpu_core", "0\n");
        m_machine->writeOnline("0,2-3\n");
        m_fixture->offline = 1;
        m_fixture->tick();
        m_fixture->tick();
        const QList<CoreTier> tiers { { QStringLiteral("Performance"), 1 },
            { QStringLiteral("Efficiency"), 2 } };
        QCOMPARE(cpu().tiers, tiers);
        QCOMPARE(cpu().coreNumbers, QList<int>({ 2, 3, 0 }));
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
        QCOMPARE(m_fixture->reader.appScans(), 0); // the popover is painted first
        QTRY_COMPARE(m_fixture->reader.appScans(), 1);
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
