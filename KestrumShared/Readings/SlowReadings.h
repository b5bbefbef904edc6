// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/WantedReadings.h"
#include "Platform/Machine/Sensors.h"
#include "Platform/Machine/StorageUse.h"
#include "Platform/Machine/SystemPower.h"
#include "Platform/Machine/Worker.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace kestrum {

/// The readings that can take long. A worker reads them, and the main thread never waits for the worker. The results are
/// collected at the next sample: the end of a worker's job wakes no other thread, unless the function `done` does.
class SlowReadings {
public:
    using Clock = std::chrono::steady_clock;
    /// After this time without an answer, the values of the devices become absent.
    static constexpr std::chrono::seconds longestAnswer { 10 };
    /// The shortest interval of samples at which the main thread should wake once more to show results as soon as they are
    /// ready. At shorter intervals, the next sample is soon enough.
    static constexpr std::chrono::seconds longInterval { 5 };

    /// Returns nothing if this was no time to read; the values of before are still good then.
    using ReadSensors = std::function<std::optional<Sensors::Values>(const Sensors::Wanted&)>;

    /// Sensors are read only if `root` is empty, because libsensors knows only this machine. Tests pass functions that hang.
    explicit SlowReadings(const QString& root = {}, StorageUse::Ask askStorage = ::statvfs);
    SlowReadings(const QString& root, StorageUse::Ask askStorage, ReadSensors readSensors);

    /// Takes over the results that the workers have finished. `now` is a parameter for tests.
    void collect(Clock::time_point now = Clock::now());

    /// Lets an idle worker read the wanted values, except for those that another worker is still reading. At the end, the
    /// worker calls `done`, which may be empty, on its own thread. This object may be destroyed by then.
    void begin(const WantedReadings& wanted, std::function<void()> done = {});

    const Sensors::Values& sensors() const { return m_sensors; }
    const std::optional<double>& systemWatts() const { return m_systemWatts; }
    /// Those of the wanted devices that have answered since they were first wanted. A reading that is no longer wanted is not
    /// among them, so its old value is not taken for a new one.
    const WantedReadings& answered() const { return m_answered; }
    /// How often devices have answered.
    int answers() const { return m_answers; }
    /// The last known values, no matter how old they are.
    const StorageUse::Room& storage() const { return m_storage; }

private:
    /// Data that a worker and the main thread share. Until `isDone`, only the worker uses `result`.
    template <class Result> struct Run {
        Result result;
        Clock::time_point begin = Clock::now();
        std::atomic<bool> isDone = false;
        bool isLate(Clock::time_point now) const { return now - begin > longestAnswer; }
    };
    struct Devices {
        WantedReadings wanted;
        std::optional<Sensors::Values> sensors; ///< nothing where they could not be read
        std::optional<double> systemWatts;
    };
    using DevicesRun = Run<Devices>;
    using StorageRun = Run<std::optional<StorageUse::Room>>;
    void adopt(const Devices& devices, Clock::time_point now);

    ReadSensors m_readSensors; ///< may be empty
    std::shared_ptr<SystemPower> m_systemPower;
    std::shared_ptr<const StorageUse> m_storageUse;
    std::shared_ptr<DevicesRun> m_devicesRun;
    std::shared_ptr<StorageRun> m_storageRun;
    Sensors::Values m_sensors;
    std::optional<Clock::time_point> m_unreadSince; ///< since when sensors were wanted in vain
    std::optional<double> m_systemWatts;
    WantedReadings m_answered;
    int m_answers = 0;
    StorageUse::Room m_storage;
    /// Usually one worker reads everything. The other one is used while the first one hangs on the volume.
    std::array<Worker, 2> m_workers;
};

} // namespace kestrum
