#include "tests/Support/FreshSettings.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>

using namespace kestrum;
using Measured = std::optional<double>;
using DeviceKind = SensorDevice::Kind;

namespace {

SensorDevice device(const char* id, DeviceKind kind, Measured celsius)
{
    SensorDevice result;
    result.id = QLatin1StringView(id);
    result.kind = kind;
    result.celsius = celsius;
    result.inputs = { { QStringLiteral("input"), celsius } };
    return result;
}

SensorList::Values twoChips(Measured cpu, Measured gpu)
{
    SensorList::Values values;
    values.devices = { device("cpu-chip", DeviceKind::cpu, cpu), device("gpu-chip", DeviceKind::gpu, gpu) };
    values.fans = { { QStringLiteral("fan-1"), QStringLiteral("Front"), 0, 900.0 },
        { QStringLiteral("fan-2"), {}, 1, 1240.0 } };
    values.gpuWatts = 4;
    return values;
}

} // namespace

class SensorsPopoverReaderTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<FakeMachine> m_machine;
    std::unique_ptr<PopoverFixture> m_fixture;
    const SensorsPopoverReadings& sensors() const { return m_fixture->readings().sensors; }

    void writeBattery() const
    {
        m_fixture->write("sys/class/power_supply/BAT0/type", "Battery\n");
        m_fixture->write("sys/class/power_supply/BAT0/status", "Discharging\n");
        m_fixture->write("sys/class/power_supply/BAT0/power_now", "24000000\n");
        m_fixture->write("sys/class/power_supply/BAT0/energy_now", "39000000\n");
        m_fixture->write("sys/class/power_supply/BAT0/energy_full", "50000000\n");
    }
    /// Opens the popover, and waits for the first answer.
    void open()
    {
        const int reads = m_fixture->devices.listReads();
        m_fixture->open(MonitorSection::sensors);
        QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        QVERIFY(m_fixture->devices.listReads() > reads || changed.wait(5000));
        if (changed.isEmpty())
            QVERIFY(changed.wait(5000));
    }
    /// Closes the popover, and lets the worker end what it is doing.
    void close()
    {
        m_fixture->close();
        QTest::qWait(50);
    }
    /// Ticks until the answer to a reading that began at a tick is shown at another one.
    void tickUntilAnswered()
    {
        const int reads = m_fixture->devices.listReads();
        QTRY_VERIFY_WITH_TIMEOUT((m_fixture->tick(), m_fixture->devices.listReads() >= reads + 3), 5000);
    }

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init()
    {
        forgetSettings();
        m_machine = std::make_unique<FakeMachine>(1);
        m_fixture = std::make_unique<PopoverFixture>(*m_machine);
    }
    void cleanup()
    {
        m_fixture.reset();
        m_machine.reset();
    }

    void aLaptopThatMeasuresEverything()
    {
        writeBattery();
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        QCOMPARE(sensors().devices, twoChips(48, 41).devices);
        QCOMPARE(sensors().moreDevices, 0);
        QCOMPARE(sensors().fans, twoChips(48, 41).fans);
        QCOMPARE(sensors().gpuWatts, RowValue<double>(4));
        QCOMPARE(sensors().wholeWatts, RowValue<double>(24));
        QCOMPARE(sensors().cpuWatts.value, std::nullopt);
        QVERIFY(sensors().hasBattery && sensors().battery);
        QCOMPARE(sensors().battery->charge, 0.78);
        // The item's readout is the power, so the other values are those of the list.
        QCOMPARE(sensors().systemWatts, Measured(24));
        QCOMPARE(sensors().hottest, Measured(48));
        QCOMPARE(sensors().gpu, Measured(41));
        QCOMPARE(sensors().fastestFan, Measured(1240));
        QVERIFY(sensors().highestSince.time_since_epoch().count() > 0);
    }

    void aMachineThatMeasuresNothing()
    {
        m_fixture->devices.setList(SensorList::Values {});
        QVERIFY(!sensors().isAnswered);
        open();
        QVERIFY(sensors().isAnswered);
        QVERIFY(sensors().devices.isEmpty() && sensors().fans.isEmpty() && !sensors().hasBattery);
        for (const auto* row : { &sensors().wholeWatts, &sensors().cpuWatts, &sensors().gpuWatts })
            QCOMPARE(*row, RowValue<double>());
        QCOMPARE(sensors().hottest, std::nullopt);
        QCOMPARE(sensors().highestSince.time_since_epoch().count(), 0);
        // It is too late for rows.
        writeBattery();
        SensorList::Values values;
        values.gpuWatts = 4;
        m_fixture->devices.setList(values);
        tickUntilAnswered();
        QVERIFY(!sensors().hasBattery);
        QCOMPARE(sensors().gpuWatts, RowValue<double>());
        QCOMPARE(sensors().wholeWatts, RowValue<double>());
    }

    void whereNothingCanBeReadThatIsKnownToo()
    {
        m_fixture->devices.setList(std::nullopt);
        m_fixture->open(MonitorSection::sensors);
        QTRY_VERIFY_WITH_TIMEOUT((m_fixture->tick(), sensors().isAnswered), 5000);
    }

    void whatIsLostKeepsItsRow()
    {
        writeBattery();
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        for (const char* file : { "power_now", "energy_now", "status" })
            m_fixture->write((QByteArray("sys/class/power_supply/BAT0/") + file).constData(), "");
        SensorList::Values values = twoChips({}, {});
        values.gpuWatts.reset();
        m_fixture->devices.setList(values);
        tickUntilAnswered();
        QCOMPARE(sensors().devices, values.devices);
        QVERIFY(sensors().hasBattery);
        QVERIFY(sensors().gpuWatts.hasRow && !sensors().gpuWatts.value);
        QTRY_VERIFY_WITH_TIMEOUT((m_fixture->tick(), !sensors().wholeWatts.value), 5000);
        QVERIFY(sensors().wholeWatts.hasRow);
        // What was seen before stays the highest.
        QCOMPARE(sensors().highest.value(QStringLiteral("cpu-chip")), 48.0);
    }

    void eightDevicesAtMost()
    {
        SensorList::Values values;
        for (const char* id : { "1", "2", "3", "4", "5", "6", "7", "8", "9", "10" })
            values.devices.append(device(id, DeviceKind::disk, 40));
        values.devices.append(device("hot", DeviceKind::other, 90));
        m_fixture->devices.setList(values);
        open();
        QCOMPARE(sensors().devices.size(), 8);
        QCOMPARE(sensors().moreDevices, 3);
        QCOMPARE(sensors().devices.last().id, QStringLiteral("8"));
        // The header knows also those that have no row.
        QCOMPARE(sensors().hottest, Measured(90));
        close();
        m_fixture->devices.hang();
        m_fixture->open(MonitorSection::sensors);
        QCOMPARE(sensors().hottest, std::nullopt);
    }

    void highestValuesStayUntilTheyAreReset()
    {
        m_fixture->devices.setList(twoChips(81, 63));
        open();
        m_fixture->devices.setList(twoChips(48, 41));
        tickUntilAnswered();
        const QString cpu = QStringLiteral("cpu-chip");
        QCOMPARE(sensors().highest.value(cpu), 81.0);
        QCOMPARE(sensors().highest.value(QStringLiteral("fan-2")), 1240.0);
        close();
        m_fixture->devices.setList(twoChips(50, 41));
        open();
        QCOMPARE(sensors().highest.value(cpu), 81.0);
        const QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        m_fixture->reader.resetHighest();
        QCOMPARE(changed.count(), 1);
        QCOMPARE(sensors().highest.value(cpu), 50.0);
        QCOMPARE(sensors().highest.size(), 4);
    }

    // While the popover is closed, only the item's temperature is known.
    void theHighestOfTheProcessorCountsWhatItsItemShowed()
    {
        m_fixture->devices.setSensors({ 95.0, {}, {}, {} });
        m_fixture->tick();
        m_fixture->devices.setSensors({ 50.0, {}, {}, {} });
        m_fixture->tick();
        QCOMPARE(m_fixture->devices.listReads(), 0);
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        QCOMPARE(sensors().highest.value(QStringLiteral("cpu-chip")), 95.0);
        QCOMPARE(sensors().highest.size(), 4);
        // Of two processors, it is not known which one it was.
        SensorList::Values values = twoChips(48, 41);
        values.devices.prepend(device("cpu-2", DeviceKind::cpu, 47));
        m_fixture->devices.setList(values);
        tickUntilAnswered();
        QCOMPARE(sensors().highest.value(QStringLiteral("cpu-chip")), 48.0);
        QCOMPARE(sensors().highest.size(), 5);
    }

    void historiesComeFromTheItemOrFromTheList()
    {
        m_fixture->devices.setSensors({ 50.0, {}, {}, {} });
        m_fixture->tick();
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        QCOMPARE(valuesOf(sensors().cpuHistory), QList<double>({ 50 }));
        QCOMPARE(valuesOf(sensors().gpuHistory), QList<double>({ 41 }));

        FakeMachine other(1);
        PopoverFixture fixture(other);
        fixture.devices.setList(twoChips(48, 41));
        const QSignalSpy changed(&fixture.reader, &PopoverReader::changed);
        fixture.sample({});
        fixture.reader.opened(MonitorSection::sensors);
        QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), 5000);
        QCOMPARE(valuesOf(fixture.readings().sensors.cpuHistory), QList<double>({ 48 }));
    }

    void whatWasNotReadIsNoPointOfTheLine()
    {
        FakeMachine other(1);
        PopoverFixture fixture(other);
        SensorList::Values values = twoChips(48, 41);
        values.devices.first().isOld = true;
        fixture.devices.setList(values);
        fixture.sample({});
        fixture.reader.opened(MonitorSection::sensors);
        QTRY_VERIFY_WITH_TIMEOUT(!fixture.readings().sensors.devices.isEmpty(), 5000);
        QVERIFY(fixture.readings().sensors.cpuHistory.isEmpty());
        QCOMPARE(valuesOf(fixture.readings().sensors.gpuHistory), QList<double>({ 41 }));
        // It is shown nevertheless.
        QCOMPARE(fixture.readings().sensors.devices.first().celsius, Measured(48));
        QCOMPARE(fixture.readings().sensors.hottest, Measured(48));
    }

    void theHeaderShowsTheItemsReadout()
    {
        m_fixture->devices.setSensors({ {}, 70.0, 71.0, 72.0 });
        m_fixture->devices.setList(twoChips(48, 41));
        m_fixture->wanted.sensors = { true, true, true, true };
        m_fixture->tick();
        m_fixture->reader.opened(MonitorSection::sensors);
        QTRY_COMPARE_WITH_TIMEOUT(sensors().devices.size(), 2, 5000);
        QCOMPARE(sensors().gpu, Measured(70));
        QCOMPARE(sensors().hottest, Measured(71));
        QCOMPARE(sensors().fastestFan, Measured(72));
    }

    void eachOpeningIsNewToTheList()
    {
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        tickUntilAnswered();
        QCOMPARE(m_fixture->devices.newOpenings(), 1);
        close();
        open();
        QCOMPARE(m_fixture->devices.newOpenings(), 2);
    }

    void rowsAreExpectedAsTheyWereLastTime()
    {
        writeBattery();
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        close();
        m_fixture->devices.hang();
        m_fixture->open(MonitorSection::sensors);
        QCOMPARE(sensors().devices, twoChips({}, {}).devices);
        QVERIFY(sensors().hasBattery && !sensors().battery);
        QVERIFY(sensors().gpuWatts.hasRow && !sensors().gpuWatts.value);
        m_fixture->devices.letGo();
        QTRY_COMPARE_WITH_TIMEOUT(sensors().devices, twoChips(48, 41).devices, 5000);
    }

    void thePointerMakesTheRowsOfTheFirstOpeningKnown()
    {
        writeBattery();
        m_fixture->devices.setList(twoChips(48, 41));
        m_fixture->reader.approached(MonitorSection::sensors);
        QTRY_COMPARE_WITH_TIMEOUT(sensors().devices.size(), 2, 5000);
        QTest::qWait(50);
        m_fixture->reader.approached(MonitorSection::sensors);
        QTest::qWait(50);
        QCOMPARE(m_fixture->devices.listReads(), 1);
        m_fixture->devices.hang();
        m_fixture->open(MonitorSection::sensors);
        QCOMPARE(sensors().devices, twoChips({}, {}).devices);
        QCOMPARE(sensors().fans.size(), 2);
        QVERIFY(sensors().isAnswered && sensors().hasBattery && sensors().gpuWatts.hasRow
            && !sensors().gpuWatts.value);
    }

    // The graphics card fell asleep since the popover was last open.
    void aRowThatIsShownStaysUntilTheNextOpening()
    {
        writeBattery();
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        close();
        SensorList::Values values = twoChips(48, {});
        values.gpuWatts.reset();
        m_fixture->devices.setList(values);
        m_fixture->write("sys/class/power_supply/BAT0/type", "");
        open();
        QTRY_COMPARE_WITH_TIMEOUT(sensors().devices, values.devices, 5000);
        QVERIFY(sensors().gpuWatts.hasRow && !sensors().gpuWatts.value);
        QVERIFY(sensors().hasBattery && !sensors().battery);
        close();
        open();
        QVERIFY(!sensors().gpuWatts.hasRow && !sensors().hasBattery);
    }

    void devicesThatDoNotAnswerLoseTheirValues()
    {
        using Occasion = PopoverSample::Occasion;
        StandInDevices devices;
        devices.setList(twoChips(48, 41));
        SensorsPopoverReader reader(m_machine->root(), devices.readList(), std::chrono::milliseconds(100));
        ItemHistories histories(m_machine->root());
        SensorsPopoverReadings readings;
        const auto update = [&](Occasion occasion) {
            reader.update(readings,
                { occasion, *m_fixture->live, histories, std::chrono::seconds(1), timeSinceBoot(), {} });
        };
        update(Occasion::opening);
        const auto isKnown = [&readings] { return readings.devices == twoChips(48, 41).devices; };
        QTRY_VERIFY_WITH_TIMEOUT((update(Occasion::tick), isKnown()), 5000);
        QTest::qWait(50);
        update(Occasion::tick);
        devices.hang();
        QTest::qWait(50);
        update(Occasion::tick);
        QVERIFY(isKnown());
        QTest::qWait(110);
        update(Occasion::tick);
        QCOMPARE(readings.devices, twoChips({}, {}).devices);
        QVERIFY(readings.gpuWatts.hasRow && !readings.gpuWatts.value);
        QCOMPARE(readings.fans.size(), 2);
        QVERIFY(!readings.fans.first().rpm);
        devices.letGo();
        QTRY_VERIFY_WITH_TIMEOUT((update(Occasion::tick), isKnown()), 5000);
    }

    void devicesThatHangHoldUpNobody()
    {
        m_fixture->devices.setList(twoChips(48, 41));
        open();
        m_fixture->devices.hang();
        QElapsedTimer time;
        time.start();
        m_fixture->tick();
        m_fixture->tick();
        m_fixture->close();
        m_fixture->open(MonitorSection::sensors);
        QVERIFY2(time.elapsed() < 400, qPrintable(QString::number(time.elapsed())));
        // One reading hangs. There is none beside it.
        const int reads = m_fixture->devices.listReads();
        for (int i = 0; i < 5; ++i)
            m_fixture->tick();
        QCOMPARE(m_fixture->devices.listReads(), reads);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SensorsPopoverReaderTest)
#include "SensorsPopoverReaderTest.moc"
