// Signals between processes, compared with the same work done by bare system calls.
//
//   post/…        one post to a number of listening processes that only count
//   latency/…     from the post to the handler in another process, with a rest between two posts, as with a user
//   setToRead/…   from the call of `set` in one process until the handler in another process has read the value
//
// The other processes are this program with a role as its first argument. They report in a shared page of memory.

#include "Platform/Signals/NotificationCentre.h"
#include "Platform/Store/UserDefaults.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int latencyRounds = 1000;
constexpr useconds_t rest = 5000;          // µs between two rounds: more frequent posts are slowed down
constexpr qint64 patience = 1'000'000'000; // ns until a delivery counts as lost

struct Page {
    std::atomic<int> ready;
    std::atomic<qint64> heardAt;
    std::atomic<quint64> value;
};

const QString& signalName()
{
    static const QString name = QStringLiteral("T4K9ZR2MXB.com.orvale.kestrum.settings");
    return name;
}

qint64 now()
{
    timespec time {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

Page* mappedPage(const QByteArray& path)
{
    const int descriptor = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof(Page)) != 0)
        std::abort();
    void* page = ::mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (page == MAP_FAILED)
        std::abort();
    return static_cast<Page*>(page);
}

// The simplest possible listener.
int listenBare(Page* page, const QByteArray& directory)
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ::inotify_add_watch(descriptor, directory.constData(), IN_ATTRIB | IN_CREATE);
    ++page->ready;
    for (;;) {
        alignas(inotify_event) char buffer[4096];
        pollfd waiting { descriptor, POLLIN, 0 };
        ::poll(&waiting, 1, -1);
        if (::read(descriptor, buffer, sizeof buffer) > 0)
            page->heardAt.store(now());
    }
}

int listenByCentre(Page* page)
{
    NotificationCentre::registerDispatch(signalName(), [page] { page->heardAt.store(now()); });
    ++page->ready;
    return QCoreApplication::exec();
}

int readOnSignal(Page* page)
{
    const auto defaults = UserDefaults::withSuiteName(QStringLiteral("benchmark"));
    NotificationCentre::registerDispatch(signalName(), [page, &defaults] {
        page->value.store(quint64(defaults->number("round").value_or(0)));
        page->heardAt.store(now());
    });
    ++page->ready;
    return QCoreApplication::exec();
}

/// The folder and the other processes of one benchmark. The destructor kills the processes.
class World {
public:
    World(const char* role, int count, const QString& settingsPlace = QStringLiteral("/tmp"))
        : m_settings(settingsPlace + QStringLiteral("/kestrum-benchmark-XXXXXX"))
    {
        const QByteArray root = QFile::encodeName(m_directory.path());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_settings.path()));
        pagePath = root + "/page";
        barePath = root + "/bare";
        ::mkdir(barePath.constData(), 0700);
        page = mappedPage(pagePath);
        for (int i = 0; i < count; ++i)
            start(role);
        while (page->ready.load() < count)
            ::usleep(1000);
        ::usleep(50'000);
    }
    ~World()
    {
        for (const pid_t child : m_children) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
        ::munmap(page, sizeof(Page));
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    QByteArray pagePath;
    QByteArray barePath;
    Page* page = nullptr;

private:
    void start(const char* role)
    {
        QByteArray program("/proc/self/exe");
        QByteArray roleCopy(role);
        char* const arguments[]
            = { program.data(), roleCopy.data(), pagePath.data(), barePath.data(), nullptr };
        pid_t child = 0;
        if (::posix_spawn(&child, program.constData(), nullptr, nullptr, arguments, environ) == 0)
            m_children.push_back(child);
    }

    QTemporaryDir m_directory;
    QTemporaryDir m_settings;
    std::vector<pid_t> m_children;
};

void postBare(benchmark::State& state)
{
    const World world("bare", int(state.range(0)));
    const int directory = ::open(world.barePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(::openat(directory, "signal", O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    for ([[maybe_unused]] auto _ : state)
        ::utimensat(directory, "signal", nullptr, AT_SYMLINK_NOFOLLOW);
    ::close(directory);
}

void postByCentre(benchmark::State& state)
{
    const World world("centre", int(state.range(0)));
    NotificationCentre::post(signalName());
    for ([[maybe_unused]] auto _ : state)
        NotificationCentre::post(signalName());
}

// Calls `send` in each iteration, and measures the time until the other process has received the signal.
void measure(benchmark::State& state, const World& world, const std::function<void()>& send)
{
    std::vector<qint64> times;
    for ([[maybe_unused]] auto _ : state) {
        ::usleep(rest);
        world.page->heardAt.store(0);
        const qint64 start = now();
        send();
        while (world.page->heardAt.load() == 0 && now() - start < patience) { }
        const qint64 time = world.page->heardAt.load() - start;
        if (time <= 0) {
            state.SkipWithError("a signal was lost");
            return;
        }
        state.SetIterationTime(double(time) / 1e9);
        times.push_back(time);
    }
    std::sort(times.begin(), times.end());
    const auto percentile
        = [&times](size_t percent) { return double(times[times.size() * percent / 100]) / 1000; };
    state.counters["p50_us"] = percentile(50);
    state.counters["p99_us"] = percentile(99);
}

void latencyBare(benchmark::State& state)
{
    const World world("bare", 1);
    const int directory = ::open(world.barePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(::openat(directory, "signal", O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    measure(state, world, [directory] { ::utimensat(directory, "signal", nullptr, AT_SYMLINK_NOFOLLOW); });
    ::close(directory);
}

void latencyByCentre(benchmark::State& state)
{
    const World world("centre", 1);
    measure(state, world, [] { NotificationCentre::post(signalName()); });
}

void setToRead(benchmark::State& state, const QString& settingsPlace)
{
    const World world("reader", 1, settingsPlace);
    const auto defaults = UserDefaults::withSuiteName(QStringLiteral("benchmark"));
    quint64 round = 0;
    measure(state, world, [&defaults, &round] {
        defaults->set("round", double(++round));
        NotificationCentre::post(signalName());
    });
    if (world.page->value.load() != round)
        state.SkipWithError("the handler read an old value");
}

void registerAll()
{
    for (const int listeners : { 0, 1, 10 }) {
        benchmark::RegisterBenchmark("post/bare", postBare)->Arg(listeners)->UseRealTime();
        benchmark::RegisterBenchmark("post/centre", postByCentre)->Arg(listeners)->UseRealTime();
    }
    const auto timed = [](benchmark::internal::Benchmark* benchmark) {
        benchmark->UseManualTime()->Iterations(latencyRounds)->Unit(benchmark::kMicrosecond);
    };
    timed(benchmark::RegisterBenchmark("latency/bare", latencyBare));
    timed(benchmark::RegisterBenchmark("latency/centre", latencyByCentre));
    timed(benchmark::RegisterBenchmark("setToRead/disk", setToRead, QStringLiteral("/tmp")));
    // A file in memory needs no wait for a disk, so the result is the share of Kestrum's code.
    timed(benchmark::RegisterBenchmark("setToRead/memory", setToRead, QStringLiteral("/dev/shm")));
}

} // namespace

int main(int argc, char** argv)
{
    const QByteArray role = argc == 4 ? argv[1] : "";
    if (role == "bare" || role == "centre" || role == "reader") {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        Page* page = mappedPage(argv[2]);
        if (role == "bare")
            return listenBare(page, argv[3]);
        const QCoreApplication application(argc, argv);
        return role == "centre" ? listenByCentre(page) : readOnSignal(page);
    }
    const QTemporaryDir runtime; // 0700
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
