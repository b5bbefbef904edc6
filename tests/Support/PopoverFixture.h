#pragma once

#include "KestrumShared/Readings/PopoverReader.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/VolumesFixture.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <mutex>

namespace kestrum {

/// The sources that the factory's items read.
inline WantedReadings itemSources()
{
    WantedReadings wanted;
    wanted.cpuLoad = wanted.memory = wanted.storage = wanted.systemPower = true;
    wanted.sensors.cpu = true;
    return wanted;
}

/// What devices answer, as a test sets it. The workers, which may outlive the test, share it.
class StandInDevices {
public:
    void setSensors(const Sensors::Values& values) const
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->sensors = values;
    }
    void setList(const std::optional<SensorList::Values>& values) const
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->list = values;
    }
    /// Makes readings of the list wait until `letGo`, or until the end of the test.
    void hang() const { m_state->isHanging = true; }
    void letGo() const
    {
        m_state->isHanging = false;
        m_state->wake.release(100);
    }
    /// How often the list was read, and how often as the first time after an opening.
    int listReads() const { return m_state->listReads; }
    int newOpenings() const { return m_state->newOpenings; }

    SlowReadings::ReadSensors readSensors() const
    {
        return [state = m_state](const Sensors::Wanted&) {
            const std::lock_guard lock(state->mutex);
            return state->sensors;
        };
    }
    SensorsPopoverReader::ReadList readList() const
    {
        return [state = m_state](bool isNewOpening) {
            ++state->listReads;
            state->newOpenings += int(isNewOpening);
            if (state->isHanging)
                state->wake.acquire();
            const std::lock_guard lock(state->mutex);
            return state->list;
        };
    }
    StandInDevices() = default;
    ~StandInDevices() { letGo(); }
    Q_DISABLE_COPY_MOVE(StandInDevices)

private:
    struct State {
        std::mutex mutex;
        Sensors::Values sensors;
        std::optional<SensorList::Values> list;
        std::atomic<bool> isHanging = false;
        std::atomic<int> listReads = 0;
        std::atomic<int> newOpenings = 0;
        QSemaphore wake;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// A machine of four cores that a test fills with files, and a reader of its popovers that the test drives.
class PopoverFixture {
public:
    explicit PopoverFixture(const FakeMachine& machine)
        : m_machine(machine)
        , volumes(machine.root())
        , live(std::make_shared<LiveReadings>(machine.root(), devices.readSensors()))
        , reader(live, machine.root(), devices.readList(), volumes.ask())
    {
        pass();
    }

    void write(const char* path, const QByteArray& content) const
    {
        m_machine.write(QLatin1StringView(path), content);
    }
    void remove(const char* path) const
    {
        QVERIFY(QFile::remove(m_machine.root() + u'/' + QLatin1StringView(path)));
    }

    /// Takes a sample a second later, as the sampler does at a tick, and waits for its results.
    void sample(const WantedReadings& sources)
    {
        pass();
        QSemaphore done;
        const bool usesWorker = sources.storage || sources.systemPower || sources.sensors.any();
        live->sample(sources, [&done] { done.release(); });
        if (usesWorker)
            QVERIFY(done.tryAcquire(1, 5000));
        live->collect();
        reader.sampled(sources, interval);
    }
    /// Opens a popover after a sample, as the sampler takes one then.
    void open(MonitorSection section)
    {
        wanted = itemSources() | WantedReadings::ofPopover(section);
        sample(wanted);
        reader.opened(section);
    }
    void tick() { sample(wanted); }
    void close()
    {
        reader.closed();
        wanted = itemSources();
    }

    const PopoverReadings& readings() const { return reader.readings(); }

private:
    void pass()
    {
        QMap<int, CoreTimes> cores = coresAfter(m_seconds++, { 10, 20, 30, 40 });
        if (offline)
            cores.remove(*offline);
        m_machine.write(QStringLiteral("proc/stat"), statText(cores));
    }
    const FakeMachine& m_machine;
    quint64 m_seconds = 0;

public:
    std::optional<int> offline; ///< a core that is switched off from the next sample on
    StandInDevices devices;
    StandInVolumes volumes;
    std::shared_ptr<LiveReadings> live;
    PopoverReader reader;
    WantedReadings wanted = itemSources();
    std::chrono::milliseconds interval { 1000 };
};

/// Ages are of this moment, so only the values can be compared.
inline QList<double> valuesOf(const QList<HistoryPoint>& points)
{
    QList<double> values;
    for (const HistoryPoint& point : points)
        values.append(point.value);
    return values;
}

} // namespace kestrum
