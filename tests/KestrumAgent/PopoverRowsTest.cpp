#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/PopoverMachineTest.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SeenReads.h"

using namespace kestrum;

class PopoverRowsTest : public PopoverMachineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { begin(); }
    void cleanup() { end(); }

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
        QSemaphore done;
        m_fixture->live->sample(WantedReadings::ofPopover(MonitorSection::cpu), [&done] { done.release(); });
        m_fixture->reader.opened(MonitorSection::cpu);
        for (const auto* row : { &cpu().celsius, &cpu().hertz })
            QVERIFY(row->hasRow && !row->value);
        QVERIFY2(done.tryAcquire(1, 5000), "a busy worker reads nothing at the tick");
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
        m_fixture->close();
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(!cpu().hertz.hasRow);
        m_fixture->write("proc/cpuinfo", "processor\t: 0\ncpu MHz\t\t: 2400.000\n");
        m_fixture->close();
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().hertz.hasRow);
    }

    // As in virtual machines. Only the first opening has rows for them.
    void countersThatStandStillHaveNoRowsAtLaterOpenings()
    {
        fill(*m_fixture);
        const auto setFrequency = [this](const QByteArray& kilohertz) {
            for (const char* policy : { "policy0", "policy1" })
                m_fixture->write(
                    (QByteArray("sys/devices/system/cpu/cpufreq/") + policy + "/scaling_cur_freq")
                        .constData(),
                    kilohertz);
        };
        setFrequency("");
        m_fixture->open(MonitorSection::sensors);
        QVERIFY(m_fixture->readings().sensors.cpuWatts.hasRow);
        m_fixture->tick();
        m_fixture->close();
        m_fixture->open(MonitorSection::sensors);
        QVERIFY(!m_fixture->readings().sensors.cpuWatts.hasRow);
        m_fixture->close();
        m_fixture->tick();

        m_fixture->open(MonitorSection::cpu);
        QVERIFY2(cpu().watts.hasRow && cpu().hertz.hasRow, "one answer is not enough");
        m_fixture->close();
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().watts.hasRow && cpu().hertz.hasRow);
        for (int i = 0; i < 4; ++i) {
            QTest::qWait(20); // so that the worker has answered
            m_fixture->tick();
            QVERIFY2(cpu().watts.hasRow && cpu().hertz.hasRow, "a row that is shown stays");
        }
        m_fixture->close();
        m_fixture->open(MonitorSection::cpu);
        QCOMPARE(cpu().watts, RowValue<double>());
        QCOMPARE(cpu().hertz, RowValue<double>());

        // What measures after all has its rows again.
        for (int i = 0; i < 4; ++i) {
            QTest::qWait(20);
            m_fixture->tick();
        }
        setFrequency("3000000\n");
        const auto spendAndTick = [this] {
            QTest::qWait(20);
            spend(*m_fixture, QByteArray::number(m_joules += 1'000'000));
            m_fixture->tick();
        };
        for (int i = 0; i < 4; ++i)
            spendAndTick();
        QVERIFY2(!cpu().watts.hasRow && !cpu().hertz.hasRow, "too late");
        m_fixture->close();
        m_fixture->open(MonitorSection::cpu);
        QVERIFY(cpu().watts.hasRow);
        QVERIFY(cpu().hertz.hasRow);
        m_fixture->close();
        m_fixture->open(MonitorSection::sensors);
        QVERIFY(!m_fixture->readings().sensors.cpuWatts.hasRow);
        spendAndTick();
        QVERIFY2(m_fixture->readings().sensors.cpuWatts.value, "the second answer decides");
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
};

KESTRUM_TEST_MAIN(QCoreApplication, PopoverRowsTest)
#include "PopoverRowsTest.moc"
