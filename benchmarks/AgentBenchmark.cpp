// SPDX-License-Identifier: MIT
// Measures what the built agent needs once a second, beside other monitors with the same interval, all at the same time: time of
// the processor in percent of a core, wake-ups a second of all threads, and resident memory. "Bare" only reads the files of the
// four items. htop and btop show meters in a terminal; btop leaves out the processes, and htop finds few. The plugin of Xfce's
// panel shows processor and memory. Then the agent once more, with no item shown. The call is: AgentBenchmark [SECONDS]

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int settling = 4000; ///< ms
constexpr const char* visibilityKeys[]
    = { "showCPUItem", "showMemoryItem", "showStorageItem", "showSensorsItem" };

/// The number after `name` in a file of lines "name number".
qint64 number(const QString& path, const char* name)
{
    for (const QByteArray& line : contentOf(path).split('\n')) {
        if (line.startsWith(name))
            return line.mid(qsizetype(qstrlen(name))).simplified().split(' ').first().toLongLong();
    }
    return 0;
}

/// What a process has used so far, with the threads that have ended.
struct Use {
    double seconds = 0; ///< of processor time
    qint64 wakeUps = 0;

    static Use of(qint64 process)
    {
        Use use;
        clockid_t clock {};
        timespec time {};
        if (::clock_getcpuclockid(pid_t(process), &clock) != 0 || ::clock_gettime(clock, &time) != 0)
            throw std::runtime_error("a monitor has ended");
        use.seconds = double(time.tv_sec) + double(time.tv_nsec) / 1e9;
        const QString tasks = QStringLiteral("/proc/%1/task").arg(process);
        for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            use.wakeUps
                += number(tasks + u'/' + task + QStringLiteral("/status"), "voluntary_ctxt_switches:");
        return use;
    }
};

struct Monitor {
    const char* name;
    qint64 process;
    Use before {};
};

void measure(std::vector<Monitor> monitors, int seconds)
{
    QTest::qWait(settling);
    for (Monitor& monitor : monitors)
        monitor.before = Use::of(monitor.process);
    const auto start = std::chrono::steady_clock::now();
    QTest::qWait(seconds * 1000);
    const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    for (const Monitor& monitor : monitors) {
        const Use after = Use::of(monitor.process);
        std::printf("%-24s %8.3f %%   %6.2f wake-ups   %6.1f MiB\n", monitor.name,
            100 * (after.seconds - monitor.before.seconds) / took,
            double(after.wakeUps - monitor.before.wakeUps) / took,
            double(number(QStringLiteral("/proc/%1/status").arg(monitor.process), "VmRSS:")) / 1024);
    }
    std::fflush(stdout);
}

/// The process whose command has `part`, among those of this benchmark; 0 when none comes.
qint64 processOf(const QByteArray& part, const QByteArray& program)
{
    qint64 found = 0;
    (void)QTest::qWaitFor(
        [&] {
            for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
                const QString folder = QStringLiteral("/proc/") + entry;
                if (entry.toLongLong() > 0 && contentOf(folder + QStringLiteral("/cmdline")).contains(part)
                    && contentOf(folder + QStringLiteral("/comm")).trimmed() == program)
                    found = entry.toLongLong();
            }
            return found != 0;
        },
        Programs::patience);
    return found;
}

/// Starts a monitor in a terminal, whose input never ends.
std::unique_ptr<QProcess> inTerminal(const QString& command)
{
    auto terminal = std::make_unique<QProcess>();
    terminal->setStandardOutputFile(QProcess::nullDevice());
    terminal->setStandardErrorFile(QProcess::nullDevice());
    terminal->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    terminal->start(QStringLiteral("script"),
        { QStringLiteral("-qc"), QStringLiteral("stty rows 50 cols 160; exec ") + command,
            QStringLiteral("/dev/null") });
    return terminal;
}

/// A panel of Xfce with nothing but the plugin, which is a process of its own.
std::unique_ptr<QProcess> panelOfXfce()
{
    const QString folder
        = qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/xfce4/xfconf/xfce-perchannel-xml");
    write(folder + QStringLiteral("/xfce4-panel.xml"), R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array"><value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=8;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systemload">
      <property name="timeout" type="uint" value="1000"/>
      <property name="swap" type="empty"><property name="enabled" type="bool" value="false"/></property>
      <property name="network" type="empty"><property name="enabled" type="bool" value="false"/></property>
      <property name="uptime" type="empty"><property name="enabled" type="bool" value="false"/></property>
    </property>
  </property>
</channel>
)");
    auto panel = std::make_unique<QProcess>();
    panel->setStandardOutputFile(QProcess::nullDevice());
    panel->setStandardErrorFile(QProcess::nullDevice());
    panel->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    panel->start(QStringLiteral("xfce4-panel"), { QStringLiteral("--disable-wm-check") });
    return panel;
}

/// The least work of a tick: the files of the items, with open descriptors.
[[noreturn]] void readBare()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::vector<int> files;
    for (const char* path : { "/proc/stat", "/proc/meminfo", "/proc/pressure/memory" })
        files.push_back(::open(path, O_RDONLY | O_CLOEXEC));
    std::vector<char> buffer(64 * 1024);
    for (;;) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        struct statvfs volume { };
        bool isRead = ::statvfs("/", &volume) == 0;
        for (const int file : files)
            isRead = ::pread(file, buffer.data(), buffer.size(), 0) >= 0 && isRead;
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "bare") == 0)
        readBare();
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display(QSize(1600, 900));
    if (!display.isUp())
        return 1;
    const QApplication application(argc, argv);
    const SessionBus bus;
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 30;
    try {
        const DesktopFixture fixture;
        if (!fixture.isUp() || !bus.isUp())
            throw std::runtime_error("no desktop or no session bus");
        fixture.write("refreshInterval", "1");
        for (const char* key : visibilityKeys)
            fixture.write(key, "true");
        const auto agent = Programs::started(fixture.agentProgram(), {});
        if (!QTest::qWaitFor(
                [&] { return !DesktopFixture::windowOf(agent->processId()).isEmpty(); }, Programs::patience))
            throw std::runtime_error("no strip came");
        write(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/btop/btop.conf"),
            "shown_boxes = \"cpu mem\"\nupdate_ms = 1000\n");
        qputenv("TERM", "xterm-256color");
        qputenv("LC_ALL", "C.UTF-8");
        const auto bare = Programs::started(QStringLiteral("/proc/self/exe"), { QStringLiteral("bare") });
        const std::unique_ptr<QProcess> others[]
            = { inTerminal(QStringLiteral("htop -d 10")), inTerminal(QStringLiteral("btop")), panelOfXfce() };
        std::vector<Monitor> monitors { { "agent", agent->processId() }, { "bare", bare->processId() } };
        for (const auto& [name, part, program] :
            { std::tuple("htop", "htop", "htop"), std::tuple("btop", "btop", "btop"),
                std::tuple("xfce4-systemload-plugin", "libsystemload", "wrapper-2.0") }) {
            if (const qint64 process = processOf(part, program))
                monitors.push_back({ name, process });
            else
                std::fprintf(stderr, "AgentBenchmark: %s does not start\n", name);
        }
        measure(monitors, seconds);
        for (const char* key : visibilityKeys)
            fixture.write(key, "false");
        measure({ { "agent, nothing shown", agent->processId() } }, seconds);
        for (const auto& other : others)
            Programs::end(*other);
        Programs::end(*bare);
        Programs::end(*agent);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "AgentBenchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
