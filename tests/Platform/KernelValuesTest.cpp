#include "Platform/Machine/KernelValues.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <unistd.h>

using namespace kestrum;

namespace {

// Names and thread counts of all levels, as in "Performance 16, Efficiency 16". "?" stands for an absent value. Returns "none"
// if the number of levels is absent.
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

const int onlineHere = int(::sysconf(_SC_NPROCESSORS_ONLN));

} // namespace

class KernelValuesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void levelsAreKindsOrCapacitiesFastestFirst()
    {
        const struct : FakeMachine::Row {
            const char* levels;
            int active;
        } rows[] {
            // Eight fast cores of two threads each, and sixteen slow cores of one thread.
            { "two kinds", 32, {}, { { "cpu_core", "0-15" }, { "cpu_atom", "16-31" } }, {},
                "Performance 16, Efficiency 16", 32 },
            { "three kinds", 16, {},
                { { "cpu_core", "0-5" }, { "cpu_atom", "6-13" }, { "cpu_lowpower", "14-15" } }, {},
                "Performance 6, ? 8, Efficiency 2", 16 },
            { "two capacities", 8, {}, {}, { { 0, 4, "446" }, { 4, 4, "1024" } },
                "Performance 4, Efficiency 4", 8 },
            // Capacities are compared as numbers: 1024 is more than 250.
            { "three capacities", 8, {}, {}, { { 0, 4, "250" }, { 4, 3, "981" }, { 7, 1, "1024" } },
                "Performance 1, ? 3, Efficiency 4", 8 },
            { "all alike", 8, {}, {}, {}, "none", 8 },
            { "one capacity", 8, {}, {}, { { 0, 8, "1024" } }, "none", 8 },
            { "one kind", 4, {}, { { "cpu_atom", "0-3" } }, {}, "none", 4 },
            { "kinds before capacities", 4, {}, { { "cpu_core", "0" }, { "cpu_atom", "1-3" } },
                { { 0, 2, "1024" }, { 2, 2, "500" } }, "Performance 1, Efficiency 3", 4 },
            { "some of two kinds off", 12, "0-2,4,8-11", { { "cpu_core", "0-7" }, { "cpu_atom", "8-11" } },
                {}, "Performance 4, Efficiency 4", 8 },
            { "some of two capacities off", 8, "0,4-6", {}, { { 0, 4, "446" }, { 4, 4, "1024" } },
                "Performance 3, Efficiency 1", 4 },
            { "a kind off", 8, "0-3", { { "cpu_core", "0-3" }, { "cpu_atom", "4-7" } }, {}, "none", 4 },
            // For a level without online processors, the kernel prints an empty list.
            { "a kind off and its list empty", 8, "0-3", { { "cpu_core", "0-3" }, { "cpu_atom", "" } }, {},
                "none", 4 },
            { "a capacity off", 8, "4-7", {}, { { 0, 4, "446" }, { 4, 4, "1024" } }, "none", 4 },
            { "no online list", 8, "junk", { { "cpu_core", "0-3" }, { "cpu_atom", "4-7" } }, {},
                "Performance 4, Efficiency 4", onlineHere },
            { "junk in a capacity", 8, {}, {},
                { { 0, 4, "446" }, { 4, 4, "1024" }, { 7, 1, "-1" }, { 6, 1, "fast" } },
                "Performance 2, Efficiency 4", 8 },
            { "several ranges on", 12, "0-2,5,8-11", {}, {}, "none", 8 },
            { "one processor", 1, "0", {}, {}, "none", 1 },
            { "ranges that overlap", 4, "0-3,2-3", {}, {}, "none", 4 },
        };
        for (const auto& row : rows) {
            const FakeMachine machine(row);
            QCOMPARE_ROW(row.name, described(machine.kernel()), QString::fromLatin1(row.levels));
            QCOMPARE_ROW(row.name, machine.kernel().activeProcessorCount(), row.active);
        }
    }

    void junkInAListIsAbsent()
    {
        const FakeMachine machine(8, {}, { { "cpu_atom", "4-7" } });
        for (const QByteArray& list : { QByteArray("junk"), QByteArray("3-0"), QByteArray("0-"),
                 QByteArray("-3"), QByteArray("0-1-2"), QByteArray("0,,1"), QByteArray("0,1,"),
                 QByteArray("+1"), QByteArray("0, 1"), QByteArray("1.5"), QByteArray("0-3\0", 4),
                 QByteArray("0-4000000000"), QByteArray("0-65536"), QByteArray("99999999999999999999") }) {
            machine.writeKind("cpu_core", list);
            machine.writeOnline("0-7\n");
            QCOMPARE_ROW(list, described(machine.kernel()), QStringLiteral("Performance ?, Efficiency 4"));
            machine.writeOnline(list);
            QCOMPARE_ROW(list, machine.kernel().activeProcessorCount(), onlineHere);
        }
    }

    void emptyMachineFallsBackToTheSystemsCount()
    {
        const FileTree tree;
        const KernelValues kernel(tree.root());
        QCOMPARE(described(kernel), QStringLiteral("none"));
        QCOMPARE(kernel.activeProcessorCount(), onlineHere);
        QCOMPARE(KernelValues().activeProcessorCount(), onlineHere);
    }

    void eachLevelKnowsItsProcessors()
    {
        using Levels = QList<QList<int>>;
        const FakeMachine kinds(8, "0-4,6-7");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels());
        kinds.writeKind("cpu_core", "0-1,4-5\n");
        kinds.writeKind("cpu_atom", "2-3,6-7\n");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels({ { 0, 1, 4 }, { 2, 3, 6, 7 } }));
        kinds.writeKind("cpu_core", "junk\n");
        QCOMPARE(kinds.kernel().levelProcessors(), Levels({ {}, { 2, 3, 6, 7 } }));

        const FakeMachine capacities(4, {}, {}, { { 0, 3, "400" }, { 3, 1, "1024" } });
        QCOMPARE(capacities.kernel().levelProcessors(), Levels({ { 3 }, { 0, 1, 2 } }));
    }

    void namesOfNothingAndOfTheOtherTypeAreAbsent()
    {
        const FakeMachine alike(8);
        QCOMPARE(alike.kernel().integer("hw.perflevel0.logicalcpu"), std::nullopt);
        QCOMPARE(alike.kernel().text("hw.perflevel0.name"), std::nullopt);

        const FakeMachine machine(4, {}, { { "cpu_core", "0-1" }, { "cpu_atom", "2-3" } });
        const KernelValues kernel = machine.kernel();
        for (const char* name :
            { "", "hw", "hw.ncpu", "hw.perflevel", "hw.perflevel.logicalcpu", "hw.perflevel2.logicalcpu",
                "hw.perflevel-1.logicalcpu", "hw.perflevel0", "hw.perflevel0.", "hw.perflevel0.logicalcpu.",
                "hw.perflevel99999999999.name", "hw.perflevel0.Name", " hw.nperflevels" })
            QVERIFY2(!kernel.integer(name) && !kernel.text(name), name);
        QCOMPARE(kernel.integer("hw.perflevel0.name"), std::nullopt);
        QCOMPARE(kernel.text("hw.perflevel0.logicalcpu"), std::nullopt);
        QCOMPARE(kernel.text("hw.nperflevels"), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KernelValuesTest)
#include "KernelValuesTest.moc"
