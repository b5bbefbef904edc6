// Measures the search for agents among processes that this benchmark starts, and the delay until changes are reported.
//
//   scan/bare     the least work: list the processes, read the link to each process's program, compare the link's end
//   scan/agents   Kestrum's scan, which also reads the start time of each agent
//   scan/pgrep    the system's own tool
//   told/started  the time from an agent's start until the workspace reports it
//   told/gone     the time from an agent's kill until the workspace reports it

#include "KestrumShared/Agent/ProcessScan.h"
#include "Platform/Processes/Workspace.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/StandIns.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTimer>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace kestrum;

namespace {

// As on a desktop: to read the start time of an agent takes as long as to pass over five other processes.
constexpr int agentCount = 1;
constexpr char lifeTime[] = "280000"; // ms
constexpr int tellingRounds = 60;
constexpr int patience = 2000; // ms
// The least time in ms between two changes: more frequent changes are reported more slowly.
constexpr int rest = 20;

using Clock = std::chrono::steady_clock;

class World {
public:
    // The processes live until the benchmark's end, so the number of processes can only grow.
    static StandIns& ofSize(qint64 size)
    {
        static StandIns standIns;
        static const QString plain = standIns.install(QStringLiteral("plain"));
        static const QString agent = standIns.install(StandIns::agentIn(QStringLiteral("Kestrum.app")));
        static qint64 count = 0;
        for (; count < size; ++count)
            standIns.start(count < agentCount ? agent : plain, lifeTime);
        return standIns;
    }
};

int bareCount()
{
    static const size_t suffixLength = std::strlen(ProcessScan::agentPathSuffix);
    int agents = 0;
    DIR* const table = ::opendir("/proc");
    while (const dirent* entry = table ? ::readdir(table) : nullptr) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9')
            continue;
        char link[sizeof entry->d_name + 8];
        char path[4096];
        std::strcpy(link, entry->d_name);
        std::strcat(link, "/exe");
        const ssize_t length = ::readlinkat(::dirfd(table), link, path, sizeof path);
        if (length >= ssize_t(suffixLength)
            && std::memcmp(path + length - suffixLength, ProcessScan::agentPathSuffix, suffixLength) == 0)
            ++agents;
    }
    if (table)
        ::closedir(table);
    return agents;
}

// Each iteration scans all processes once. `look` returns the number of agents found.
template <typename Look> void scan(benchmark::State& state, Look look)
{
    World::ofSize(state.range(0));
    int found = look();
    for ([[maybe_unused]] auto _ : state)
        found = look();
    if (found != agentCount)
        state.SkipWithError("not exactly the agents were found");
    state.counters["a_process"] = benchmark::Counter(
        double(state.range(0)), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

int pgrepCount()
{
    static const QByteArray program
        = QFile::encodeName(QStandardPaths::findExecutable(QStringLiteral("pgrep")));
    char name[] = "pgrep";
    char options[] = "-fc";
    char pattern[] = "/KestrumAgent.app/Contents/MacOS/KestrumAgent";
    char* const arguments[] = { name, options, pattern, nullptr };
    int ends[2];
    pid_t pid = 0;
    if (program.isEmpty() || ::pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const bool isStarted
        = ::posix_spawn(&pid, program.constData(), &actions, nullptr, arguments, environ) == 0;
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    char text[32] = {};
    const ssize_t size = ::read(ends[0], text, sizeof text - 1);
    ::close(ends[0]);
    if (isStarted)
        ::waitpid(pid, nullptr, 0);
    return isStarted && size > 0 ? std::atoi(text) : -1;
}

// The seconds from the call of `cause` until the workspace reports the change; negative without a report.
double tellingTime(const std::function<void()>& cause)
{
    QEventLoop loop;
    QTimer::singleShot(rest, &loop, &QEventLoop::quit);
    loop.exec();
    double seconds = -1;
    Clock::time_point begin;
    QObject::connect(&Workspace::shared(), &Workspace::runningApplicationsChanged, &loop, [&] {
        seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        loop.quit();
    });
    QTimer::singleShot(patience, &loop, &QEventLoop::quit);
    begin = Clock::now();
    cause();
    loop.exec();
    return seconds;
}

void told(benchmark::State& state, bool isStart)
{
    static StandIns standIns;
    static const QString agent = standIns.install(StandIns::agentIn(QStringLiteral("Told.app")));
    Workspace::shared().observe(standIns.path(QStringLiteral("Told.app/KestrumAgent.app")));
    std::vector<double> times;
    for ([[maybe_unused]] auto _ : state) {
        qint32 pid = 0;
        const double started = tellingTime([&pid] { pid = standIns.start(agent, lifeTime).pid; });
        const double gone = tellingTime([pid] { StandIns::kill(pid); });
        standIns.end(pid);
        const double time = isStart ? started : gone;
        if (started < 0 || gone < 0) {
            state.SkipWithError("a change was not told");
            return;
        }
        state.SetIterationTime(time);
        times.push_back(time * 1e6);
    }
    std::sort(times.begin(), times.end());
    state.counters["p50_us"] = times[times.size() / 2];
    state.counters["p99_us"] = times[times.size() * 99 / 100];
}

void registerAll()
{
    for (const bool isStart : { true, false })
        benchmark::RegisterBenchmark(isStart ? "told/started" : "told/gone", told, isStart)
            ->UseManualTime()
            ->Iterations(tellingRounds)
            ->Unit(benchmark::kMicrosecond);
    for (const int size : { 100, 1000, 3000, 5000 }) {
        const auto sized = [size](benchmark::internal::Benchmark* benchmark) {
            benchmark->Arg(size)->UseRealTime()->Unit(benchmark::kMicrosecond);
        };
        sized(benchmark::RegisterBenchmark(
            "scan/bare", [](benchmark::State& state) { scan(state, bareCount); }));
        sized(benchmark::RegisterBenchmark("scan/agents",
            [](benchmark::State& state) { scan(state, [] { return int(ProcessScan::agents().size()); }); }));
        sized(benchmark::RegisterBenchmark(
            "scan/pgrep", [](benchmark::State& state) { scan(state, pgrepCount); }));
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
