// The cost of a read, a load and a durable save of settings, each compared with the least possible work. A save is compared
// with the bare system calls that any durable replacement of a file needs, on the same file system and with the same bytes.
// KESTRUM_BENCHMARK_DIRECTORY names a folder on the disk to measure; the default is the temporary folder.

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/SettingsText.h"
#include "Platform/Store/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

namespace {

QString s_directory;

UserDefaults& store()
{
    static const auto opened = [] {
        auto defaults = UserDefaults::withSuiteName(QStringLiteral("benchmark"));
        defaults->registerDefaults(SharedSettings::factoryDefaults());
        defaults->apply(SharedSettings::factoryDefaults(), {});
        return defaults;
    }();
    return *opened;
}

void readTruth(benchmark::State& state)
{
    const UserDefaults& defaults = store();
    for (auto _ : state)
        benchmark::DoNotOptimize(defaults.boolean("showSensorsItem"));
}
BENCHMARK(readTruth);

void readText(benchmark::State& state)
{
    const UserDefaults& defaults = store();
    for (auto _ : state)
        benchmark::DoNotOptimize(defaults.string("menuBarOrder"));
}
BENCHMARK(readText);

void readAbsent(benchmark::State& state)
{
    const UserDefaults& defaults = store();
    for (auto _ : state)
        benchmark::DoNotOptimize(defaults.string("memoryReadout"));
}
BENCHMARK(readAbsent);

// The least work to read a value that may change: a check of a counter, and a lookup.
void readBare(benchmark::State& state)
{
    static std::atomic<quint64> generation = 0;
    const QHash<QByteArray, bool> values { { "showSensorsItem", true } };
    const quint64 seen = generation.load();
    for (auto _ : state) {
        if (generation.load(std::memory_order_acquire) != seen)
            state.SkipWithError("nobody saves here");
        benchmark::DoNotOptimize(values.value(QByteArray::fromRawData("showSensorsItem", 15)));
    }
}
BENCHMARK(readBare);

void load(benchmark::State& state)
{
    const SettingsFile file(store().filePath());
    for (auto _ : state)
        benchmark::DoNotOptimize(file.read());
}
BENCHMARK(load);

// Only Qt's reader and parser.
void loadBare(benchmark::State& state)
{
    const QString path = store().filePath();
    for (auto _ : state) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            state.SkipWithError("no file");
        benchmark::DoNotOptimize(QJsonDocument::fromJson(file.readAll()));
    }
}
BENCHMARK(loadBare);

/// Makes bare and durable saves in turn, so that other load on the disk affects both kinds equally.
class SaveRound {
public:
    SaveRound()
        : m_directory(::open(QFile::encodeName(s_directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , m_text(SettingsText::serialised(store().storedDictionary()))
    {
    }
    ~SaveRound() { ::close(m_directory); }
    SaveRound(const SaveRound&) = delete;
    SaveRound& operator=(const SaveRound&) = delete;

    bool bare()
    {
        const int file = ::openat(m_directory, "bare.tmp", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        const bool isWritten = ::write(file, m_text.constData(), size_t(m_text.size())) == m_text.size()
            && ::fsync(file) == 0 && ::close(file) == 0;
        return isWritten && ::renameat(m_directory, "bare.tmp", m_directory, "bare.json") == 0
            && ::fsync(m_directory) == 0;
    }

    bool durable() { return store().set("refreshInterval", 1.0 + double(++m_number % 8) / 8); }

private:
    int m_directory;
    QByteArray m_text;
    int m_number = 0;
};

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void durableSave(benchmark::State& state)
{
    SaveRound round;
    double bareTime = 0;
    double saveTime = 0;
    for (auto _ : state) {
        const double start = seconds();
        const bool isBareDone = round.bare();
        const double middle = seconds();
        const bool isSaved = round.durable();
        const double end = seconds();
        if (!isBareDone || !isSaved)
            state.SkipWithError("cannot save");
        bareTime += middle - start;
        saveTime += end - middle;
        state.SetIterationTime(end - middle);
    }
    state.counters["bare_us"] = 1e6 * bareTime / double(state.iterations());
    state.counters["ratio"] = saveTime / bareTime;
}
BENCHMARK(durableSave)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(1000);

} // namespace

int main(int argc, char** argv)
{
    const QString base = qEnvironmentVariable("KESTRUM_BENCHMARK_DIRECTORY", QDir::tempPath());
    const QTemporaryDir home(base + QStringLiteral("/kestrum-XXXXXX"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(home.path() + QStringLiteral("/run")));
    s_directory = home.path() + QStringLiteral("/kestrum");
    if (!home.isValid() || ::mkdir(qgetenv("XDG_RUNTIME_DIR").constData(), 0700) != 0
        || ::mkdir(QFile::encodeName(s_directory).constData(), 0700) != 0) {
        std::fprintf(stderr, "StoreBenchmark: cannot make a folder in %s\n", qUtf8Printable(base));
        return EXIT_FAILURE;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
