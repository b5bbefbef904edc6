#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <unistd.h>

using namespace kestrum;

namespace {

CoreTier tier(const char* name, int count)
{
    return { QString::fromLatin1(name), count };
}

} // namespace

class CoreTopologyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachLevelWithACountIsATier()
    {
        const struct : FakeMachine::Row {
            QList<CoreTier> tiers;
            int total;
        } rows[] {
            { "two levels", 12, {}, { { "cpu_core", "0-7" }, { "cpu_atom", "8-11" } }, {},
                { tier("Performance", 8), tier("Efficiency", 4) }, 12 },
            { "no levels: the active processors", 8, "0-4", {}, {}, {}, 5 },
            { "a level without a name", 8, {}, {}, { { 0, 4, "250" }, { 4, 3, "700" }, { 7, 1, "1024" } },
                { tier("Performance", 1), tier("Level 1", 3), tier("Efficiency", 4) }, 8 },
            // The first level has no count and is omitted, so the second level is the first one in the list.
            { "the index in a name is the level's own", 12, {},
                { { "cpu_core", "junk" }, { "cpu_atom", "8-11" }, { "cpu_lowpower", "0-1" } }, {},
                { tier("Level 1", 4), tier("Efficiency", 2) }, 6 },
            { "a level without a count", 12, {}, { { "cpu_core", "junk" }, { "cpu_atom", "8-11" } }, {},
                { tier("Efficiency", 4) }, 4 },
            { "no counts: the active processors", 12, {}, { { "cpu_core", "junk" }, { "cpu_atom", "junk" } },
                {}, {}, 12 },
        };
        for (const auto& row : rows) {
            const FakeMachine machine(row);
            const QList<CoreTier> tiers = CoreTopology::tiers(machine.kernel());
            QCOMPARE_ROW(row.name, tiers, row.tiers);
            QCOMPARE_ROW(row.name, CoreTopology::totalCores(tiers, machine.kernel()), row.total);
        }
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
