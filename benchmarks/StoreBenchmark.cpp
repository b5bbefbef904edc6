// The cost of a read, a load and a durable save of settings, each compared with the least possible work. A save is compared
// with the bare system calls that any durable replacement of a file needs, on the same file system and with the same bytes, and
// with the settings of Qt and of GLib, whose writer is dconf.
// KESTRUM_BENCHMARK_DIRECTORY names a folder on the disk to measure; the default is the temporary folder.

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/SettingsText.h"
#include "Platform/Store/UserDefaults.h"
#include "benchmarks/GSettingsPeer.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QSettings>
#include <algorithm>
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

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

void readQSettings(benchmark::State& state)
{
    QSettings settings(s_directory + QStringLiteral("/read.ini"), QSettings::IniFormat);
    const QString key = QStringLiteral("showSensorsItem");
    settings.setValue(key, true);
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key).toBool());
}
BENCHMARK(readQSettings);

void readGSettings(benchmark::State& state, GSettingsPeer::Place place)
{
    const auto settings = GSettingsPeer::open(s_directory, place);
    if (!settings)
        state.SkipWithError("GSettings or dconf is missing");
    for (auto _ : state)
        benchmark::DoNotOptimize(g_settings_get_boolean(settings.get(), "flag"));
}
BENCHMARK_CAPTURE(readGSettings, memory, GSettingsPeer::Place::memory);
BENCHMARK_CAPTURE(readGSettings, dconf, GSettingsPeer::Place::dconf);

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

/// Makes saves of all kinds in turn, so that other load on the disk affects all of them equally.
class SaveRound {
public:
    SaveRound()
        : m_directory(::open(QFile::encodeName(s_directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , m_text(SettingsText::serialised(store().storedDictionary()))
        , m_qt(s_directory + QStringLiteral("/peer.ini"), QSettings::IniFormat)
        , m_dconf(GSettingsPeer::open(s_directory, GSettingsPeer::Place::dconf))
    {
    }
    ~SaveRound() { ::close(m_directory); }
    SaveRound(const SaveRound&) = delete;
    SaveRound& operator=(const SaveRound&) = delete;

    bool hasDconf() const { return m_dconf != nullptr; }

    bool bare()
    {
        const int file = ::openat(m_directory, "bare.tmp", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        const bool isWritten = ::write(file, m_text.constData(), size_t(m_text.size())) == m_text.size()
            && ::fsync(file) == 0 && ::close(file) == 0;
        return isWritten && ::renameat(m_directory, "bare.tmp", m_directory, "bare.json") == 0
            && ::fsync(m_directory) == 0;
    }

    bool durable() { return store().set("refreshInterval", next()); }

    bool byQt()
    {
        m_qt.setValue(QStringLiteral("refreshInterval"), next());
        m_qt.sync();
        return m_qt.status() == QSettings::NoError;
    }

    bool byDconf()
    {
        const bool isSet = !m_dconf || g_settings_set_double(m_dconf.get(), "round", next());
        g_settings_sync();
        return isSet;
    }

private:
    double next() { return 1.0 + double(++m_number % 9) / 8; }

    int m_directory;
    QByteArray m_text;
    QSettings m_qt;
    GSettingsPeer::Settings m_dconf;
    int m_number = 0;
};

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void durableSave(benchmark::State& state)
{
    struct Kind {
        const char* counter;
        bool (SaveRound::*save)();
        std::vector<double> times;
    };
    std::array kinds { Kind { "bare_us", &SaveRound::bare, {} }, Kind { "ours_us", &SaveRound::durable, {} },
        Kind { "qsettings_us", &SaveRound::byQt, {} }, Kind { "dconf_us", &SaveRound::byDconf, {} } };
    SaveRound round;
    for (auto _ : state) {
        for (Kind& kind : kinds) {
            const double start = seconds();
            if (!(round.*kind.save)())
                state.SkipWithError("cannot save");
            kind.times.push_back(seconds() - start);
        }
        state.SetIterationTime(kinds[1].times.back());
    }
    for (Kind& kind : kinds) {
        const auto middle = kind.times.begin() + std::ptrdiff_t(kind.times.size() / 2);
        std::nth_element(kind.times.begin(), middle, kind.times.end());
        if (kind.save != &SaveRound::byDconf || round.hasDconf())
            state.counters[kind.counter] = 1e6 * *middle;
    }
}
BENCHMARK(durableSave)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(200);

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet("KESTRUM_BENCHMARK_DIRECTORY"))
        qputenv("TMPDIR", qgetenv("KESTRUM_BENCHMARK_DIRECTORY"));
    const TestHome home;
    const SessionBus bus;
    s_directory = TestHome::configDirectory();
    if (!bus.isUp() || !QDir().mkpath(s_directory)) {
        std::fprintf(
            stderr, "StoreBenchmark: no bus, or no folder in %s\n", qUtf8Printable(QDir::tempPath()));
        return EXIT_FAILURE;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    return EXIT_SUCCESS;
}
