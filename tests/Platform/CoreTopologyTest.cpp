#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/TestHome.h"

#include <unistd.h>

using namespace kestrum;

namespace {

FakeMachine hybridMachine()
{
    FakeMachine machine(12);
    machine.writeKind("cpu_core", "0-7\n");
    machine.writeKind("cpu_atom", "8-11\n");
    return machine;
}

CoreTier tier(const char* name, int count)
{
    return { QString::fromLatin1(name), count };
}

int totalOf(const KernelValues& kernel)
{
    return CoreTopology::totalCores(CoreTopology::tiers(kernel), kernel);
}

} // namespace

class CoreTopologyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void twoLevelsGiveTwoTiersInTheirOrder()
    {
        const FakeMachine machine = hybridMachine();
        QCOMPARE(CoreTopology::tiers(machine.kernel()),
            QList<CoreTier>({ tier("Performance", 8), tier("Efficiency", 4) }));
        QCOMPARE(totalOf(machine.kernel()), 12);
    }

    void withoutLevelsTheTotalIsTheActiveProcessors()
    {
        const FakeMachine machine(8, "0-4\n");
        QVERIFY(CoreTopology::tiers(machine.kernel()).isEmpty());
        QCOMPARE(totalOf(machine.kernel()), 5);
    }

    void aLevelWithoutANameIsNamedByItsIndex()
    {
        const FakeMachine machine(8);
        machine.writeCapacities(0, 4, "250\n");
        machine.writeCapacities(4, 3, "700\n");
        machine.writeCapacities(7, 1, "1024\n");
        QCOMPARE(CoreTopology::tiers(machine.kernel()),
            QList<CoreTier>({ tier("Performance", 1), tier("Level 1", 3), tier("Efficiency", 4) }));
        QCOMPARE(totalOf(machine.kernel()), 8);
    }

    void theIndexInANameIsTheLevelsOwn()
    {
        // The first level has no count and is left out, so the second level is the first in the list.
        const FakeMachine machine = hybridMachine();
        machine.writeKind("cpu_core", "junk\n");
        machine.writeKind("cpu_lowpower", "0-1\n");
        QCOMPARE(CoreTopology::tiers(machine.kernel()),
            QList<CoreTier>({ tier("Level 1", 4), tier("Efficiency", 2) }));
    }

    void aLevelWithoutACountIsLeftOut()
    {
        const FakeMachine machine = hybridMachine();
        machine.writeKind("cpu_core", "junk\n");
        QCOMPARE(CoreTopology::tiers(machine.kernel()), QList<CoreTier>({ tier("Efficiency", 4) }));
        QCOMPARE(totalOf(machine.kernel()), 4);
    }

    void allCountsAbsentFallsBackToTheActiveProcessors()
    {
        const FakeMachine machine = hybridMachine();
        machine.writeKind("cpu_core", "junk\n");
        machine.writeKind("cpu_atom", "junk\n");
        QVERIFY(CoreTopology::tiers(machine.kernel()).isEmpty());
        QCOMPARE(totalOf(machine.kernel()), 12);
    }

    void thisMachinesTiersAreFoundOnceAndCanBeReplaced()
    {
        const QList<CoreTier> found = CoreTopology::tiers();
        QCOMPARE(found, CoreTopology::tiers(KernelValues()));
        QCOMPARE(&CoreTopology::tiers(), &CoreTopology::tiers());
        if (found.isEmpty())
            QCOMPARE(CoreTopology::totalCores(), int(::sysconf(_SC_NPROCESSORS_ONLN)));

        CoreTopology::useTiers({ tier("Performance", 12), tier("Efficiency", 4) });
        QCOMPARE(CoreTopology::tiers().size(), 2);
        QCOMPARE(CoreTopology::totalCores(), 16);
        CoreTopology::useTiers(found);
        QCOMPARE(CoreTopology::tiers(), found);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CoreTopologyTest)
#include "CoreTopologyTest.moc"
