#include "Platform/Machine/CPUPower.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;

class CPUPowerTest : public QObject {
    Q_OBJECT
private:
    void writeZone(const char* zone, const char* name, const QByteArray& energy,
        const QByteArray& range = "262143328850\n") const
    {
        writeEnergy(zone, energy);
        m_tree->write(path(zone, "name"), QByteArray(name) + '\n');
        m_tree->write(path(zone, "max_energy_range_uj"), range);
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
        writeZone("intel-rapl:0", "package-0", "1000000000");
        CPUPower power(m_tree->root());
        QCOMPARE(power.read(m_start), std::nullopt);
        writeEnergy("intel-rapl:0", "1025000000");
        QCOMPARE(power.read(m_start + 2s), std::optional(12.5));
        QCOMPARE(power.read(m_start + 3s), std::optional(0.0));
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

    void aCounterThatCameRoundIsCountedOn()
    {
        writeZone("intel-rapl:0", "package-0", "99000000", "100000000\n");
        CPUPower power(m_tree->root());
        power.read(m_start);
        writeEnergy("intel-rapl:0", "9000000");
        QCOMPARE(power.read(m_start + 1s), std::optional(10.0));
    }

    void aCounterThatWasSetBackIsNoPower()
    {
        writeZone("intel-rapl:0", "package-0", "200000000000");
        CPUPower power(m_tree->root());
        power.read(m_start);
        // The counter restarts, as after a suspend. An overflow within a second would need 62 kW.
        writeEnergy("intel-rapl:0", "5000000");
        QCOMPARE(power.read(m_start + 1s), std::nullopt);
        writeEnergy("intel-rapl:0", "15000000");
        QCOMPARE(power.read(m_start + 2s), std::optional(10.0));
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

    void countersForTheAdministratorOnlyAreAbsent()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        const QString energy = m_tree->path(path("intel-rapl:0", "energy_uj"));
        QVERIFY(QFile::setPermissions(energy, QFileDevice::Permissions()));
        const OrdinaryUser user({ m_tree->root() });
        CPUPower power(m_tree->root());
        for (int second = 0; second < 100; ++second)
            QCOMPARE(power.read(m_start + std::chrono::seconds(second)), std::nullopt);
    }

    void rightsThatComeLaterAreFound()
    {
        CPUPower power(m_tree->root());
        for (int second = 0; second < 100; ++second)
            QCOMPARE(power.read(m_start + std::chrono::seconds(second)), std::nullopt);
        writeZone("intel-rapl:0", "package-0", "0");
        bool isFound = false;
        for (int second = 100; second < 100 + KernelFile::longestPause + 3; ++second)
            isFound = isFound || power.read(m_start + std::chrono::seconds(second)).has_value();
        QVERIFY(isFound);
    }

    void noTimeBetweenTwoReadsIsNoPower()
    {
        writeZone("intel-rapl:0", "package-0", "0");
        CPUPower power(m_tree->root());
        power.read(m_start);
        writeEnergy("intel-rapl:0", "20000000");
        QCOMPARE(power.read(m_start), std::nullopt);
    }

    void junkIsAbsent_data()
    {
        QTest::addColumn<QByteArray>("energy");
        QTest::addColumn<QByteArray>("range");
        const QByteArray range = "262143328850";
        QTest::newRow("empty") << QByteArray() << range;
        QTest::newRow("word") << QByteArray("much") << range;
        QTest::newRow("negative") << QByteArray("-5") << range;
        QTest::newRow("beyond its range") << QByteArray("262143328851") << range;
        QTest::newRow("beyond a number") << QByteArray("99999999999999999999") << range;
        QTest::newRow("no range") << QByteArray("20000000") << QByteArray();
        QTest::newRow("negative range") << QByteArray("20000000") << QByteArray("-1");
        QTest::newRow("range of 0") << QByteArray("0") << QByteArray("0");
    }
    void junkIsAbsent()
    {
        QFETCH(QByteArray, energy);
        QFETCH(QByteArray, range);
        writeZone("intel-rapl:0", "package-0", energy, range);
        CPUPower power(m_tree->root());
        for (int second = 0; second < 5; ++second)
            QCOMPARE(power.read(m_start + std::chrono::seconds(second)), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CPUPowerTest)
#include "CPUPowerTest.moc"
