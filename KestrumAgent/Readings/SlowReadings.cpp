#include "KestrumAgent/Readings/SlowReadings.h"

#include "Platform/Log.h"

#include <QThreadPool>

namespace kestrum {
namespace {

// One thread for all, and one more for the case that a volume hangs. Never destroyed, as that would wait for it; the threads
// stay, as giving them up after a while would be a wake-up of its own.
QThreadPool& workers()
{
    static QThreadPool* const pool = [] {
        auto* made = new QThreadPool;
        made->setMaxThreadCount(2);
        made->setExpiryTimeout(-1);
        return made;
    }();
    return *pool;
}

} // namespace

SlowReadings::SlowReadings(const QString& root, StorageUse::Ask askStorage)
    : m_hasSensors(root.isEmpty())
    , m_systemPower(std::make_shared<SystemPower>(root))
    , m_storageUse(std::make_shared<const StorageUse>(root, std::move(askStorage)))
{
}

void SlowReadings::collect(Clock::time_point now)
{
    if (m_devicesRun && m_devicesRun->isDone.load(std::memory_order_acquire)) {
        adopt(m_devicesRun->result);
        m_devicesRun.reset();
    } else if (m_devicesRun && m_devicesRun->isLate(now)) {
        m_sensors = {};
        m_systemWatts.reset();
    }
    if (m_storageRun && m_storageRun->isDone.load(std::memory_order_acquire)) {
        m_storage = m_storageRun->result.value_or(m_storage);
        m_storageRun.reset();
    } else if (m_storageRun && m_storageRun->isLate(now)) {
        Log::warnOnce("readings", QStringLiteral("the start-up volume does not answer"));
    }
}

void SlowReadings::begin(const WantedReadings& wanted)
{
    std::shared_ptr<DevicesRun> devices;
    if (!m_devicesRun && ((m_hasSensors && wanted.sensors.any()) || wanted.systemPower)) {
        devices = m_devicesRun = std::make_shared<DevicesRun>();
        devices->result.wanted = wanted;
    }
    std::shared_ptr<StorageRun> storage;
    if (!m_storageRun && wanted.storage)
        storage = m_storageRun = std::make_shared<StorageRun>();
    if (!devices && !storage)
        return;

    // The volume comes last: when it hangs, the devices have been read, and another worker reads them from then on.
    workers().start([devices, storage, hasSensors = m_hasSensors, systemPower = m_systemPower,
                        storageUse = m_storageUse] {
        if (devices) {
            if (hasSensors)
                devices->result.sensors = Sensors::ofThisMachine().read(devices->result.wanted.sensors);
            if (devices->result.wanted.systemPower)
                devices->result.systemWatts = systemPower->read();
            devices->isDone.store(true, std::memory_order_release);
        }
        if (storage) {
            storage->result = storageUse->read();
            storage->isDone.store(true, std::memory_order_release);
        }
    });
}

void SlowReadings::adopt(const Devices& devices)
{
    const Sensors::Wanted& wanted = devices.wanted.sensors;
    if (wanted.cpu)
        m_sensors.cpu = devices.sensors.cpu;
    if (wanted.gpu)
        m_sensors.gpu = devices.sensors.gpu;
    if (wanted.hottest)
        m_sensors.hottest = devices.sensors.hottest;
    if (wanted.fan)
        m_sensors.fan = devices.sensors.fan;
    if (devices.wanted.systemPower)
        m_systemWatts = devices.systemWatts;
}

} // namespace kestrum
