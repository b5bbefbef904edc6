// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Readings/Worker.h"
#include "KestrumShared/Items/WantedReadings.h"
#include "Platform/Machine/Sensors.h"
#include "Platform/Machine/StorageUse.h"
#include "Platform/Machine/SystemPower.h"

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace kestrum {

/// The readings that can take their time: a worker reads them, and the main thread never waits for it. What one tick asks
/// for is taken at the next, so that a worker's end wakes nobody, unless it is asked to.
class SlowReadings {
public:
    using Clock = std::chrono::steady_clock;
    /// How long a device may stay without an answer until its last value counts as unknown.
    static constexpr std::chrono::seconds longestAnswer { 10 };

    using ReadSensors = std::function<Sensors::Values(const Sensors::Wanted&)>;

    /// Sensors are this machine's or none, as libsensors knows no other; tests bring volumes and sensors that hang.
    explicit SlowReadings(const QString& root = {}, StorageUse::Ask askStorage = ::statvfs);
    SlowReadings(const QString& root, StorageUse::Ask askStorage, ReadSensors readSensors);

    /// Takes over what a worker has finished since. The time is given for tests.
    void collect(Clock::time_point now = Clock::now());

    /// Sets a worker to read what is wanted, except for what another is still at. It calls `done`, which may be empty, when it
    /// has read all of it, on its thread and perhaps when nobody waits for it any more.
    void begin(const WantedReadings& wanted, std::function<void()> done = {});

    const Sensors::Values& sensors() const { return m_sensors; }
    const std::optional<double>& systemWatts() const { return m_systemWatts; }
    /// The last answer, however old.
    const StorageUse::Room& storage() const { return m_storage; }

private:
    /// What a worker and the main thread share: the result belongs to the worker until `isDone`.
    template <class Result> struct Run {
        Result result;
        Clock::time_point begin = Clock::now();
        std::atomic<bool> isDone = false;
        bool isLate(Clock::time_point now) const { return now - begin > longestAnswer; }
    };
    struct Devices {
        WantedReadings wanted;
        Sensors::Values sensors;
        std::optional<double> systemWatts;
    };
    using DevicesRun = Run<Devices>;
    using StorageRun = Run<std::optional<StorageUse::Room>>;
    void adopt(const Devices& devices);
    Worker* idleWorker();

    ReadSensors m_readSensors; ///< may be empty
    std::shared_ptr<SystemPower> m_systemPower;
    std::shared_ptr<const StorageUse> m_storageUse;
    std::shared_ptr<DevicesRun> m_devicesRun;
    std::shared_ptr<StorageRun> m_storageRun;
    Sensors::Values m_sensors;
    std::optional<double> m_systemWatts;
    StorageUse::Room m_storage;
    /// One for all, and one more for the case that the volume hangs.
    std::array<Worker, 2> m_workers;
};

} // namespace kestrum
