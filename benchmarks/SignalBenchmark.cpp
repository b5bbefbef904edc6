// Signals between processes, compared with the same work done by bare system calls, and with signals of D-Bus.
//
//   post/…        one post to a number of listening processes that only count
//   latency/…     from the post to the last handler in a number of other processes, with a rest between two posts, as with
//                 a user
//   setToRead/…   from the call of `set` in one process until the handler in another process has read the value; also for the
//                 settings of GLib, by dconf, and of Qt, whose programs watch the file
//
// The other processes are this program in the role of a `SignalListener`.

#include "Platform/Signals/NotificationCentre.h"
#include "Platform/Store/UserDefaults.h"
#include "benchmarks/GSettingsPeer.h"
#include "benchmarks/SignalListener.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int latencyRounds = 200;
constexpr int busRounds = 2000;            // posts to a bus, which keeps what nobody has read yet
constexpr useconds_t rest = 5000;          // µs between two rounds: more frequent posts are slowed down
constexpr qint64 patience = 1'000'000'000; // ns until a delivery counts as lost

/// Where the bus's own programs, such as dconf, have been told to keep settings.
QString s_busSettings;

/// The folder and the other processes of one benchmark. The destructor kills the processes. Without a place for settings, they
/// are where those of the bus are.
class World {
public:
    World(const char* role, int count, const QString& settingsPlace = QStringLiteral("/tmp"))
        : m_settings(settingsPlace + QStringLiteral("/kestrum-benchmark-XXXXXX"))
    {
        const QByteArray root = QFile::encodeName(m_directory.path());
        qputenv("XDG_CONFIG_HOME",
            QFile::encodeName(settingsPlace.isEmpty() ? s_busSettings : m_settings.path()));
        pagePath = root + "/page";
        barePath = root + "/bare";
        ::mkdir(barePath.constData(), 0700);
        page = SignalListener::mappedPage(pagePath);
        for (int i = 0; i < count; ++i)
            start(role);
        for (int wait = 0; page->ready.load() < count && wait < 10'000; ++wait)
            ::usleep(1000);
        isUp = page->ready.load() == count;
        ::usleep(50'000);
    }
    ~World()
    {
        for (const pid_t child : m_children) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
        ::munmap(page, sizeof(SignalListener::Page));
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    QByteArray pagePath;
    QByteArray barePath;
    SignalListener::Page* page = nullptr;
    bool isUp = false; ///< whether all listeners listen

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
    NotificationCentre::post(SignalListener::signalName());
    for ([[maybe_unused]] auto _ : state)
        NotificationCentre::post(SignalListener::signalName());
}

QDBusMessage busSignal()
{
    return QDBusMessage::createSignal(QLatin1String(SignalListener::busPath),
        QLatin1String(SignalListener::busInterface), QStringLiteral("settings"));
}

// The work of the bus counts, which goes on when the posts are done: an answer comes after all that was sent before.
void postByBus(benchmark::State& state)
{
    const World world("bus", int(state.range(0)));
    if (!world.isUp)
        state.SkipWithError("no session bus");
    QDBusConnection bus = QDBusConnection::sessionBus();
    int posts = 0;
    for ([[maybe_unused]] auto _ : state) {
        const qint64 start = SignalListener::now();
        bus.send(busSignal());
        if (++posts == busRounds)
            bus.interface()->isServiceRegistered(bus.baseService());
        state.SetIterationTime(double(SignalListener::now() - start) / 1e9);
    }
}

// Calls `send` in each iteration, and measures the time until the last of the other processes has received the signal.
void measure(
    benchmark::State& state, const World& world, const std::function<void()>& send, int listeners = 1)
{
    if (!world.isUp) {
        state.SkipWithError("the other processes do not listen");
        return;
    }
    std::vector<qint64> times;
    for ([[maybe_unused]] auto _ : state) {
        ::usleep(rest);
        world.page->heard.store(0);
        const qint64 start = SignalListener::now();
        send();
        while (world.page->heard.load() < listeners && SignalListener::now() - start < patience) { }
        const qint64 time = world.page->heardAt.load() - start;
        if (world.page->heard.load() < listeners || time <= 0) {
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

// The listeners' `role` is "bare", or "loop": the same in the toolkit's event loop.
void latencyBare(benchmark::State& state, const char* role)
{
    const int listeners = int(state.range(0));
    const World world(role, listeners);
    const int directory = ::open(world.barePath.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(::openat(directory, "signal", O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    const auto post = [directory] { ::utimensat(directory, "signal", nullptr, AT_SYMLINK_NOFOLLOW); };
    measure(state, world, post, listeners);
    ::close(directory);
}

void latencyByCentre(benchmark::State& state)
{
    const int listeners = int(state.range(0));
    const World world("centre", listeners);
    NotificationCentre::post(SignalListener::signalName());
    measure(
        state, world, [] { NotificationCentre::post(SignalListener::signalName()); }, listeners);
}

void latencyByBus(benchmark::State& state)
{
    const int listeners = int(state.range(0));
    const World world("bus", listeners);
    measure(
        state, world, [] { QDBusConnection::sessionBus().send(busSignal()); }, listeners);
}

void setToRead(benchmark::State& state, const QString& settingsPlace)
{
    const World world("reader", 1, settingsPlace);
    const auto defaults = UserDefaults::withSuiteName(QStringLiteral("benchmark"));
    quint64 round = 0;
    measure(state, world, [&defaults, &round] {
        defaults->set("round", double(++round));
        NotificationCentre::post(SignalListener::signalName());
    });
    if (world.page->value.load() != round)
        state.SkipWithError("the handler read an old value");
}

void setToReadByDconf(benchmark::State& state)
{
    const World world("dconf", 1, QString());
    const QTemporaryDir folder;
    const auto settings = GSettingsPeer::open(folder.path(), GSettingsPeer::Place::dconf);
    static quint64 round = 0; // dconf keeps what earlier repetitions have set
    measure(state, world, [&settings] { g_settings_set_double(settings.get(), "round", double(++round)); });
    if (world.page->value.load() != round)
        state.SkipWithError("the handler read an old value");
}

void setToReadByQt(benchmark::State& state)
{
    const World world("qt", 1, QStringLiteral("/dev/shm"));
    QSettings settings(SignalListener::peerFile(), QSettings::IniFormat);
    quint64 round = 0;
    measure(state, world, [&settings, &round] {
        settings.setValue(QStringLiteral("round"), ++round);
        settings.sync();
    });
    if (world.page->value.load() != round)
        state.SkipWithError("the handler read an old value");
}

void registerAll()
{
    const auto timed = [](benchmark::internal::Benchmark* benchmark) {
        return benchmark->UseManualTime()->Iterations(latencyRounds)->Unit(benchmark::kMicrosecond);
    };
    for (const int listeners : { 0, 1, 10 }) {
        benchmark::RegisterBenchmark("post/bare", postBare)->Arg(listeners)->UseRealTime();
        benchmark::RegisterBenchmark("post/centre", postByCentre)->Arg(listeners)->UseRealTime();
        benchmark::RegisterBenchmark("post/bus", postByBus)
            ->Arg(listeners)
            ->UseManualTime()
            ->Iterations(busRounds);
    }
    for (const int listeners : { 1, 10 }) {
        timed(benchmark::RegisterBenchmark("latency/bare", latencyBare, "bare"))->Arg(listeners);
        timed(benchmark::RegisterBenchmark("latency/loop", latencyBare, "loop"))->Arg(listeners);
        timed(benchmark::RegisterBenchmark("latency/centre", latencyByCentre))->Arg(listeners);
        timed(benchmark::RegisterBenchmark("latency/bus", latencyByBus))->Arg(listeners);
    }
    timed(benchmark::RegisterBenchmark("setToRead/disk", setToRead, QStringLiteral("/tmp")));
    // A file in memory needs no wait for a disk, so the result is the share of Kestrum's code.
    timed(benchmark::RegisterBenchmark("setToRead/memory", setToRead, QStringLiteral("/dev/shm")));
    timed(benchmark::RegisterBenchmark("setToRead/dconf", setToReadByDconf));
    timed(benchmark::RegisterBenchmark("setToRead/qsettings", setToReadByQt));
}

} // namespace

int main(int argc, char** argv)
{
    if (const auto code = SignalListener::enter(argc, argv))
        return *code;
    const TestHome home;
    // What the bus starts keeps its settings in memory, as those are that it is compared with.
    const QTemporaryDir busSettings(QStringLiteral("/dev/shm/kestrum-benchmark-XXXXXX"));
    s_busSettings = busSettings.path();
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(s_busSettings));
    const SessionBus bus;
    g_get_user_config_dir(); // GLib remembers it
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
