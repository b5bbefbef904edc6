#include "tests/Support/FreshSettings.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QTimer>
#include <cmath>

using namespace kestrum;

class DiskPopoverReaderTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<FakeMachine> m_machine;
    std::unique_ptr<PopoverFixture> m_fixture;
    int m_sectors = 0;
    const DiskPopoverReadings& disk() const { return m_fixture->readings().disk; }

    void fill()
    {
        m_fixture->write("proc/pressure/io", "some avg10=2.00 avg60=0.00 avg300=0.00 total=0\n");
        m_fixture->write(
            "proc/self/mountinfo", localLine(1, "/") + localLine(2, "/home") + shareLine(3, "/media"));
        m_fixture->write("sys/block/sda/hidden", "0\n");
        transfer();
    }
    void transfer()
    {
        m_sectors += 1000;
        m_fixture->write("proc/diskstats",
            "8 0 sda 1 0 " + QByteArray::number(m_sectors) + " 1 1 0 " + QByteArray::number(m_sectors * 2)
                + " 1 0 1 1\n");
    }
    /// A tick after a time that is long enough to measure rates.
    void tick()
    {
        QTest::qWait(60);
        transfer();
        m_fixture->tick();
    }
    bool isKnown(int place) const { return disk().volumes.size() > place && disk().volumes[place].space; }

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

    void volumesAreListedAtOnceAndTheirSpaceFollowsWithoutATick()
    {
        fill();
        m_fixture->open(MonitorSection::storage);
        QCOMPARE(disk().volumes.size(), 3);
        QCOMPARE(disk().volumes[0].name, QStringLiteral("/"));
        QTRY_VERIFY_WITH_TIMEOUT(isKnown(0) && isKnown(1) && isKnown(2), 5000);
        QCOMPARE(disk().volumes[1].space->free, qint64(5 * 4096));
        QCOMPARE(disk().moreVolumes, 0);
        QVERIFY(disk().used > 0);
    }

    void aVolumeThatHangsHoldsUpNobody()
    {
        fill();
        m_fixture->volumes.hang("/media");
        m_fixture->open(MonitorSection::storage);
        QTRY_VERIFY_WITH_TIMEOUT(isKnown(0) && isKnown(1), 5000);
        QVERIFY(!disk().volumes[2].space);
        QElapsedTimer time;
        time.start();
        m_fixture->close();
        m_fixture->open(MonitorSection::storage);
        m_fixture->open(MonitorSection::cpu);
        QVERIFY2(time.elapsed() < atOnce, qPrintable(QString::number(time.elapsed())));
    }

    void aVolumeThatHangsIsSilentAfterTwoSecondsWithoutATick()
    {
        fill();
        m_fixture->interval = std::chrono::hours(1);
        m_fixture->volumes.hang("/media");
        m_fixture->open(MonitorSection::storage);
        QTRY_VERIFY_WITH_TIMEOUT(isKnown(0) && isKnown(1), 5000);
        QVERIFY(!disk().volumes[2].isSilent);
        const QSignalSpy changed(&m_fixture->reader, &PopoverReader::changed);
        QTRY_VERIFY_WITH_TIMEOUT(disk().volumes[2].isSilent, 5000);
        QVERIFY(!changed.isEmpty());
        // Nothing wakes for it any more.
        QVERIFY(!m_fixture->reader.findChild<QTimer*>()->isActive());
    }

    void nothingWakesForAClosedPopover()
    {
        fill();
        m_fixture->interval = std::chrono::hours(1);
        m_fixture->volumes.hang("/media");
        m_fixture->open(MonitorSection::storage);
        const auto* const timer = m_fixture->reader.findChild<QTimer*>();
        QVERIFY(timer && timer->isActive());
        m_fixture->close();
        QVERIFY(!timer->isActive());
    }

    void ratesAndPressure()
    {
        fill();
        m_fixture->interval = std::chrono::seconds(4); // at which the disks are read at each tick
        tick();
        tick();
        transfer(); // for a machine so slow that the opening measures anew
        m_fixture->open(MonitorSection::storage);
        // The item is visible, so the rates are known.
        QVERIFY(disk().readRate.value > 0);
        QVERIFY(std::abs(*disk().writeRate.value / *disk().readRate.value - 2) < 1e-9);
        QVERIFY(disk().readHistory.size() == 1 && disk().writeHistory.size() == 1);
        QCOMPARE(disk().pressure, RowValue<double>(0.02));
    }

    // The item is hidden: a rate needs two samples.
    void ratesThatBeginWithTheOpening()
    {
        fill();
        m_fixture->sample({});
        m_fixture->open(MonitorSection::storage);
        QCOMPARE(disk().readRate, RowValue<double>());
        tick();
        QVERIFY(disk().readRate.value > 0 && disk().writeRate.value > 0);
    }

    void whatIsMissingHasNoRow()
    {
        m_fixture->open(MonitorSection::storage);
        QVERIFY(disk().volumes.isEmpty());
        m_fixture->tick();
        fill();
        for (int i = 0; i < 3; ++i)
            tick();
        for (const auto* row : { &disk().readRate, &disk().writeRate, &disk().pressure })
            QCOMPARE(*row, RowValue<double>());
        // Volumes may come while the popover is open.
        m_fixture->open(MonitorSection::storage);
        QCOMPARE(disk().volumes.size(), 3);
    }

    void whatIsLostKeepsItsRow()
    {
        fill();
        tick();
        m_fixture->open(MonitorSection::storage);
        tick();
        for (const auto* row : { &disk().readRate, &disk().writeRate, &disk().pressure })
            QVERIFY(row->value);
        m_fixture->write("proc/pressure/io", "");
        QTest::qWait(60);
        m_fixture->write("proc/diskstats", "");
        m_fixture->tick();
        for (const auto* row : { &disk().readRate, &disk().writeRate, &disk().pressure })
            QVERIFY(row->hasRow && !row->value);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DiskPopoverReaderTest)
#include "DiskPopoverReaderTest.moc"
