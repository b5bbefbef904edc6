#include "Platform/Machine/TopApps.h"
#include "tests/Support/FakeProcesses.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <sched.h>
#include <thread>
#include <unistd.h>

using namespace kestrum;
using namespace std::chrono_literals;

class TopAppsTest : public QObject {
    Q_OBJECT
private:
    using Column = TopApps::Column;
    using Apps = std::optional<QList<AppUse>>;

    void add(const FakeProcess& process) const { m_processes->add(process); }
    void addMemory(int pid, int resident, int shared) const
    {
        m_processes->write(pid, "statm",
            "999 " + QByteArray::number(resident) + ' ' + QByteArray::number(shared) + " 1 0 1 0\n");
    }
    void addVolumes(int pid, qint64 read, qint64 written) const
    {
        m_processes->write(pid, "io",
            "rchar: 1\nread_bytes: " + QByteArray::number(read)
                + "\nwrite_bytes: " + QByteArray::number(written) + "\ncancelled_write_bytes: 0\n");
    }
    Apps sample(Column column, std::chrono::milliseconds time) const
    {
        return m_apps->sample(column, { QStringLiteral("en"), QStringLiteral("Container") }, 1h + time);
    }
    // The app with this name; without it, one whose values equal no expected ones.
    static AppUse app(const Apps& apps, const char* name)
    {
        for (const AppUse& app : apps.value_or(QList<AppUse>())) {
            if (app.name == QLatin1StringView(name))
                return app;
        }
        return { .id = {}, .name = {}, .cores = -1, .memory = -1, .readRate = -1, .writeRate = -1 };
    }

    const quint64 m_second = quint64(::sysconf(_SC_CLK_TCK)); ///< in clock ticks
    const qint64 m_page = ::sysconf(_SC_PAGESIZE);
    std::optional<FakeProcesses> m_processes;
    std::unique_ptr<TopApps> m_apps;

private Q_SLOTS:
    void init()
    {
        m_processes.emplace();
        m_apps = std::make_unique<TopApps>(m_processes->root(), QStringList());
    }

    void processorTimeNeedsTwoSamples()
    {
        add({ .pid = 5, .command = "a", .time = 100 });
        QVERIFY(!sample(Column::cpu, 0s));
        add({ .pid = 5, .command = "a", .time = 100 + 3 * m_second });
        QCOMPARE(app(sample(Column::cpu, 2s), "a").cores, 1.5);
        QCOMPARE(app(sample(Column::cpu, 3s), "a").cores, 0.0);
    }

    void processesOfAnAppAreSummed()
    {
        add({ .pid = 5, .command = "a" });
        add({ .pid = 6, .parent = 5, .command = "a" });
        QVERIFY(!sample(Column::cpu, 0s));
        add({ .pid = 5, .command = "a", .time = m_second });
        add({ .pid = 6, .parent = 5, .command = "a", .time = m_second / 2 });
        add({ .pid = 7, .parent = 5, .command = "b", .start = 2000, .time = m_second / 4 });
        const Apps apps = sample(Column::cpu, 1s);
        QCOMPARE(apps->size(), 2);
        QCOMPARE(app(apps, "a").cores, 1.5);
        QCOMPARE(app(apps, "b").cores, 0.25);
        QCOMPARE(app(apps, "a").id, QStringLiteral("program/a"));
    }

    void shortLivedChildrenCountForWhoeverWaitedForThem()
    {
        add({ .pid = 5, .command = "make" });
        add({ .pid = 6, .parent = 5, .command = "cc1", .time = m_second });
        QVERIFY(!sample(Column::cpu, 0s));
        // The child that was seen has ended after another half second, and two that were never seen took a second.
        m_processes->remove(6);
        add({ .pid = 5, .command = "make", .childrenTime = m_second * 5 / 2 });
        const Apps apps = sample(Column::cpu, 1s);
        QCOMPARE(apps->size(), 1);
        QCOMPARE(app(apps, "make").cores, 1.5);
    }

    void kernelsThreadsAreOneAppWithoutAName()
    {
        add({ .pid = 2, .parent = 0, .command = "kthreadd", .flags = FakeProcesses::kernelThread });
        add({ .pid = 9, .parent = 2, .command = "kworker/0:1", .flags = FakeProcesses::kernelThread });
        QVERIFY(!sample(Column::cpu, 0s));
        // Names of the kernel's threads change with what they do.
        add({ .pid = 9,
            .parent = 2,
            .command = "kworker/0:1-x",
            .time = m_second,
            .flags = FakeProcesses::kernelThread });
        const Apps apps = sample(Column::cpu, 1s);
        QCOMPARE(apps->size(), 1);
        QCOMPARE(apps->first().name, QString());
        QCOMPARE(apps->first().cores, 1.0);
    }

    void memoryNeedsOneSampleAndCountsWhatIsNotShared()
    {
        add({ .pid = 5, .command = "a" });
        add({ .pid = 6, .command = "a" });
        add({ .pid = 7, .command = "b" });
        addMemory(5, 300, 100);
        addMemory(6, 50, 20);
        const Apps apps = sample(Column::memory, 0s);
        QCOMPARE(app(apps, "a").memory, 230 * m_page);
        QCOMPARE(app(apps, "b").memory, 0);
        // The sample also serves the processor's column.
        add({ .pid = 5, .command = "a", .time = m_second });
        QCOMPARE(app(sample(Column::cpu, 1s), "a").cores, 1.0);
    }

    void ratesAreThoseOfTheProcessesThatMayBeRead()
    {
        for (const int pid : { 5, 6 })
            add({ .pid = pid, .command = pid == 5 ? "a" : "b" });
        addVolumes(5, 1000, 500);
        QVERIFY(!sample(Column::disk, 0s));
        addVolumes(5, 5000, 2500);
        const Apps apps = sample(Column::disk, 2s);
        QCOMPARE(apps->size(), 1);
        QCOMPARE(app(apps, "a").readRate, 2000.0);
        QCOMPARE(app(apps, "a").writeRate, 1000.0);
        // Without the counters of a sample in between, the next difference is unknown; the one after is not.
        QVERIFY(sample(Column::cpu, 4s));
        QVERIFY(!sample(Column::disk, 6s));
        addVolumes(5, 9000, 2500);
        QCOMPARE(app(sample(Column::disk, 8s), "a").readRate, 2000.0);
    }

    void endedChildrensRatesDoNotCountTwice()
    {
        add({ .pid = 5, .command = "make" });
        add({ .pid = 6, .parent = 5, .command = "cc1" });
        addVolumes(5, 100, 0);
        addVolumes(6, 5000, 0);
        QVERIFY(!sample(Column::disk, 0s));
        m_processes->remove(6);
        addVolumes(5, 100 + 5000 + 700, 0);
        QCOMPARE(app(sample(Column::disk, 1s), "make").readRate, 700.0);
    }

    void otherUsersRatesAreNotListed()
    {
        if (::geteuid() != 0)
            QSKIP("only root can have processes of two users");
        StandIns standIns;
        const QString program = standIns.install(QStringLiteral("kestrum-reader"));
        standIns.start(program, "30000");
        const auto lists = [](bool isOrdinary) {
            std::optional<OrdinaryUser> user;
            if (isOrdinary)
                user.emplace(QStringList());
            TopApps apps({}, QStringList());
            const AppLanguageTexts language { QStringLiteral("en"), QStringLiteral("Container") };
            apps.sample(Column::disk, language, 1s);
            return app(apps.sample(Column::disk, language, 2s), "kestrum-reader").readRate >= 0;
        };
        QTRY_VERIFY(lists(false));
        QVERIFY(!lists(true));
    }

    void differenceToALongGoneSampleCountsAsNone()
    {
        add({ .pid = 5, .command = "a" });
        addVolumes(5, 0, 0);
        QVERIFY(!sample(Column::disk, 0s));
        add({ .pid = 5, .command = "a", .time = 9999 });
        addVolumes(5, 99999, 0);
        QVERIFY(!sample(Column::disk, 61s));
        add({ .pid = 5, .command = "a", .time = 9999 + 20 * m_second });
        // A pause of some intervals is measured by its real time.
        QCOMPARE(app(sample(Column::cpu, 101s), "a").cores, 0.5);
        // A clock that stands still, or goes back, measures nothing.
        QVERIFY(!sample(Column::cpu, 101s));
        QVERIFY(!sample(Column::cpu, 90s));
    }

    void processesThatVanishOrAreDamagedAreLeftOut()
    {
        add({ .pid = 5, .command = "a" });
        add({ .pid = 6, .command = "b" });
        QVERIFY(!sample(Column::cpu, 0s));
        // Listed, but gone when the file is opened; empty; of another process; and folders that are no processes.
        m_processes->remove(6);
        m_processes->write(6, "status", "x");
        m_processes->write(7, "stat", "");
        m_processes->write(8, "stat", FakeProcess { .pid = 9, .command = "b" }.stat());
        QVERIFY(QDir().mkpath(m_processes->file(10, "stat")));
        for (const char* name : { "self", "12x", "99999999999", "-3", "0" })
            write(m_processes->root() + QStringLiteral("/proc/") + QLatin1StringView(name)
                    + QStringLiteral("/stat"),
                FakeProcess { .pid = 12 }.stat());
        const Apps apps = sample(Column::cpu, 1s);
        QCOMPARE(apps->size(), 1);
        QCOMPARE(apps->first().name, QStringLiteral("a"));
    }

    void machineWithoutProcessesHasNothingToShow()
    {
        TopApps apps(QStringLiteral("/nowhere"), {});
        const AppLanguageTexts language;
        for (const auto time : { 1s, 2s }) {
            for (const Column column : { Column::cpu, Column::memory, Column::disk })
                QVERIFY(!apps.sample(column, language, time));
        }
    }

    // Where a program has no more descriptors, it reads no process.
    void afterAnEmptyListNothingIsMeasuredAgainstIt()
    {
        add({ .pid = 5, .command = "a", .time = 1000 * m_second });
        addVolumes(5, 1'000'000, 0);
        QVERIFY(!sample(Column::disk, 0s));
        QVERIFY(sample(Column::disk, 2s));
        m_processes->remove(5);
        QVERIFY(!sample(Column::disk, 4s));
        add({ .pid = 5, .command = "a", .time = 1001 * m_second });
        addVolumes(5, 1'000'600, 0);
        QVERIFY(!sample(Column::disk, 6s));
        add({ .pid = 5, .command = "a", .time = 1002 * m_second });
        addVolumes(5, 1'000'800, 0);
        const Apps apps = sample(Column::disk, 8s);
        QCOMPARE(app(apps, "a").cores, 0.5);
        QCOMPARE(app(apps, "a").readRate, 100.0);
    }

    void samplesTakeAtMostAHundredthOfACore()
    {
        const struct {
            const char* name;
            std::chrono::nanoseconds cost;
            std::chrono::nanoseconds refreshInterval;
            std::chrono::nanoseconds pause;
        } rows[] { { "few processes", 5ms, 1s, 2s }, { "slow refreshing", 5ms, 5s, 5s },
            { "many processes", 32ms, 1s, 3200ms }, { "very many", 100ms, 5s, 10s } };
        for (const auto& row : rows)
            QCOMPARE_ROW(
                row.name, TopApps::pauseAfter(row.cost, row.refreshInterval).count(), row.pause.count());
    }

    // On a busy machine a sample takes long, and costs as little as ever.
    void costIsTheProcessorTimeOfTheLastSample()
    {
        cpu_set_t before;
        QCOMPARE(::sched_getaffinity(0, sizeof before, &before), 0);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(::sched_getcpu(), &one);
        QCOMPARE(::sched_setaffinity(0, sizeof one, &one), 0); // and the rival inherits it
        std::atomic<bool> isOver = false;
        std::thread rival([&isOver] {
            while (!isOver) { }
        });
        TopApps apps(QString(), {});
        auto cost = 0ns;
        const auto begin = std::chrono::steady_clock::now();
        auto elapsed = 0ns;
        while (elapsed < 300ms) {
            apps.sample(Column::cpu, {});
            cost += apps.cost();
            elapsed = std::chrono::steady_clock::now() - begin;
        }
        isOver = true;
        rival.join();
        ::sched_setaffinity(0, sizeof before, &before);
        QVERIFY(cost > 0ns);
        QVERIFY2(cost < elapsed * 8 / 10,
            qPrintable(QString::number(double(cost.count()) / double(elapsed.count()))));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, TopAppsTest)
#include "TopAppsTest.moc"
