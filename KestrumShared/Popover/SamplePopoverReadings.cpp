// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/SamplePopoverReadings.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <numbers>

namespace kestrum {
namespace {

constexpr double GiB = 1073741824;
constexpr double MiB = 1048576;

/// Five minutes of values that pass through `knots`, which have equal distances, oldest first. `ripple` is the height of the small
/// waves between them; the last value has none.
QList<HistoryPoint> curve(std::initializer_list<double> knots, double ripple)
{
    const QList<double> at(knots);
    QList<HistoryPoint> points;
    for (int i = 0; i < History::bucketCount; ++i) {
        const double place = double(i) / (History::bucketCount - 1) * double(at.size() - 1);
        const auto from = std::min(qsizetype(place), at.size() - 2);
        const double share = (1 - std::cos(std::numbers::pi * (place - double(from)))) / 2;
        const bool isLast = i + 1 == History::bucketCount;
        const double wave = isLast ? 0 : (std::sin(i * 1.9) + std::sin(i * 0.83) + std::sin(i * 3.7)) / 3;
        const double value = at[from] * (1 - share) + at[from + 1] * share + ripple * wave;
        points.append(
            { double((History::bucketCount - 1 - i) * History::bucketTime.count()), std::max(0.0, value) });
    }
    return points;
}

void appendLoads(QList<double>& cores, std::initializer_list<double> loads, qsizetype count)
{
    for (qsizetype i = 0; i < count; ++i)
        cores.append(loads.begin()[std::size_t(i) % loads.size()]);
}

/// Loads for the given tiers, slowest first. The fastest tier is busy.
QList<double> coreLoads(const QList<CoreTier>& tiers, int total)
{
    const int fast = tiers.isEmpty() ? 0 : std::clamp(tiers.first().count, 0, total);
    QList<double> cores;
    appendLoads(
        cores, { 0.18, 0.32, 0.12, 0.44, 0.22, 0.09, 0.51, 0.16, 0.27, 0.35, 0.14, 0.40 }, total - fast);
    appendLoads(cores, { 0.72, 0.88, 0.64, 0.95, 0.58, 0.81, 0.42, 0.66 }, fast);
    return cores;
}

AppUse cpuApp(const QString& name, double cores)
{
    return { name, name, cores };
}

AppUse memoryApp(const QString& name, double bytes)
{
    return { name, name, 0, qint64(bytes) };
}

AppUse diskApp(const QString& name, double readRate, double writeRate)
{
    return { name, name, 0, 0, readRate, writeRate };
}

VolumeUse volume(const QString& name, double used, double free, VolumeUse::Kind kind = VolumeUse::Kind::local)
{
    return { name, name, kind, VolumeUse::Space { used, qint64(free) } };
}

SensorDevice device(SensorDevice::Kind kind, const QString& id, double celsius, const QString& model = {},
    const QList<SensorInput>& inputs = {})
{
    return { id, kind, 0, model, celsius, false, inputs };
}

SensorInput input(const QString& label, double celsius)
{
    return { label, celsius };
}

CPUPopoverReadings richCPU(const QList<CoreTier>& tiers, int totalCores)
{
    CPUPopoverReadings cpu;
    cpu.usage = 0.49;
    cpu.history = curve(
        { 0.25, 0.16, 0.22, 0.20, 0.53, 0.22, 0.20, 0.19, 0.28, 0.30, 0.70, 0.30, 0.45, 0.32, 0.49 }, 0.035);
    cpu.tiers = tiers;
    cpu.cores = coreLoads(tiers, totalCores);
    const double size = totalCores / 16.0;
    cpu.apps = { cpuApp(QStringLiteral("Firefox"), 3.9 * size), cpuApp(QStringLiteral("cargo"), 2.2 * size),
        cpuApp(QStringLiteral("GNOME Shell"), 0.8 * size), cpuApp(QStringLiteral("Spotify"), 0.2 * size),
        { QStringLiteral("kernel"), QString(), 0.1 * size } };
    cpu.celsius = 48.0;
    cpu.watts = 12.0;
    cpu.hertz = 3.42e9;
    cpu.load = std::array { 5.24, 3.96, 2.71 };
    cpu.uptime = std::chrono::seconds(std::chrono::hours(3 * 24 + 4));
    return cpu;
}

MemoryPopoverReadings richMemory()
{
    MemoryPopoverReadings memory;
    MemoryParts& parts = memory.parts;
    parts.total = quint64(16 * GiB);
    parts.app = quint64(6.75 * GiB);
    parts.system = quint64(2.21 * GiB);
    parts.compressed = quint64(1.28 * GiB);
    parts.cache = quint64(3.52 * GiB);
    parts.free = parts.total - parts.used() - parts.cache;
    parts.swapTotal = quint64(8 * GiB);
    parts.swapUsed = quint64(1.2 * GiB);
    memory.pressure = 0.04;
    memory.hasCompressed = true;
    memory.hasSwap = true;
    memory.app = curve({ 0.42, 0.42, 0.41, 0.42, 0.42, 0.41, 0.42, 0.46, 0.43, 0.42, 0.42 }, 0.004);
    memory.system = curve({ 0.13, 0.14, 0.13, 0.14, 0.14, 0.14 }, 0.002);
    memory.compressed = curve({ 0.07, 0.07, 0.08, 0.08 }, 0.001);
    memory.cache = curve({ 0.23, 0.22, 0.21, 0.16, 0.20, 0.23, 0.22, 0.22 }, 0.003);
    memory.apps = { memoryApp(QStringLiteral("Firefox"), 2.84 * GiB),
        memoryApp(QStringLiteral("Visual Studio Code"), 1.42 * GiB),
        memoryApp(QStringLiteral("GNOME Shell"), 612 * MiB), memoryApp(QStringLiteral("Signal"), 388 * MiB),
        memoryApp(QStringLiteral("cargo"), 301 * MiB) };
    return memory;
}

DiskPopoverReadings richDisk()
{
    DiskPopoverReadings disk;
    disk.used = 0.58;
    disk.volumes = { volume(QStringLiteral("/"), 0.58, 412e9), volume(QStringLiteral("/home"), 0.93, 69.4e9),
        volume(QStringLiteral("Backup"), 0.31, 2.76e12, VolumeUse::Kind::removable) };
    VolumeUse share;
    share.id = QStringLiteral("/media/nas");
    share.name = QStringLiteral("nas:/media");
    share.kind = VolumeUse::Kind::network;
    share.isSilent = true;
    disk.volumes.append(share);
    disk.readRate = 12.4e6;
    disk.writeRate = 48.1e6;
    disk.readHistory = curve(
        { 12e6, 9e6, 20e6, 140e6, 12e6, 10e6, 14e6, 9e6, 12e6, 22e6, 102e6, 24e6, 9e6, 16e6, 12.4e6 }, 8e6);
    disk.writeHistory = curve(
        { 24e6, 18e6, 12e6, 22e6, 16e6, 28e6, 34e6, 62e6, 20e6, 26e6, 14e6, 30e6, 18e6, 28e6, 48.1e6 }, 8e6);
    disk.pressure = 0.02;
    disk.apps = { diskApp(QStringLiteral("rsync"), 11.9e6, 38e6),
        diskApp(QStringLiteral("Firefox"), 0, 6.2e6), diskApp(QStringLiteral("cargo"), 400e3, 3.9e6) };
    return disk;
}

SensorsPopoverReadings richSensors()
{
    using Kind = SensorDevice::Kind;
    SensorsPopoverReadings sensors;
    sensors.isAnswered = true;
    sensors.systemWatts = 24;
    sensors.hottest = 86;
    sensors.gpu = 41;
    sensors.fastestFan = 1240;
    sensors.devices = {
        device(Kind::cpu, QStringLiteral("coretemp"), 48, QString(),
            { input(QStringLiteral("Package id 0"), 48), input(QStringLiteral("Core 0"), 46),
                input(QStringLiteral("Core 1"), 47) }),
        device(Kind::gpu, QStringLiteral("amdgpu"), 41, QString(),
            { input(QStringLiteral("edge"), 41), input(QStringLiteral("junction"), 44),
                input(QStringLiteral("mem"), 42) }),
        device(Kind::disk, QStringLiteral("nvme"), 86, QStringLiteral("Samsung 980 PRO"),
            { input(QStringLiteral("Composite"), 86), input(QStringLiteral("Sensor 1"), 79) }),
        device(Kind::memory, QStringLiteral("spd5118"), 44),
        device(Kind::mainboard, QStringLiteral("nct6775"), 38),
        device(Kind::wiFi, QStringLiteral("iwlwifi"), 47),
    };
    sensors.fans = { { QStringLiteral("fan1"), QStringLiteral("Processor fan"), 0, 1240 },
        { QStringLiteral("fan2"), QStringLiteral("Chassis fan"), 0, 0 } };
    const auto highest = [&sensors](const QString& id, double value) { sensors.highest.insert(id, value); };
    highest(QStringLiteral("coretemp"), 81);
    highest(QStringLiteral("amdgpu"), 63);
    highest(QStringLiteral("nvme"), 88);
    highest(QStringLiteral("spd5118"), 46);
    highest(QStringLiteral("nct6775"), 40);
    highest(QStringLiteral("iwlwifi"), 49);
    highest(QStringLiteral("fan1"), 2310);
    highest(QStringLiteral("fan2"), 880);
    sensors.highestSince = std::chrono::system_clock::from_time_t(1'767'258'000);
    sensors.cpuHistory = curve({ 50, 47, 48, 55, 66, 54, 47, 48, 47, 56, 73, 58, 49, 47, 48 }, 1.5);
    sensors.gpuHistory = curve({ 40, 41, 40, 41, 41, 42, 40, 41, 41, 42, 52, 46, 40, 41, 41 }, 0.8);
    sensors.wholeWatts = 24.0;
    sensors.cpuWatts = 12.0;
    sensors.gpuWatts = 4.0;
    sensors.battery = BatteryState { 0.78, BatteryState::Status::discharging, 190 };
    sensors.hasBattery = true;
    return sensors;
}

} // namespace

PopoverReadings SamplePopoverReadings::rich()
{
    return rich({ { QStringLiteral("Performance"), 8 }, { QStringLiteral("Efficiency"), 8 } }, 16);
}

PopoverReadings SamplePopoverReadings::rich(const QList<CoreTier>& tiers, int totalCores)
{
    return { richCPU(tiers, std::max(totalCores, 1)), richMemory(), richDisk(), richSensors() };
}

PopoverReadings SamplePopoverReadings::poor()
{
    return poor({}, 2);
}

PopoverReadings SamplePopoverReadings::poor(const QList<CoreTier>& tiers, int totalCores)
{
    PopoverReadings readings = rich(tiers, totalCores);
    CPUPopoverReadings& cpu = readings.cpu;
    if (totalCores == 2)
        cpu.cores = { 0.64, 0.34 };
    cpu.apps = { cpuApp(QStringLiteral("Firefox"), 0.56), cpuApp(QStringLiteral("gedit"), 0.2),
        cpuApp(QStringLiteral("GNOME Shell"), 0.14), { QStringLiteral("kernel"), QString(), 0.06 },
        cpuApp(QStringLiteral("NetworkManager"), 0.004) };
    cpu.celsius = {};
    cpu.watts = {};
    cpu.powerAccess = PowerAccess::denied;

    MemoryPopoverReadings& memory = readings.memory;
    memory.parts.app += memory.parts.compressed;
    memory.parts.compressed = 0;
    memory.parts.swapTotal = 0;
    memory.parts.swapUsed = 0;
    memory.hasCompressed = false;
    memory.hasSwap = false;
    for (qsizetype i = 0; i < memory.app.size(); ++i)
        memory.app[i].value += memory.compressed[i].value;
    memory.compressed.clear();

    readings.disk.volumes.resize(1);

    SensorsPopoverReadings& sensors = readings.sensors;
    sensors.systemWatts.reset();
    sensors.gpu.reset();
    sensors.fastestFan.reset();
    sensors.hottest = 48;
    sensors.devices.resize(1);
    sensors.gpuHistory.clear();
    sensors.fans.clear();
    sensors.wholeWatts = {};
    sensors.cpuWatts = {};
    sensors.gpuWatts = {};
    sensors.cpuPowerAccess = PowerAccess::denied;
    sensors.battery.reset();
    sensors.hasBattery = false;
    return readings;
}

} // namespace kestrum
