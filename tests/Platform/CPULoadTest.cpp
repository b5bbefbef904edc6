#include "Platform/Machine/CPULoad.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <optional>

using namespace kestrum;

class CPULoadTest : public QObject {
    Q_OBJECT
private:
    using Cores = QMap<int, CoreTimes>;

    void write(const QByteArray& text) const { m_machine->write(QStringLiteral("proc/stat"), text); }
    void sample(CPULoad& load, const Cores& cores) const
    {
        write(statText(cores));
        load.sample();
    }
    CPULoad sampled(const QList<Cores>& samples) const
    {
        CPULoad load(m_machine->root());
        for (const Cores& cores : samples)
            sample(load, cores);
        return load;
    }
    // The load of one core whose times rose by `times` between two samples.
    double loadOf(const CoreTimes& times) const
    {
        return sampled({ Cores { { 0, {} } }, Cores { { 0, times } } }).cores().value(0, -1);
    }

    std::optional<FakeMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(1); }

    void firstSampleGivesNoLoadButTheCores()
    {
        const CPULoad load = sampled({ coresAfter(0, { 10, 20 }) });
        QCOMPARE(load.total(), 0.0);
        QCOMPARE(load.cores(), QList<double>({ 0.0, 0.0 }));
        QVERIFY(load.history().isEmpty());
    }

    void loadIsTheBusyShareBetweenTwoSamples()
    {
        const QList<quint64> busy { 10, 20, 0, 100 };
        const CPULoad load = sampled({ coresAfter(0, busy), coresAfter(1, busy) });
        QCOMPARE(load.cores(), QList<double>({ 0.1, 0.2, 0.0, 1.0 }));
        QCOMPARE(load.total(), 1.3 / 4);
        QCOMPARE(load.history(), QList<double>({ 1.3 / 4 }));
    }

    void allKindsOfWorkAreLoad()
    {
        QCOMPARE(
            loadOf(
                { .user = 10, .nice = 10, .system = 10, .idle = 40, .interrupts = 10, .softInterrupts = 20 }),
            0.6);
    }
    void waitingForADiskIsIdle() { QCOMPARE(loadOf({ .user = 25, .idle = 25, .waiting = 50 }), 0.25); }
    void timeOfGuestsIsNotCountedTwice() { QCOMPARE(loadOf({ .user = 50, .idle = 50, .guest = 50 }), 0.5); }
    void stolenTimeIsLoad() { QCOMPARE(loadOf({ .user = 10, .idle = 50, .stolen = 40 }), 0.5); }

    void fourCountersAreEnough()
    {
        write("cpu 0 0 0 0\ncpu0 0 0 0 0\n");
        CPULoad load(m_machine->root());
        load.sample();
        write("cpu 50 0 0 50\ncpu0 30 0 0 70\n");
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.3 }));
    }

    void slowestLevelComesFirstAndOnlyTheFastestCounts()
    {
        const struct {
            const char* name;
            FakeMachine::Kinds kinds;
            QList<FakeMachine::Capacity> capacities;
            QList<quint64> busy;
            QList<double> loads;
            int performanceCount;
        } rows[] {
            // In this row, the fast cores have the lower numbers.
            { "kinds", { { "cpu_core", "0-1" }, { "cpu_atom", "2-5" } }, {}, { 90, 80, 30, 40, 50, 60 },
                { 0.3, 0.4, 0.5, 0.6, 0.9, 0.8 }, 2 },
            { "capacities", {}, { { 0, 4, "485" }, { 4, 2, "1024" } }, { 10, 20, 30, 40, 90, 80 },
                { 0.1, 0.2, 0.3, 0.4, 0.9, 0.8 }, 2 },
            { "three levels", { { "cpu_core", "0" }, { "cpu_atom", "1-2" }, { "cpu_lowpower", "3-4" } }, {},
                { 90, 50, 60, 10, 20 }, { 0.1, 0.2, 0.5, 0.6, 0.9 }, 1 },
            { "all alike: the kernel's order", {}, {}, { 40, 30, 20, 10 }, { 0.4, 0.3, 0.2, 0.1 }, 0 },
        };
        for (const auto& row : rows) {
            m_machine.emplace(int(row.busy.size()), QByteArray(), row.kinds, row.capacities);
            const CPULoad load = sampled({ coresAfter(0, row.busy), coresAfter(1, row.busy) });
            QCOMPARE_ROW(row.name, load.cores(), row.loads);
            QCOMPARE_ROW(row.name, load.performanceCount(), row.performanceCount);
        }
    }

    void aCoreThatIsSwitchedOffIsGone()
    {
        m_machine.emplace(
            4, QByteArray(), FakeMachine::Kinds { { "cpu_core", "0-1" }, { "cpu_atom", "2-3" } });
        CPULoad load = sampled({ coresAfter(0, { 90, 80, 10, 20 }) });
        m_machine->writeOnline("0,2-3\n");
        auto cores = coresAfter(1, { 90, 80, 10, 20 });
        cores.remove(1);
        sample(load, cores);
        QCOMPARE(load.cores(), QList<double>({ 0.1, 0.2, 0.9 }));
        QCOMPARE(load.numbers(), QList<int>({ 2, 3, 0 }));
        QCOMPARE(load.performanceCount(), 1);
        QCOMPARE(load.total(), 0.4);
    }

    void aCoreThatComesBackBeginsAnew()
    {
        CPULoad load = sampled({ Cores { { 0, { .user = 100, .idle = 100 } } },
            Cores { { 0, { .user = 150, .idle = 150 } }, { 1, { .user = 70000, .idle = 1 } } } });
        // The second core has no earlier sample, so its load is 0 and the total leaves it out.
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.0 }));
        QCOMPARE(load.total(), 0.5);
        sample(load, { { 0, { .user = 200, .idle = 200 } }, { 1, { .user = 70010, .idle = 91 } } });
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.1 }));
    }

    void aCounterThatGoesBackCountsAsNone()
    {
        CPULoad load = sampled({ Cores { { 0, { .user = 100, .idle = 5000, .waiting = 400 } } },
            Cores { { 0, { .user = 150, .idle = 5050, .waiting = 100 } } } });
        QCOMPARE(load.cores(), QList<double>({ 0.5 }));
        // The next sample is compared with the lower value.
        sample(load, { { 0, { .user = 150, .idle = 5050, .waiting = 200 } } });
        QCOMPARE(load.cores(), QList<double>({ 0.0 }));
    }

    void samplesFasterThanTheCountersLeaveTheLoads()
    {
        auto cores = coresAfter(1, { 50, 50 });
        CPULoad load = sampled({ coresAfter(0, { 50, 50 }), cores });
        load.sample();
        cores[0].user += 2;
        sample(load, cores);
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.5 }));
        QCOMPARE(load.history().size(), 1);
        // The next valid sample includes the ticks of the samples that were too early.
        cores[0].user += 8;
        cores[1].idle += 10;
        sample(load, cores);
        QCOMPARE(load.cores(), QList<double>({ 1.0, 0.0 }));
        QCOMPARE(load.total(), 0.5);
    }

    void historyHoldsTheLastTotalsOldestFirst()
    {
        CPULoad load(m_machine->root());
        Cores cores { { 0, {} } };
        for (quint64 busy = 0; busy <= 40; ++busy) {
            sample(load, cores);
            cores[0].user += busy;
            cores[0].idle += 100 - busy;
        }
        QCOMPARE(load.history().size(), 36);
        QCOMPARE(load.history().first(), 0.04);
        QCOMPARE(load.history().last(), 0.39);
        QVERIFY(std::is_sorted(load.history().begin(), load.history().end()));
    }

    void afterAPauseTheNextSampleIsAFirstOne()
    {
        CPULoad load = sampled({ coresAfter(0, { 10 }), coresAfter(1, { 10 }) });
        load.pause();
        // The history does not get the load of the hour without samples.
        sample(load, coresAfter(3600, { 100 }));
        QVERIFY(load.history().isEmpty());
        sample(load, { { 0, { .user = 1000 + 360'000 + 20, .idle = 9000 + 80 } } });
        QCOMPARE(load.history(), QList<double>({ 0.2 }));
        QCOMPARE(load.cores(), QList<double>({ 0.2 }));
    }

    void manyCoresAreAllRead()
    {
        const QList<quint64> busy(700, 25);
        const CPULoad load = sampled({ coresAfter(100'000'000, busy), coresAfter(100'000'001, busy) });
        QCOMPARE(load.cores().size(), 700);
        QCOMPARE(load.cores().last(), 0.25);
    }

    void withoutTheFileThereAreNoCores()
    {
        CPULoad load(m_machine->root());
        load.sample();
        QCOMPARE(load.total(), 0.0);
        QVERIFY(load.cores().isEmpty());
        QCOMPARE(load.performanceCount(), 0);
    }

    void junkIsPassedOver_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("cores");
        const auto row = [](const char* name, const QByteArray& text, int cores) {
            QTest::newRow(name) << text << cores;
        };
        row("nothing", {}, 0);
        row("words", "what is this\n", 0);
        row("cut", "cpu 1 2 3 4\ncpu0 1 2 3", 0);
        row("cut in a number of a later counter", "cpu 1 2 3 4\ncpu0 1 2 3 4 5", 1);
        row("negative", "cpu0 -1 2 3 4\ncpu1 1 2 3 4\n", 1);
        row("beyond a number", "cpu0 99999999999999999999 2 3 4\n", 0);
        row("largest numbers", "cpu0" + QByteArray(" 18446744073709551615").repeated(4) + '\n', 1);
        row("twice", "cpu0 1 2 3 4\ncpu0 1 2 3 4\n", 1);
        row("beyond any machine", "cpu4000000 1 2 3 4\n", 0);
        row("negative core", "cpu-1 1 2 3 4\n", 0);
        row("named core", "cpux 1 2 3 4\ncpu1 1 2 3 4\n", 1);
        row("zeros", "cpu0 0 0 0 0\n", 1);
        row("no end", QByteArray(100'000, 'c'), 0);
        row("zero bytes", QByteArray(5000, '\0'), 0);
    }
    void junkIsPassedOver()
    {
        QFETCH(QByteArray, text);
        write(text);
        CPULoad load(m_machine->root());
        load.sample();
        QTEST(int(load.cores().size()), "cores");
        // Later samples are read as usual.
        sample(load, coresAfter(0, { 10 }));
        sample(load, coresAfter(1, { 10 }));
        QCOMPARE(load.total(), 0.1);
    }

    void loadsOfTheLargestNumbersAreShares()
    {
        write("cpu0 0 0 0 0 0 0 0 0\ncpu1 0 0 0 0\n");
        CPULoad load(m_machine->root());
        load.sample();
        const QByteArray largest = " 18446744073709551615";
        write("cpu0" + largest.repeated(8) + "\ncpu1" + largest.repeated(4) + '\n');
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.75, 0.75 }));
        QCOMPARE(load.total(), 0.75);
    }

    void thisMachineHasLoads()
    {
        CPULoad load;
        load.sample();
        QVERIFY(QTest::qWaitFor([&load] {
            load.sample();
            return !load.history().isEmpty();
        }));
        QCOMPARE(load.cores().size(), KernelValues().activeProcessorCount());
        QCOMPARE(load.history().size(), 1);
        QVERIFY(load.total() >= 0 && load.total() <= 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CPULoadTest)
#include "CPULoadTest.moc"
