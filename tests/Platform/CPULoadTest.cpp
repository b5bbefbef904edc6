#include "Platform/Machine/CPULoad.h"
#include "tests/Support/ProcessorTree.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class CPULoadTest : public QObject {
    Q_OBJECT
private:
    void write(const QMap<int, CoreTimes>& cores) const { writeText(statText(cores)); }
    void writeText(const QByteArray& text) const { m_tree->write(QStringLiteral("proc/stat"), text); }
    // The load of one core that spent `times` between two samples.
    double loadOf(const CoreTimes& times) const
    {
        write({ { 0, {} } });
        CPULoad load(m_tree->root());
        load.sample();
        write({ { 0, times } });
        load.sample();
        return load.cores().value(0, -1);
    }

    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void firstSampleGivesNoLoadButTheCores()
    {
        write(coresAfter(0, { 10, 20 }));
        CPULoad load(m_tree->root());
        load.sample();
        QCOMPARE(load.total(), 0.0);
        QCOMPARE(load.cores(), QList<double>({ 0.0, 0.0 }));
        QVERIFY(load.history().isEmpty());
    }

    void loadIsTheBusyShareBetweenTwoSamples()
    {
        write(coresAfter(0, { 10, 20, 0, 100 }));
        CPULoad load(m_tree->root());
        load.sample();
        write(coresAfter(1, { 10, 20, 0, 100 }));
        load.sample();
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
        writeText("cpu 0 0 0 0\ncpu0 0 0 0 0\n");
        CPULoad load(m_tree->root());
        load.sample();
        writeText("cpu 50 0 0 50\ncpu0 30 0 0 70\n");
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.3 }));
    }

    void efficiencyCoresComeFirst()
    {
        // The fast cores have the lower numbers here.
        const FakeMachine machine(6);
        machine.writeKind("cpu_core", "0-1\n");
        machine.writeKind("cpu_atom", "2-5\n");
        checkOrder(machine, { 90, 80, 30, 40, 50, 60 }, { 0.3, 0.4, 0.5, 0.6, 0.9, 0.8 }, 2);
    }

    void coresOfLessCapacityComeFirst()
    {
        const FakeMachine machine(6);
        machine.writeCapacities(0, 4, "485\n");
        machine.writeCapacities(4, 2, "1024\n");
        checkOrder(machine, { 10, 20, 30, 40, 90, 80 }, { 0.1, 0.2, 0.3, 0.4, 0.9, 0.8 }, 2);
    }

    void slowestOfThreeLevelsComesFirstAndOnlyTheFastestCounts()
    {
        const FakeMachine machine(5);
        machine.writeKind("cpu_core", "0\n");
        machine.writeKind("cpu_atom", "1-2\n");
        machine.writeKind("cpu_lowpower", "3-4\n");
        checkOrder(machine, { 90, 50, 60, 10, 20 }, { 0.1, 0.2, 0.5, 0.6, 0.9 }, 1);
    }

    void alikeCoresKeepTheKernelsOrder()
    {
        checkOrder(FakeMachine(4), { 40, 30, 20, 10 }, { 0.4, 0.3, 0.2, 0.1 }, 0);
    }

    void aCoreThatIsSwitchedOffIsGone()
    {
        const FakeMachine machine(4);
        machine.writeKind("cpu_core", "0-1\n");
        machine.writeKind("cpu_atom", "2-3\n");
        write(machine, coresAfter(0, { 90, 80, 10, 20 }));
        CPULoad load(machine.root());
        load.sample();
        machine.writeOnline("0,2-3\n");
        auto cores = coresAfter(1, { 90, 80, 10, 20 });
        cores.remove(1);
        write(machine, cores);
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.1, 0.2, 0.9 }));
        QCOMPARE(load.performanceCount(), 1);
        QCOMPARE(load.total(), 0.4);
    }

    void aCoreThatComesBackBeginsAnew()
    {
        write({ { 0, { .user = 100, .idle = 100 } } });
        CPULoad load(m_tree->root());
        load.sample();
        write({ { 0, { .user = 150, .idle = 150 } }, { 1, { .user = 70000, .idle = 1 } } });
        load.sample();
        // The second core has no earlier sample, so its load is 0 and the total leaves it out.
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.0 }));
        QCOMPARE(load.total(), 0.5);
        write({ { 0, { .user = 200, .idle = 200 } }, { 1, { .user = 70010, .idle = 91 } } });
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.1 }));
    }

    void aCounterThatGoesBackCountsAsNone()
    {
        write({ { 0, { .user = 100, .idle = 5000, .waiting = 400 } } });
        CPULoad load(m_tree->root());
        load.sample();
        write({ { 0, { .user = 150, .idle = 5050, .waiting = 100 } } });
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.5 }));
        // The next sample is measured from the lower value.
        write({ { 0, { .user = 150, .idle = 5050, .waiting = 200 } } });
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.0 }));
    }

    void samplesFasterThanTheCountersLeaveTheLoads()
    {
        write(coresAfter(0, { 50, 50 }));
        CPULoad load(m_tree->root());
        load.sample();
        write(coresAfter(1, { 50, 50 }));
        load.sample();
        load.sample();
        auto cores = coresAfter(1, { 50, 50 });
        cores[0].user += 2;
        write(cores);
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.5, 0.5 }));
        QCOMPARE(load.history().size(), 1);
        // The next sample that counts includes the ticks of the samples that were too early.
        cores[0].user += 8;
        cores[1].idle += 10;
        write(cores);
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 1.0, 0.0 }));
        QCOMPARE(load.total(), 0.5);
    }

    void historyHoldsTheLastTotalsOldestFirst()
    {
        CPULoad load(m_tree->root());
        QMap<int, CoreTimes> cores { { 0, {} } };
        for (quint64 busy = 0; busy <= 40; ++busy) {
            write(cores);
            load.sample();
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
        write(coresAfter(0, { 10 }));
        CPULoad load(m_tree->root());
        load.sample();
        write(coresAfter(1, { 10 }));
        load.sample();
        load.pause();
        // The load of the hour without samples does not get into the history.
        write(coresAfter(3600, { 100 }));
        load.sample();
        QVERIFY(load.history().isEmpty());
        write({ { 0, { .user = 1000 + 360'000 + 20, .idle = 9000 + 80 } } });
        load.sample();
        QCOMPARE(load.history(), QList<double>({ 0.2 }));
        QCOMPARE(load.cores(), QList<double>({ 0.2 }));
    }

    void manyCoresAreAllRead()
    {
        const QList<quint64> busy(700, 25);
        write(coresAfter(100'000'000, busy));
        CPULoad load(m_tree->root());
        load.sample();
        write(coresAfter(100'000'001, busy));
        load.sample();
        QCOMPARE(load.cores().size(), 700);
        QCOMPARE(load.cores().last(), 0.25);
    }

    void withoutTheFileThereAreNoCores()
    {
        CPULoad load(m_tree->root());
        load.sample();
        QCOMPARE(load.total(), 0.0);
        QVERIFY(load.cores().isEmpty());
        QCOMPARE(load.performanceCount(), 0);
    }

    void junkIsPassedOver_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("cores");
        QTest::newRow("nothing") << QByteArray() << 0;
        QTest::newRow("words") << QByteArray("what is this\n") << 0;
        QTest::newRow("cut") << QByteArray("cpu 1 2 3 4\ncpu0 1 2 3") << 0;
        QTest::newRow("cut in a number of a later counter") << QByteArray("cpu 1 2 3 4\ncpu0 1 2 3 4 5") << 1;
        QTest::newRow("negative") << QByteArray("cpu0 -1 2 3 4\ncpu1 1 2 3 4\n") << 1;
        QTest::newRow("beyond a number") << QByteArray("cpu0 99999999999999999999 2 3 4\n") << 0;
        QTest::newRow("largest numbers") << QByteArray(
            "cpu0 18446744073709551615 18446744073709551615 18446744073709551615 18446744073709551615\n")
                                         << 1;
        QTest::newRow("twice") << QByteArray("cpu0 1 2 3 4\ncpu0 1 2 3 4\n") << 1;
        QTest::newRow("beyond any machine") << QByteArray("cpu4000000 1 2 3 4\n") << 0;
        QTest::newRow("negative core") << QByteArray("cpu-1 1 2 3 4\n") << 0;
        QTest::newRow("named core") << QByteArray("cpux 1 2 3 4\ncpu1 1 2 3 4\n") << 1;
        QTest::newRow("zeros") << QByteArray("cpu0 0 0 0 0\n") << 1;
        QTest::newRow("no end") << QByteArray(100'000, 'c') << 0;
        QTest::newRow("zero bytes") << QByteArray(5000, '\0') << 0;
    }
    void junkIsPassedOver()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, cores);
        writeText(text);
        CPULoad load(m_tree->root());
        load.sample();
        QCOMPARE(load.cores().size(), cores);
        // Later samples are read as usual.
        write(coresAfter(0, { 10 }));
        load.sample();
        write(coresAfter(1, { 10 }));
        load.sample();
        QCOMPARE(load.total(), 0.1);
    }

    void loadsOfTheLargestNumbersAreShares()
    {
        writeText("cpu0 0 0 0 0 0 0 0 0\ncpu1 0 0 0 0\n");
        CPULoad load(m_tree->root());
        load.sample();
        const QByteArray largest = " 18446744073709551615";
        writeText("cpu0" + largest.repeated(8) + "\ncpu1" + largest.repeated(4) + '\n');
        load.sample();
        QCOMPARE(load.cores(), QList<double>({ 0.75, 0.75 }));
        QCOMPARE(load.total(), 0.75);
    }

    void thisMachineHasLoads()
    {
        CPULoad load;
        load.sample();
        QTest::qWait(100);
        load.sample();
        QCOMPARE(load.cores().size(), KernelValues().activeProcessorCount());
        QCOMPARE(load.history().size(), 1);
        QVERIFY(load.total() >= 0 && load.total() <= 1);
    }

private:
    static void write(const FakeMachine& machine, const QMap<int, CoreTimes>& cores)
    {
        machine.write(QStringLiteral("proc/stat"), statText(cores));
    }
    static void checkOrder(const FakeMachine& machine, const QList<quint64>& busy, const QList<double>& loads,
        int performanceCount)
    {
        write(machine, coresAfter(0, busy));
        CPULoad load(machine.root());
        load.sample();
        write(machine, coresAfter(1, busy));
        load.sample();
        QCOMPARE(load.cores(), loads);
        QCOMPARE(load.performanceCount(), performanceCount);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CPULoadTest)
#include "CPULoadTest.moc"
