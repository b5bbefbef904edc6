// Measures a tick of the agent, compared with bare reads of the same files, and the load of sampling once a second.
//
//   bare/…      the system calls alone, with an open descriptor and one buffer
//   reader/…    one reader
//   tick/…      one sample: "fast" without a worker, "factory" for the four default items, where a
//               worker also reads the volume and the power supplies
//   popover/…   the same samples with what popovers add to them: "closed" the histories and the counters of the disks,
//               "cpu" and "memory" what the main thread reads for an open popover
//   second/…    ten seconds of sampling at 1 Hz: processor time and wake-ups of the whole process for each tick; "popovers"
//               with popovers that are closed
//
// The time for sensors depends on their devices. Without sensors, that time is not measured.

#include "KestrumAgent/Popover/LiveSource.h"
#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumShared/Readings/PopoverReader.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Machine/DiskActivity.h"
#include "Platform/Machine/MountTable.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

using namespace kestrum;

namespace {

constexpr const char* statPath = "/proc/stat";
constexpr const char* memoryPath = "/proc/meminfo";
constexpr const char* pressurePath = "/proc/pressure/memory";
constexpr const char* disksPath = "/proc/diskstats";
constexpr const char* mountsPath = "/proc/self/mountinfo";

void readBare(benchmark::State& state, const std::vector<const char*>& paths)
{
    std::vector<FileDescriptor> files;
    for (const char* path : paths)
        files.emplace_back(::open(path, O_RDONLY | O_CLOEXEC));
    std::vector<char> buffer(64 * 1024);
    for ([[maybe_unused]] auto _ : state) {
        for (const FileDescriptor& file : files)
            benchmark::DoNotOptimize(::pread(file.get(), buffer.data(), buffer.size(), 0));
    }
}

void askVolumeBare(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        struct statvfs volume { };
        benchmark::DoNotOptimize(::statvfs("/", &volume));
    }
}

void readLoad(benchmark::State& state)
{
    CPULoad load;
    for ([[maybe_unused]] auto _ : state)
        load.sample();
}

void readMemory(benchmark::State& state)
{
    MemoryUse memory;
    for ([[maybe_unused]] auto _ : state)
        memory.sample();
}

void readPressure(benchmark::State& state)
{
    Pressure pressure(Pressure::Resource::memory);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(pressure.read());
}

void readStorage(benchmark::State& state)
{
    const StorageUse storage;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(storage.read());
}

void readDisks(benchmark::State& state)
{
    DiskActivity disks;
    DiskActivity::Clock::time_point now;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(disks.sample(now += std::chrono::seconds(1)));
}

// At the opening of a popover, and after a change.
void readMounts(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MountTable().volumes().size());
}

void askForChangedMounts(benchmark::State& state)
{
    MountTable mounts;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(mounts.update());
}

// All of them volumes, each at two paths.
void listManyVolumes(benchmark::State& state)
{
    std::string table;
    for (int i = 0; i < 500; ++i) {
        const std::string disk = std::to_string(i / 2);
        table += std::to_string(100 + i) + " 1 8:" + disk + " / /srv/" + std::to_string(i)
            + " rw,relatime shared:1 - ext4 /dev/disk" + disk + " rw\n";
    }
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(MountTable::volumes(table).size());
}

void readSupplies(benchmark::State& state)
{
    SystemPower power;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(power.read());
}

void tick(benchmark::State& state, const WantedReadings& wanted)
{
    LiveReadings readings;
    for ([[maybe_unused]] auto _ : state)
        readings.sample(wanted);
}

enum class PopoverLoad { none, histories, rates };

/// Ticks of the items' readings, with what is added while no popover is open. The time between samples of the disks' counters
/// is too short to measure rates, so they are sampled as if it had passed.
void tickWithClosedPopovers(benchmark::State& state, WantedReadings wanted, PopoverLoad load)
{
    LiveReadings readings;
    ItemHistories histories;
    DiskActivity disks;
    const bool readsDisks = load == PopoverLoad::rates;
    DiskActivity::Clock::time_point now;
    bool isSecond = false; // the counters are read at every second tick
    for ([[maybe_unused]] auto _ : state) {
        readings.sample(wanted);
        if (load != PopoverLoad::none)
            histories.add(readings, wanted, false, std::chrono::seconds(1));
        if (readsDisks && std::exchange(isSecond, !isSecond))
            benchmark::DoNotOptimize(disks.sample(now += std::chrono::seconds(2)));
    }
}

void tickWithOpenPopover(benchmark::State& state, MonitorSection section)
{
    const auto readings = std::make_shared<LiveReadings>();
    PopoverReader reader(readings);
    const WantedReadings wanted = WantedReadings::ofPopover(section);
    readings->sample(wanted);
    reader.sampled(wanted, std::chrono::seconds(1));
    reader.opened(section);
    for ([[maybe_unused]] auto _ : state) {
        readings->sample(wanted);
        reader.sampled(wanted, std::chrono::seconds(1));
    }
}

double processorMicroseconds(const rusage& usage)
{
    const auto microseconds
        = [](const timeval& time) { return double(time.tv_sec) * 1e6 + double(time.tv_usec); };
    return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

void sampleForAWhile(benchmark::State& state, bool isShown, bool hasPopovers)
{
    for (const auto& entry : allCases<MonitorSection>())
        Setting(MeterSettings::visibilityKey(entry.value)).set(isShown);
    Sampler sampler;
    std::optional<LiveSource> popovers;
    if (hasPopovers)
        popovers.emplace(sampler);
    int ticks = 0;
    QObject::connect(&sampler, &Sampler::sampled, [&ticks] { ++ticks; });
    sampler.adoptSettings();
    const auto rest = [](int milliseconds) {
        QEventLoop loop;
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    };
    for ([[maybe_unused]] auto _ : state) {
        rest(500);
        ticks = 0;
        rusage before {};
        rusage after {};
        ::getrusage(RUSAGE_SELF, &before);
        rest(10'000);
        ::getrusage(RUSAGE_SELF, &after);
        const double divisor = std::max(ticks, 1);
        state.counters["ticks"] = ticks;
        state.counters["cpu_us_a_tick"]
            = (processorMicroseconds(after) - processorMicroseconds(before)) / divisor;
        // The wake-up at the end of the ten seconds does not count.
        state.counters["wakeups_a_tick"] = double(after.ru_nvcsw - before.ru_nvcsw - 1) / divisor;
    }
}

void registerAll()
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("bare/stat", readBare, std::vector { statPath });
    RegisterBenchmark("reader/load", readLoad);
    RegisterBenchmark("bare/meminfo", readBare, std::vector { memoryPath });
    RegisterBenchmark("reader/memory", readMemory);
    RegisterBenchmark("bare/pressure", readBare, std::vector { pressurePath });
    RegisterBenchmark("reader/pressure", readPressure);
    RegisterBenchmark("bare/statvfs", askVolumeBare);
    RegisterBenchmark("reader/storage", readStorage);
    RegisterBenchmark("reader/supplies", readSupplies);
    RegisterBenchmark("bare/disks", readBare, std::vector { disksPath });
    RegisterBenchmark("reader/disks", readDisks);
    RegisterBenchmark("bare/mounts", readBare, std::vector { mountsPath });
    RegisterBenchmark("reader/mounts", readMounts);
    RegisterBenchmark("reader/mounts, no change", askForChangedMounts);
    RegisterBenchmark("reader/mounts, 500 listed", listManyVolumes);
    RegisterBenchmark("bare/fast", readBare, std::vector { statPath, memoryPath, pressurePath });
    WantedReadings fast;
    fast.cpuLoad = fast.memory = fast.memoryPressure = true;
    RegisterBenchmark("tick/fast", tick, fast);
    RegisterBenchmark("popover/none", tickWithClosedPopovers, fast, PopoverLoad::none);
    RegisterBenchmark("popover/histories", tickWithClosedPopovers, fast, PopoverLoad::histories);
    RegisterBenchmark("popover/closed", tickWithClosedPopovers, fast, PopoverLoad::rates);
    RegisterBenchmark("popover/cpu", tickWithOpenPopover, MonitorSection::cpu);
    RegisterBenchmark("popover/memory", tickWithOpenPopover, MonitorSection::memory);
    const QList<MonitorSection> all { MonitorSection::cpu, MonitorSection::memory, MonitorSection::storage,
        MonitorSection::sensors };
    RegisterBenchmark("tick/factory", tick, WantedReadings::of(all))->UseRealTime();
    RegisterBenchmark("second/shown", sampleForAWhile, true, false)->Iterations(1);
    RegisterBenchmark("second/popovers", sampleForAWhile, true, true)->Iterations(1);
    RegisterBenchmark("second/hidden", sampleForAWhile, false, true)->Iterations(1);
}

} // namespace

int main(int argc, char** argv)
{
    const TestHome home;
    const QCoreApplication application(argc, argv);
    registerFactoryDefaults();
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
