#include "KestrumAgent/Popover/LiveSource.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/TestHome.h"

#include <QSignalSpy>

using namespace kestrum;

class LiveSourceTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<FakeMachine> m_machine;

    static void show(const QList<MonitorSection>& sections)
    {
        for (const auto& entry : allCases<MonitorSection>())
            Setting(MeterSettings::visibilityKey(entry.value)).set(sections.contains(entry.value));
    }

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init()
    {
        forgetSettings();
        Setting(Keys::refreshInterval).set(0.1);
        m_machine = std::make_unique<FakeMachine>(1);
        m_machine->write(QStringLiteral("proc/meminfo"),
            "MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 40 kB\nAnonPages: 25 kB\n");
        m_machine->write(QStringLiteral("proc/uptime"), "60.00 50.00\n");
    }

    void readingsAreThereWhenOpenedReturns()
    {
        show({});
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        sampler.adoptSettings();
        const PopoverReadings& readings = source.readings();
        source.opened(MonitorSection::memory);
        QCOMPARE(readings.memory.parts.used(), quint64(60 * 1024));
        QCOMPARE(readings.memory.app.size(), 1);
        source.opened(MonitorSection::cpu);
        QCOMPARE(readings.cpu.uptime.value, std::optional(std::chrono::seconds(60)));
    }

    void anOpenPopoverFollowsTheTicksAndAClosedOneDoesNot()
    {
        show({});
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        sampler.adoptSettings();
        const QSignalSpy changed(&source, &PopoverSource::changed);
        source.opened(MonitorSection::memory);
        QCOMPARE(changed.count(), 0);
        m_machine->write(QStringLiteral("proc/meminfo"),
            "MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 30 kB\nAnonPages: 25 kB\n");
        QTRY_COMPARE_WITH_TIMEOUT(source.readings().memory.parts.used(), quint64(70 * 1024), 5000);
        QVERIFY(changed.count() >= 1);
        source.closed();
        QVERIFY(!sampler.isRunning());
        const auto count = changed.count();
        QTest::qWait(700); // the list's second scan would be over, too
        QCOMPARE(changed.count(), count);
    }

    void theHistoryIsOlderThanThePopover()
    {
        show({ MonitorSection::memory });
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 25, 10'000);
        source.opened(MonitorSection::memory);
        const QList<HistoryPoint>& app = source.readings().memory.app;
        QVERIFY(app.size() >= 2);
        for (const HistoryPoint& point : app) {
            QCOMPARE(point.value, 0.25);
            QVERIFY(!point.followsGap);
        }
    }

    void theSampleForANewPopoverIsNotShownInTheOldOne()
    {
        show({});
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        sampler.adoptSettings();
        source.opened(MonitorSection::cpu);
        const QSignalSpy changed(&source, &PopoverSource::changed);
        source.opened(MonitorSection::memory);
        QCOMPARE(changed.count(), 0);
    }

    // Else the first rate would be the mean of the time in which nobody looked.
    void whatTheDisksDidWhileNothingWasShownIsInNoRate()
    {
        const auto transfer = [this](const QByteArray& sectors) {
            m_machine->write(QStringLiteral("proc/diskstats"),
                "   8       0 sda 10 0 " + sectors + " 5 20 0 " + sectors + " 6 0 7 8\n");
        };
        transfer("1000");
        m_machine->write(QStringLiteral("sys/block/sda/hidden"), "0\n");
        show({ MonitorSection::storage });
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 2, 5000);
        show({});
        sampler.adoptSettings();
        transfer("9000000");
        QTest::qWait(60); // a rate over less time would be none
        show({ MonitorSection::storage });
        sampler.adoptSettings();
        source.opened(MonitorSection::storage);
        const DiskPopoverReadings& disk = source.readings().disk;
        QVERIFY(!disk.readRate.value && !disk.writeRate.value);
        QTRY_COMPARE_WITH_TIMEOUT(disk.readRate.value, std::optional<double>(0), 5000);
        QVERIFY(!disk.readHistory.isEmpty());
        for (const HistoryPoint& point : disk.readHistory + disk.writeHistory)
            QCOMPARE(point.value, 0.0);
    }

    void closedPopoversNeedNoThread()
    {
        Setting(Keys::cpuReadout).set(CPUReadout::usage);
        show({ MonitorSection::cpu, MonitorSection::memory });
        const auto threads = [] {
            return QDir(QStringLiteral("/proc/self/task"))
                .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                .size();
        };
        const auto before = threads();
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        const QSignalSpy sampled(&sampler, &Sampler::sampled);
        sampler.adoptSettings();
        QTRY_VERIFY_WITH_TIMEOUT(sampled.count() >= 5, 5000);
        QCOMPARE(threads(), before);
        source.opened(MonitorSection::cpu);
        QVERIFY(threads() > before);
    }

    void anApproachIsNoChange()
    {
        show({});
        Sampler sampler(nullptr, m_machine->root());
        LiveSource source(sampler, m_machine->root());
        const QSignalSpy changed(&source, &PopoverSource::changed);
        for (int i = 0; i < 20; ++i)
            source.approached(MonitorSection::cpu);
        QTest::qWait(100);
        QCOMPARE(changed.count(), 0);
        QVERIFY(!sampler.isRunning());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LiveSourceTest)
#include "LiveSourceTest.moc"
