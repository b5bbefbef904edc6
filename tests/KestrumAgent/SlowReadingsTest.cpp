#include "KestrumShared/Readings/SlowReadings.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSemaphore>
#include <atomic>

using namespace kestrum;

namespace {

WantedReadings storageAndPower()
{
    WantedReadings wanted;
    wanted.storage = true;
    wanted.systemPower = true;
    return wanted;
}

/// A volume that answers only after a call of `answer`. It shares its state with a worker that may outlive the test.
class HangingVolume {
public:
    StorageUse::Ask ask() const
    {
        return [state = m_state](const char*, struct statvfs* answer) {
            ++state->asked;
            const int now = ++state->asking;
            state->mostAsking = std::max(state->mostAsking.load(), now);
            state->answers.acquire();
            --state->asking;
            answer->f_frsize = 4096;
            answer->f_blocks = 100;
            answer->f_bfree = answer->f_bavail = state->free;
            return 0;
        };
    }
    void answer(fsblkcnt_t free) const
    {
        m_state->free = free;
        m_state->answers.release();
    }
    int asked() const { return m_state->asked; }
    int mostAsking() const { return m_state->mostAsking; }
    ~HangingVolume() { m_state->answers.release(1000); }
    HangingVolume() = default;
    HangingVolume(const HangingVolume&) = delete;
    HangingVolume& operator=(const HangingVolume&) = delete;

private:
    struct State {
        QSemaphore answers;
        std::atomic<int> asked = 0;
        std::atomic<int> asking = 0;
        std::atomic<int> mostAsking = 0;
        std::atomic<fsblkcnt_t> free = 0;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

} // namespace

class SlowReadingsTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<FileTree> m_tree;
    void writeBattery(const QByteArray& microwatts) const
    {
        const QString folder = QStringLiteral("sys/class/power_supply/BAT0/");
        m_tree->write(folder + QStringLiteral("type"), "Battery\n");
        m_tree->write(folder + QStringLiteral("status"), "Discharging\n");
        m_tree->write(folder + QStringLiteral("power_now"), microwatts);
    }

private Q_SLOTS:
    void initTestCase() { QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); }
    void init() { m_tree = std::make_unique<FileTree>(); }

    void resultsAreTakenAtTheNextSample()
    {
        writeBattery("8000000\n");
        SlowReadings readings(m_tree->root());
        readings.begin(storageAndPower());
        QCOMPARE(readings.systemWatts(), std::nullopt);
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.systemWatts()), std::optional(8.0), 5000);
        QTRY_VERIFY_WITH_TIMEOUT((readings.collect(), readings.storage().available > 0), 5000);
        QVERIFY(readings.storage().used > 0);
    }

    void aHungVolumeNeverBlocksAndKeepsItsLastAnswer()
    {
        const HangingVolume volume;
        WantedReadings wanted;
        wanted.storage = true;
        SlowReadings readings(m_tree->root(), volume.ask());
        volume.answer(25);
        readings.begin(wanted);
        QTRY_COMPARE_WITH_TIMEOUT(
            (readings.collect(), readings.storage()), StorageUse::Room({ 0.75, 25 * 4096 }), 5000);

        QElapsedTimer timer;
        timer.start();
        for (int tick = 0; tick < 1000; ++tick) {
            readings.collect();
            readings.begin(wanted);
        }
        QVERIFY(timer.elapsed() < 2000);
        QCOMPARE(readings.storage(), StorageUse::Room({ 0.75, 25 * 4096 }));
        QTRY_COMPARE_WITH_TIMEOUT(volume.asked(), 2, 5000);
        QCOMPARE(volume.mostAsking(), 1);
        // The warning is logged once.
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("start-up volume does not answer")));
        for (int i = 0; i < 3; ++i)
            readings.collect(SlowReadings::Clock::now() + std::chrono::minutes(1));
        QCOMPARE(readings.storage(), StorageUse::Room({ 0.75, 25 * 4096 }));

        volume.answer(50);
        QTRY_COMPARE_WITH_TIMEOUT(
            (readings.collect(), readings.storage()), StorageUse::Room({ 0.5, 50 * 4096 }), 5000);
    }

    void aHungVolumeHoldsUpNothingElse()
    {
        const HangingVolume volume;
        writeBattery("8000000\n");
        SlowReadings readings(m_tree->root(), volume.ask());
        readings.begin(storageAndPower());
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.systemWatts()), std::optional(8.0), 5000);
        for (const double watts : { 9.0, 10.0, 11.0 }) {
            writeBattery(QByteArray::number(qint64(watts * 1e6)));
            QTRY_COMPARE_WITH_TIMEOUT(
                (readings.collect(), readings.begin(storageAndPower()), readings.systemWatts()),
                std::optional(watts), 5000);
        }
        QCOMPARE(volume.asked(), 1);
        QCOMPARE(readings.storage(), StorageUse::Room());
    }

    void aVolumeThatFailsKeepsItsLastAnswer()
    {
        // Shared, because the worker may still read the volume after the test.
        struct Volume {
            std::atomic<bool> fails = false;
            std::atomic<int> asked = 0;
        };
        const auto volume = std::make_shared<Volume>();
        SlowReadings readings(m_tree->root(), [volume](const char*, struct statvfs* answer) {
            answer->f_frsize = answer->f_blocks = answer->f_bfree = answer->f_bavail = 10;
            ++volume->asked;
            return volume->fails ? -1 : 0;
        });
        readings.begin(storageAndPower());
        QTRY_COMPARE_WITH_TIMEOUT(
            (readings.collect(), readings.storage()), StorageUse::Room({ 0.0, 100 }), 5000);
        volume->fails = true;
        QTRY_VERIFY_WITH_TIMEOUT(
            (readings.collect(), readings.begin(storageAndPower()), volume->asked > 3), 5000);
        readings.collect();
        QCOMPARE(readings.storage(), StorageUse::Room({ 0.0, 100 }));
    }

    void whatIsGoneIsAbsent()
    {
        writeBattery("8000000\n");
        SlowReadings readings(m_tree->root());
        readings.begin(storageAndPower());
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.systemWatts()), std::optional(8.0), 5000);
        writeBattery("");
        readings.begin(storageAndPower());
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.systemWatts()), std::nullopt, 5000);
    }

    void whatADeviceSaidLongAgoIsAbsent()
    {
        // The first reading is answered, the second one hangs.
        const auto answers = std::make_shared<QSemaphore>(1);
        const auto read = [answers](const Sensors::Wanted&) {
            answers->acquire();
            return Sensors::Values { 50, 60, 70, 1200 };
        };
        SlowReadings readings(m_tree->root(), ::statvfs, read);
        WantedReadings wanted = storageAndPower();
        wanted.sensors = { .cpu = true, .fan = true };
        readings.begin(wanted);
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.sensors().cpu), std::optional(50.0), 5000);
        QCOMPARE(readings.sensors().fan, std::optional(1200.0));
        // A value that was not requested stays absent.
        QCOMPARE(readings.sensors().gpu, std::nullopt);
        QTRY_VERIFY_WITH_TIMEOUT((readings.collect(), readings.storage().available > 0), 5000);

        readings.begin(wanted);
        const auto now = SlowReadings::Clock::now();
        readings.collect(now + SlowReadings::longestAnswer - std::chrono::seconds(1));
        QCOMPARE(readings.sensors().cpu, std::optional(50.0));
        readings.collect(now + SlowReadings::longestAnswer + std::chrono::seconds(1));
        QCOMPARE(readings.sensors().cpu, std::nullopt);
        QCOMPARE(readings.sensors().fan, std::nullopt);
        // The worker had not reached the volume yet: the volume's last answer stays, and no warning is logged about it.
        QVERIFY(readings.storage().used > 0);

        answers->release();
        QTRY_COMPARE_WITH_TIMEOUT((readings.collect(), readings.sensors().cpu), std::optional(50.0), 5000);
    }

    // Another thread reads the list of all devices, of which one is slow or hangs.
    void sensorsThatCouldNotBeReadKeepTheirValuesForAWhile()
    {
        const auto isFree = std::make_shared<std::atomic<bool>>(true);
        const auto read = [isFree](const Sensors::Wanted&) {
            return *isFree ? std::optional(Sensors::Values { 50, {}, {}, {} }) : std::nullopt;
        };
        SlowReadings readings(m_tree->root(), ::statvfs, read);
        WantedReadings wanted;
        wanted.sensors.cpu = true;
        const auto sample = [&](SlowReadings::Clock::time_point now) {
            const int answers = readings.answers();
            const auto isAnswered = [&] {
                readings.collect(now);
                if (readings.answers() == answers)
                    readings.begin(wanted);
                return readings.answers() > answers;
            };
            QTRY_VERIFY_WITH_TIMEOUT(isAnswered(), 5000);
        };
        const auto now = SlowReadings::Clock::now();
        sample(now);
        QCOMPARE(readings.sensors().cpu, std::optional(50.0));
        *isFree = false;
        sample(now);
        QCOMPARE(readings.sensors().cpu, std::optional(50.0));
        sample(now + SlowReadings::longestAnswer - std::chrono::seconds(1));
        QCOMPARE(readings.sensors().cpu, std::optional(50.0));
        sample(now + SlowReadings::longestAnswer + std::chrono::seconds(6));
        QCOMPARE(readings.sensors().cpu, std::nullopt);
        *isFree = true;
        sample(now);
        QCOMPARE(readings.sensors().cpu, std::optional(50.0));
    }

    void nothingWantedStartsNoWorker()
    {
        const HangingVolume volume;
        SlowReadings readings(m_tree->root(), volume.ask());
        WantedReadings fast;
        fast.cpuLoad = fast.memory = fast.memoryPressure = fast.cpuPower = true;
        for (int tick = 0; tick < 100; ++tick) {
            readings.collect();
            readings.begin(fast);
            readings.begin({});
        }
        QTest::qWait(50);
        QCOMPARE(volume.asked(), 0);
    }

    void aReaderCanEndWhileItsVolumeHangs()
    {
        const HangingVolume volume;
        {
            SlowReadings readings(m_tree->root(), volume.ask());
            readings.begin(storageAndPower());
            QTRY_COMPARE_WITH_TIMEOUT(volume.asked(), 1, 5000);
        }
        volume.answer(1);
    }

    void whatHasAnsweredIsKnownUntilItIsNoLongerWanted()
    {
        writeBattery("8000000\n");
        SlowReadings readings(m_tree->root(), ::statvfs, [](const Sensors::Wanted&) {
            return Sensors::Values { 50.0, {}, {}, {} };
        });
        WantedReadings both;
        both.systemPower = both.sensors.cpu = true;
        WantedReadings power;
        power.systemPower = true;
        const auto sample = [&](const WantedReadings& wanted) {
            QSemaphore done;
            readings.begin(wanted, [&done] { done.release(); });
            QVERIFY(done.tryAcquire(1, 5000));
            readings.collect();
        };
        QVERIFY(readings.answered() == WantedReadings());
        sample(both);
        QVERIFY(readings.answered() == both);
        QCOMPARE(readings.answers(), 1);
        sample(power);
        QVERIFY(readings.answered() == power);
        QCOMPARE(readings.answers(), 2);
        // The worker has not answered yet, so the old temperature is not a new one.
        QSemaphore done;
        readings.begin(both, [&done] { done.release(); });
        QVERIFY(readings.answered() == power);
        QVERIFY(done.tryAcquire(1, 5000));
        readings.collect();
        QVERIFY(readings.answered() == both);
        readings.begin({});
        QVERIFY(readings.answered() == WantedReadings());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SlowReadingsTest)
#include "SlowReadingsTest.moc"
