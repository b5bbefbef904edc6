// SPDX-License-Identifier: MIT
#include "KestrumShared/Readings/SlowReadings.h"

#include "Platform/Log/Log.h"

#include <algorithm>

namespace kestrum {

SlowReadings::SlowReadings(const QString& root, StorageUse::Ask askStorage)
    : SlowReadings(root, std::move(askStorage), nullptr)
{
    if (root.isEmpty())
        m_readSensors = [sensors = std::make_shared<Sensors>()](
                            const Sensors::Wanted& wanted) { return sensors->read(wanted); };
}

SlowReadings::SlowReadings(const QString& root, StorageUse::Ask askStorage, ReadSensors readSensors)
    : m_readSensors(std::move(readSensors))
    , m_systemPower(std::make_shared<SystemPower>(root))
    , m_storageUse(std::make_shared<const StorageUse>(root, std::move(askStorage)))
{
}

void SlowReadings::collect(Clock::time_point now)
{
    if (m_devicesRun && m_devicesRun->isDone.load(std::memory_order_acquire)) {
        adopt(m_devicesRun->result, now);
        m_devicesRun.reset();
    } else if (m_devicesRun && m_devicesRun->isLate(now)) {
        m_sensors = {};
        m_systemWatts.reset();
    }
    if (m_storageRun && m_storageRun->isDone.load(std::memory_order_acquire)) {
        m_storage = m_storageRun->result.value_or(m_storage);
        m_storageRun.reset();
    } else if (m_storageRun && !m_devicesRun && m_storageRun->isLate(now)) {
        Log::warnOnce("readings", QStringLiteral("the start-up volume does not answer"));
    }
}

void SlowReadings::begin(const WantedReadings& wanted, std::function<void()> done)
{
    m_answered = m_answered & wanted;
    const bool wantsDevices
        = !m_devicesRun && ((m_readSensors && wanted.sensors.any()) || wanted.systemPower);
    const bool wantsStorage = !m_storageRun && wanted.storage;
    auto* const worker
        = std::find_if(m_workers.begin(), m_workers.end(), [](const Worker& one) { return one.isIdle(); });
    if (worker == m_workers.end() || !(wantsDevices || wantsStorage))
        return;
    std::shared_ptr<DevicesRun> devices;
    if (wantsDevices) {
        devices = std::make_shared<DevicesRun>();
        devices->result.wanted = wanted;
    }
    const auto storage = wantsStorage ? std::make_shared<StorageRun>() : nullptr;

    // The volume is read last: if the worker hangs on it, the devices have been read already. From then on, the other worker
    // reads the devices.
    const bool isStarted = worker->start(
        [devices, storage, readSensors = m_readSensors, systemPower = m_systemPower,
            storageUse = m_storageUse] {
            if (devices) {
                if (devices->result.wanted.sensors.any())
                    devices->result.sensors
                        = readSensors ? readSensors(devices->result.wanted.sensors) : Sensors::Values();
                if (devices->result.wanted.systemPower)
                    devices->result.systemWatts = systemPower->read();
                devices->isDone.store(true, std::memory_order_release);
            }
            if (storage) {
                storage->result = storageUse->read();
                storage->isDone.store(true, std::memory_order_release);
            }
        },
        std::move(done));
    if (isStarted && devices)
        m_devicesRun = devices;
    if (isStarted && storage)
        m_storageRun = storage;
}

void SlowReadings::adopt(const Devices& devices, Clock::time_point now)
{
    WantedReadings answered = devices.wanted;
    const Sensors::Wanted& wanted = devices.wanted.sensors;
    if (const auto& sensors = devices.sensors) {
        m_unreadSince.reset();
        if (wanted.cpu)
            m_sensors.cpu = sensors->cpu;
        if (wanted.gpu)
            m_sensors.gpu = sensors->gpu;
        if (wanted.hottest)
            m_sensors.hottest = sensors->hottest;
        if (wanted.fan)
            m_sensors.fan = sensors->fan;
    } else if (wanted.any()) {
        answered.sensors = {};
        m_unreadSince = m_unreadSince.value_or(m_devicesRun->begin);
        if (now - *m_unreadSince > longestAnswer)
            m_sensors = {};
    }
    if (devices.wanted.systemPower)
        m_systemWatts = devices.systemWatts;
    m_answered = m_answered | answered;
    ++m_answers;
}

} // namespace kestrum
