// Measures a sample of the apps of the machine, compared with bare reads of the same files, among processes that this benchmark
// starts.
//
//   bare/…       list the processes, and open, read and close the files of each
//   apps/…       a sample, when the apps of all processes are known
//   first/…      the first sample, which also finds out to which app each process belongs

#include "Platform/Machine/TopApps.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/StandIns.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

using namespace kestrum;

namespace {

using Column = TopApps::Column;

constexpr char lifeTime[] = "280000"; // ms

// The processes live until the benchmark's end, so the number of processes can only grow.
void startProcesses(qint64 wanted)
{
    static StandIns standIns;
    static const QString program = standIns.install(QStringLiteral("plain"));
    static qint64 count = 0;
    for (; count < wanted; ++count)
        standIns.start(program, lifeTime);
}

void readBare(benchmark::State& state, const std::vector<const char*>& files)
{
    startProcesses(state.range(0));
    char content[1024];
    char path[64];
    qint64 processes = 0;
    for ([[maybe_unused]] auto _ : state) {
        processes = 0;
        DIR* const table = ::opendir("/proc");
        while (const dirent* entry = table ? ::readdir(table) : nullptr) {
            if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
                continue;
            ++processes;
            for (const char* name : files) {
                ::stpcpy(::stpcpy(path, entry->d_name), name);
                const int file = ::openat(::dirfd(table), path, O_RDONLY | O_CLOEXEC);
                if (file < 0)
                    continue;
                benchmark::DoNotOptimize(::read(file, content, sizeof content));
                ::close(file);
            }
        }
        if (table)
            ::closedir(table);
    }
    state.counters["processes"] = double(processes);
}

const AppLanguageTexts language { QStringLiteral("en"), QStringLiteral("Container") };

void sampleApps(benchmark::State& state, Column column)
{
    startProcesses(state.range(0));
    TopApps apps;
    apps.sample(column, language);
    apps.sample(column, language);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(apps.sample(column, language));
    state.counters["cost_ms"] = std::chrono::duration<double, std::milli>(apps.cost()).count();
}

void sampleFirst(benchmark::State& state, Column column)
{
    startProcesses(state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        TopApps apps;
        benchmark::DoNotOptimize(apps.sample(column, language));
    }
}

void registerAll()
{
    using benchmark::RegisterBenchmark;
    for (const int size : { 300, 3000 }) {
        const auto add = [size](const std::string& name, auto function, const auto& argument) {
            RegisterBenchmark(name.c_str(), function, argument)->Arg(size)->Unit(benchmark::kMicrosecond);
        };
        add("bare/cpu", readBare, std::vector { "/stat" });
        add("apps/cpu", sampleApps, Column::cpu);
        add("first/cpu", sampleFirst, Column::cpu);
        add("bare/memory", readBare, std::vector { "/stat", "/statm" });
        add("apps/memory", sampleApps, Column::memory);
        add("bare/disk", readBare, std::vector { "/stat", "/io" });
        add("apps/disk", sampleApps, Column::disk);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
