#include "Platform/Machine/KernelValues.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/TestHome.h"

#include <unistd.h>

using namespace kestrum;

namespace {

// Names and thread counts of all levels, as in "Performance 16, Efficiency 16". "?" stands for an absent value, and "none"
// is returned if the number of levels is absent.
QString described(const KernelValues& kernel)
{
    QStringList result;
    const auto levels = kernel.integer("hw.nperflevels");
    for (qint64 level = 0; level < levels.value_or(0); ++level) {
        const QByteArray prefix = "hw.perflevel" + QByteArray::number(level);
        const auto count = kernel.integer(prefix + ".logicalcpu");
        result.append(QString::fromUtf8(kernel.text(prefix + ".name").value_or("?")) + u' '
            + (count ? QString::number(*count) : QStringLiteral("?")));
    }
    return levels ? result.join(QStringLiteral(", ")) : QStringLiteral("none");
}

} // namespace

class KernelValuesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void hybridProcessorHasALevelPerKind()
    {
        // Eight fast cores of two threads each, and sixteen slow cores of one thread.
        const FakeMachine machine(32);
        machine.writeKind("cpu_core", "0-15\n");
        machine.writeKind("cpu_atom", "16-31\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 16, Efficiency 16"));
        QCOMPARE(machine.kernel().activeProcessorCount(), 32);
    }

    void lowPowerCoresAreTheLastLevel()
    {
        const FakeMachine machine(16);
        machine.writeKind("cpu_core", "0-5\n");
        machine.writeKind("cpu_atom", "6-13\n");
        machine.writeKind("cpu_lowpower", "14-15\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 6, ? 8, Efficiency 2"));
    }

    void coresOfOneCapacityMakeALevel()
    {
        const FakeMachine machine(8);
        machine.writeCapacities(0, 4, "446\n");
        machine.writeCapacities(4, 4, "1024\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 4, Efficiency 4"));
    }

    void fastestCapacityComesFirst()
    {
        // Capacities are compared as numbers: 1024 is more than 446.
        const FakeMachine machine(8);
        machine.writeCapacities(0, 4, "250\n");
        machine.writeCapacities(4, 3, "981\n");
        machine.writeCapacities(7, 1, "1024\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 1, ? 3, Efficiency 4"));
    }

    void ordinaryMachineHasNoLevels()
    {
        const FakeMachine machine(8);
        QCOMPARE(described(machine.kernel()), QStringLiteral("none"));
        QCOMPARE(machine.kernel().integer("hw.perflevel0.logicalcpu"), std::nullopt);
        QCOMPARE(machine.kernel().text("hw.perflevel0.name"), std::nullopt);
        QCOMPARE(machine.kernel().activeProcessorCount(), 8);
    }

    void oneGroupIsNoLevel()
    {
        const FakeMachine equal(8);
        equal.writeCapacities(0, 8, "1024\n");
        QCOMPARE(described(equal.kernel()), QStringLiteral("none"));

        const FakeMachine oneKind(4);
        oneKind.writeKind("cpu_atom", "0-3\n");
        QCOMPARE(described(oneKind.kernel()), QStringLiteral("none"));
    }

    void kindsComeBeforeCapacities()
    {
        const FakeMachine machine(4);
        machine.writeKind("cpu_core", "0\n");
        machine.writeKind("cpu_atom", "1-3\n");
        machine.writeCapacities(0, 2, "1024\n");
        machine.writeCapacities(2, 2, "500\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 1, Efficiency 3"));
    }

    void coresThatAreOffAreNotCounted()
    {
        const FakeMachine hybrid(12, "0-2,4,8-11\n");
        hybrid.writeKind("cpu_core", "0-7\n");
        hybrid.writeKind("cpu_atom", "8-11\n");
        QCOMPARE(described(hybrid.kernel()), QStringLiteral("Performance 4, Efficiency 4"));
        QCOMPARE(hybrid.kernel().activeProcessorCount(), 8);

        const FakeMachine capacities(8, "0,4-6\n");
        capacities.writeCapacities(0, 4, "446\n");
        capacities.writeCapacities(4, 4, "1024\n");
        QCOMPARE(described(capacities.kernel()), QStringLiteral("Performance 3, Efficiency 1"));
    }

    void aLevelThatIsWhollyOffIsGone()
    {
        const FakeMachine listed(8, "0-3\n");
        listed.writeKind("cpu_core", "0-3\n");
        listed.writeKind("cpu_atom", "4-7\n");
        QCOMPARE(described(listed.kernel()), QStringLiteral("none"));

        // For a level without online processors, the kernel prints an empty list.
        listed.writeKind("cpu_atom", "\n");
        QCOMPARE(described(listed.kernel()), QStringLiteral("none"));

        const FakeMachine capacities(8, "4-7\n");
        capacities.writeCapacities(0, 4, "446\n");
        capacities.writeCapacities(4, 4, "1024\n");
        QCOMPARE(described(capacities.kernel()), QStringLiteral("none"));
    }

    void withoutAnOnlineListAllCoresCount()
    {
        const FakeMachine machine(8, "junk\n");
        machine.writeKind("cpu_core", "0-3\n");
        machine.writeKind("cpu_atom", "4-7\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 4, Efficiency 4"));
        QCOMPARE(machine.kernel().activeProcessorCount(), int(::sysconf(_SC_NPROCESSORS_ONLN)));
    }

    void junkInAListIsAbsent_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::newRow("word") << QByteArray("junk");
        QTest::newRow("backwards") << QByteArray("3-0");
        QTest::newRow("open range") << QByteArray("0-");
        QTest::newRow("open start") << QByteArray("-3");
        QTest::newRow("two dashes") << QByteArray("0-1-2");
        QTest::newRow("empty member") << QByteArray("0,,1");
        QTest::newRow("last comma") << QByteArray("0,1,");
        QTest::newRow("sign") << QByteArray("+1");
        QTest::newRow("blank inside") << QByteArray("0, 1");
        QTest::newRow("fraction") << QByteArray("1.5");
        QTest::newRow("zero byte") << QByteArray("0-3\0", 4);
        QTest::newRow("beyond any machine") << QByteArray("0-4000000000");
        QTest::newRow("large") << QByteArray("0-65536");
        QTest::newRow("beyond any number") << QByteArray("99999999999999999999");
    }
    void junkInAListIsAbsent()
    {
        QFETCH(QByteArray, list);
        const FakeMachine machine(8);
        machine.writeKind("cpu_core", list);
        machine.writeKind("cpu_atom", "4-7\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance ?, Efficiency 4"));

        machine.writeOnline(list);
        QCOMPARE(machine.kernel().activeProcessorCount(), int(::sysconf(_SC_NPROCESSORS_ONLN)));
    }

    void junkInACapacityIsAbsent()
    {
        const FakeMachine machine(8);
        machine.writeCapacities(0, 4, "446\n");
        machine.writeCapacities(4, 4, "1024\n");
        machine.writeCapacities(7, 1, "-1\n");
        machine.writeCapacities(6, 1, "fast\n");
        QCOMPARE(described(machine.kernel()), QStringLiteral("Performance 2, Efficiency 4"));
    }

    void onlineListOfSeveralRanges()
    {
        QCOMPARE(FakeMachine(12, "0-2,5,8-11\n").kernel().activeProcessorCount(), 8);
        QCOMPARE(FakeMachine(1, "0\n").kernel().activeProcessorCount(), 1);
        QCOMPARE(FakeMachine(4, "0-3,2-3\n").kernel().activeProcessorCount(), 4);
    }

    void emptyMachineFallsBackToTheSystemsCount()
    {
        const FileTree tree;
        const KernelValues kernel(tree.root());
        QCOMPARE(described(kernel), QStringLiteral("none"));
        QCOMPARE(kernel.activeProcessorCount(), int(::sysconf(_SC_NPROCESSORS_ONLN)));
    }

    void eachLevelKnowsItsProcessors()
    {
        using Levels = QList<QList<int>>;
        const FakeMachine kinds(8, "0-4,6-7\n");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels());
        kinds.writeKind("cpu_core", "0-1,4-5\n");
        kinds.writeKind("cpu_atom", "2-3,6-7\n");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels({ { 0, 1, 4 }, { 2, 3, 6, 7 } }));
        kinds.writeKind("cpu_core", "junk\n");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels({ {}, { 2, 3, 6, 7 } }));

        const FakeMachine capacities(4);
        capacities.writeCapacities(0, 3, "400\n");
        capacities.writeCapacities(3, 1, "1024\n");
        QCOMPARE(capacities.kernel().levelProcessors(), Levels({ { 3 }, { 0, 1, 2 } }));
    }

    void unknownNamesAreAbsent_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char* name :
            { "", "hw", "hw.ncpu", "hw.perflevel", "hw.perflevel.logicalcpu", "hw.perflevel2.logicalcpu",
                "hw.perflevel-1.logicalcpu", "hw.perflevel0", "hw.perflevel0.", "hw.perflevel0.logicalcpu.",
                "hw.perflevel99999999999.name", "hw.perflevel0.Name", " hw.nperflevels" })
            QTest::newRow(*name ? name : "empty") << QByteArray(name);
    }
    void unknownNamesAreAbsent()
    {
        QFETCH(QByteArray, name);
        const FakeMachine machine(4);
        machine.writeKind("cpu_core", "0-1\n");
        machine.writeKind("cpu_atom", "2-3\n");
        QCOMPARE(machine.kernel().integer(name), std::nullopt);
        QCOMPARE(machine.kernel().text(name), std::nullopt);
    }

    void numbersAreNoTextsAndTextsNoNumbers()
    {
        const FakeMachine machine(4);
        machine.writeKind("cpu_core", "0-1\n");
        machine.writeKind("cpu_atom", "2-3\n");
        QCOMPARE(machine.kernel().integer("hw.perflevel0.name"), std::nullopt);
        QCOMPARE(machine.kernel().text("hw.perflevel0.logicalcpu"), std::nullopt);
        QCOMPARE(machine.kernel().text("hw.nperflevels"), std::nullopt);
    }

    void thisMachineAnswers()
    {
        const KernelValues kernel;
        QCOMPARE(kernel.activeProcessorCount(), int(::sysconf(_SC_NPROCESSORS_ONLN)));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KernelValuesTest)
#include "KernelValuesTest.moc"
