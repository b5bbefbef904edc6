// Measures what the built agent costs with bridges, beside its own strip, seen from outside, in one run of two rounds. The
// agent samples five times a second. The call is: BridgeBenchmark [SECONDS OF EACH ROW]

#include "tests/Support/BridgeClient.h"
#include "tests/Support/DesktopFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QApplication>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

using namespace kestrum;

namespace {

using Clock = std::chrono::steady_clock;

constexpr double interval = 0.2;
constexpr int settling = 2000; ///< ms: a row's beginning sends all pictures

/// What all threads of a process have used so far.
struct Use {
    double milliseconds = 0; ///< of processor time
    qint64 wakeUps = 0;

    static Use of(qint64 process)
    {
        Use use;
        const QString tasks = QStringLiteral("/proc/%1/task").arg(process);
        for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile schedule(tasks + u'/' + task + QStringLiteral("/schedstat"));
            if (schedule.open(QIODevice::ReadOnly))
                use.milliseconds += schedule.readAll().split(' ').value(0).toDouble() / 1e6;
            QFile status(tasks + u'/' + task + QStringLiteral("/status"));
            if (!status.open(QIODevice::ReadOnly))
                continue;
            for (const QByteArray& line : status.readAll().split('\n')) {
                if (line.startsWith("voluntary_ctxt_switches:"))
                    use.wakeUps += line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
            }
        }
        return use;
    }
};

struct Row {
    const char* name;
    std::vector<double> scales; ///< one bridge each
    const char* popover = nullptr;
};

void measure(const Row& row, qint64 agent, const QString& bus, int seconds)
{
    std::vector<std::unique_ptr<BridgeClient>> bridges;
    for (const double scale : row.scales) {
        bridges.push_back(std::make_unique<BridgeClient>(bus));
        bridges.back()->attach({ { QStringLiteral("scale"), scale } });
    }
    if (row.popover) {
        bridges.front()->call(
            "OpenPopover", { bridges.front()->number, QString::fromLatin1(row.popover), QVariantMap() });
    }
    QTest::qWait(settling);
    if (row.popover && bridges.front()->popoverMessages == 0)
        throw std::runtime_error("no popover came");
    qint64 bytes = 0;
    const auto messages = [&] {
        int count = 0;
        for (const auto& bridge : bridges)
            count += bridge->itemMessages + bridge->popoverMessages;
        return count;
    };
    const int messagesBefore = messages();
    for (const auto& bridge : bridges)
        bridge->bytes = 0;
    const Use before = Use::of(agent);
    const auto start = Clock::now();
    QTest::qWait(seconds * 1000);
    const Use after = Use::of(agent);
    const double ticks = std::chrono::duration<double>(Clock::now() - start).count() / interval;
    for (const auto& bridge : bridges)
        bytes += bridge->bytes;
    std::printf("%-30s %8.0f us   %5.2f wake-ups   %5.2f messages   %7.1f KB   a tick\n", row.name,
        (after.milliseconds - before.milliseconds) * 1000 / ticks,
        double(after.wakeUps - before.wakeUps) / ticks, (messages() - messagesBefore) / ticks,
        double(bytes) / 1000 / ticks);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display(QSize(1600, 900));
    if (!display.isUp())
        return 1;
    const QApplication application(argc, argv);
    const SessionBus bus(SessionBus::Services::none);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 10;
    try {
        const DesktopFixture fixture;
        if (!fixture.isUp() || !bus.isUp())
            throw std::runtime_error("no desktop or no session bus");
        fixture.write("refreshInterval", "0.2");
        const auto agent = Programs::started(fixture.agentProgram(), {});
        if (!QTest::qWaitFor(
                [&] { return !DesktopFixture::windowOf(agent->processId()).isEmpty(); }, Programs::patience))
            throw std::runtime_error("no strip came");
        const Row rows[] = {
            { "strip", {} },
            { "one bridge", { 1 } },
            { "one bridge, scale 2", { 2 } },
            { "two bridges", { 1, 2 } },
            { "one bridge, popover of memory", { 1 }, "memory" },
            { "one bridge, popover of CPU", { 1 }, "cpu" },
            { "the same, scale 2", { 2 }, "cpu" },
        };
        for (int round = 0; round < 2; ++round) {
            for (const Row& row : rows)
                measure(row, agent->processId(), bus.address(), seconds);
        }
        Programs::end(*agent);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "BridgeBenchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
