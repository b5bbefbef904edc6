#include "Platform/Machine/CPUPower.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;

class CPUPowerTest : public QObject {
    Q_OBJECT
private:
    void writeZone(const char* zone, const char* name, const QByteArray& energy,
        const QByteArray& range = "262143328850") const
    {
        writeEnergy(zone, energy);
        m_tree->write(path(zone, "name"), QByteArray(name) + '\n');
        m_tree->write(path(zone, "max_energy_range_uj"), range.isEmpty() ? range : range + '\n');
    }
    void writeEnergy(const char* zone, const QByteArray& energy) const
    {
        m_tree->write(path(zone, "energy_uj"), energy + '\n');
    }
    static QString path(const char* zone, const char* file)
    {
        return QStringLiteral("sys/class/powercap/%1/%2")
            .arg(QLatin1StringView(zone), QLatin1StringView(file));
    }

    std::unique_ptr<FileTree> m_tree;
    CPUPower::Clock::time_point m_start = CPUPower::Clock::now();

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void powerIsTheEnergyBetweenTwoReads()
    {
        struct Read {
            std::chrono::seconds at;
            QByteArray energy;
            std::optional<double> watts;
        };
        const struct {
            const char* name;
            QByteArray range;
            QList<Read> reads;
        } rows[] {
            { "three reads", "262143328850",
                { { 0s, "1000000000", {} }, { 2s, "1025000000", 12.5 }, { 3s, "1026000000", 1.0 } } },
            { "a counter that stands still", "262143328850",
                { { 0s, "1000000000", {} }, { 1s, "1000000000", {} }, { 2s, "1000000000", {} } } },
            { "a counter that came round", "100000000", { { 0s, "99000000", {} }, { 1s, "9000000", 10.0 } } },
            // The counter restarts, as after a suspend. An overflow within a second would need 62 kW.
            { "a counter that was set back", "262143328850",
                { { 0s, "200000000000", {} }, { 1s, "5000000", {} }, { 2s, "15000000", 10.0 } } },
            { "no time between", "262143328850", { { 0s, "0", {} }, { 0s, "20000000", {} } } },
        };
        for (const auto& row : rows) {
            writeZone("intel-rapl:0", "package-0", "0", row.range);
            CPUPower power(m_tree->root());
            for (const Read& read : row.reads) {
                writeEnergy("intel-rapl:0", read.energy);
                QCOMPARE_ROW(row.name, power.read(m_start + read.at), read.watts);
            }
        }
    }

    void packagesAreAddedUpAndTheirPartsAreNot()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        writeZone("intel-rapl:1", "package-1", "0");
        writeZone("intel-rapl:0:0", "core", "0");
        writeZone("intel-rapl:2", "psys", "0");
        writeZone("intel-rapl-mmio:0", "package-0", "0");
        m_tree->write(path("intel-rapl", "enabled"), "1\n");
        CPUPower power(m_tree->root());
        QCOMPARE(power.read(m_start), std::nullopt);
        for (const char* zone : { "intel-rapl:0:0", "intel-rapl:2", "intel-rapl-mmio:0" })
            writeEnergy(zone, "900000000");
        writeEnergy("intel-rapl:0", "20000000");
        writeEnergy("intel-rapl:1", "15000000");
        QCOMPARE(power.read(m_start + 1s), std::optional(35.0));
    }

    void afterAPauseTheNextReadIsAFirstOne()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        CPUPower power(m_tree->root());
        power.read(m_start);
        power.pause();
        writeEnergy("intel-rapl:0", "5000000");
        QCOMPARE(power.read(m_start + 3600s), std::nullopt);
        writeEnergy("intel-rapl:0", "25000000");
        QCOMPARE(power.read(m_start + 3601s), std::optional(20.0));
    }

    void withOneUnreadablePackageThereIsNoSum()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        writeZone("intel-rapl:1", "package-1", "0");
        QVERIFY(QFile::remove(m_tree->path(path("intel-rapl:1", "energy_uj"))));
        CPUPower power(m_tree->root());
        power.read(m_start);
        writeEnergy("intel-rapl:0", "20000000");
        QCOMPARE(power.read(m_start + 1s), std::nullopt);
    }

    void countersForTheAdministratorOnlyAreDenied()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        writeZone("intel-rapl:1", "package-1", "0");
        const QString energy = m_tree->path(path("intel-rapl:1", "energy_uj"));
        QVERIFY(QFile::setPermissions(energy, QFileDevice::Permissions()));
        const OrdinaryUser user({ m_tree->root(), energy });
        CPUPower power(m_tree->root());
        QVERIFY(!power.isDenied());
        int second = 0;
        for (; second < 100; ++second) {
            QCOMPARE(power.read(m_start + std::chrono::seconds(second)), std::nullopt);
            QVERIFY(power.isDenied());
        }
        QVERIFY(QFile::setPermissions(energy, QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        // The first successful read has none to be compared with.
        const int last = second + KernelFile::longestPause + 2;
        std::optional<double> watts;
        for (; !watts && second < last; ++second) {
            kestrum::write(energy, QByteArray::number(second * 7'000'000) + '\n');
            watts = power.read(m_start + std::chrono::seconds(second));
        }
        QCOMPARE(watts, std::optional(7.0));
        QVERIFY(!power.isDenied());
    }

    void whatDoesNotExistIsNotDenied()
    {
        CPUPower none(m_tree->root());
        writeZone("intel-rapl:0", "package-0", "0");
        CPUPower lost(m_tree->root());
        lost.read(m_start);
        QVERIFY(QFile::remove(m_tree->path(path("intel-rapl:0", "energy_uj"))));
        for (int second = 1; second < 5; ++second) {
            QCOMPARE(none.read(m_start + std::chrono::seconds(second)), std::nullopt);
            QCOMPARE(lost.read(m_start + std::chrono::seconds(second)), std::nullopt);
            QVERIFY(!none.isDenied() && !lost.isDenied());
        }
    }

    void rightsThatComeLaterAreFound()
    {
        CPUPower power(m_tree->root());
        for (int second = 0; second < 100; ++second)
            QCOMPARE(power.read(m_start + std::chrono::seconds(second)), std::nullopt);
        writeZone("intel-rapl:0", "package-0", "0");
        bool isFound = false;
        for (int second = 100; second < 100 + KernelFile::longestPause + 3; ++second) {
            writeEnergy("intel-rapl:0", QByteArray::number(second * 3'000'000));
            isFound = isFound || power.read(m_start + std::chrono::seconds(second)) == std::optional(3.0);
        }
        QVERIFY(isFound);
    }

    void junkIsAbsent()
    {
        const QByteArray range = "262143328850";
        const struct {
            const char* name;
            QByteArray energy;
            QByteArray range;
        } rows[] {
            { "empty", {}, range },
            { "word", "much", range },
            { "negative", "-5", range },
            { "beyond its range", "262143328851", range },
            { "beyond a number", "99999999999999999999", range },
            { "no range", "20000000", {} },
            { "negative range", "20000000", "-1" },
            { "range of 0", "0", "0" },
        };
        for (const auto& row : rows) {
            writeZone("intel-rapl:0", "package-0", row.energy, row.range);
            CPUPower power(m_tree->root());
            for (int second = 0; second < 5; ++second)
                QCOMPARE_ROW(row.name, power.read(m_start + std::chrono::seconds(second)), std::nullopt);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CPUPowerTest)
#include "CPUPowerTest.moc"
