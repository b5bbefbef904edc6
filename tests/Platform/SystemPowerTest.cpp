#include "Platform/Machine/SystemPower.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class SystemPowerTest : public QObject {
    Q_OBJECT
private:
    using Attributes = QList<std::pair<const char*, QByteArray>>;
    void write(const char* supply, const Attributes& attributes) const
    {
        for (const auto& [name, value] : attributes)
            m_tree->write(QStringLiteral("sys/class/power_supply/%1/%2")
                              .arg(QLatin1StringView(supply), QLatin1StringView(name)),
                value + '\n');
    }
    std::optional<double> read() const { return SystemPower(m_tree->root()).read(); }
    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void aDischargingBatteryGivesThePower()
    {
        write("AC", { { "type", "Mains" }, { "online", "0" } });
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "8400000" } });
        QCOMPARE(read(), std::optional(8.4));
    }

    void currentAndVoltageMakePowerToo()
    {
        write("BAT0",
            { { "type", "Battery" }, { "status", "Discharging" }, { "current_now", "1500000" },
                { "voltage_now", "12000000" } });
        QCOMPARE(read(), std::optional(18.0));
        // Some drivers report the current of a discharging battery as negative.
        write("BAT0", { { "current_now", "-2000000" } });
        QCOMPARE(read(), std::optional(24.0));
    }

    void dischargingBatteriesAreAddedUp()
    {
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "8000000" } });
        write("BAT1", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "0" } });
        write("BAT2", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "3000000" } });
        write("BAT3", { { "type", "Battery" }, { "status", "Not charging" }, { "power_now", "7000000" } });
        QCOMPARE(read(), std::optional(11.0));
    }

    void oneUnmeasuredBatteryLeavesNoSum()
    {
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "8000000" } });
        write("BAT1", { { "type", "Battery" }, { "status", "Discharging" } });
        QCOMPARE(read(), std::nullopt);
    }

    void whatGoesIntoABatteryIsNotTheSystems()
    {
        write("AC", { { "type", "Mains" }, { "online", "1" } });
        write("BAT0", { { "type", "Battery" }, { "status", "Charging" }, { "power_now", "30000000" } });
        QCOMPARE(read(), std::nullopt);
        // If the adapter measures its power, the system uses that power less the battery's.
        write("AC", { { "power_now", "52000000" } });
        QCOMPARE(read(), std::optional(22.0));
    }

    void adaptersThatAreOffDoNotCount()
    {
        write("AC", { { "type", "Mains" }, { "online", "0" }, { "power_now", "52000000" } });
        QCOMPARE(read(), std::nullopt);
    }

    void batteriesOfMiceAreNotTheMachines()
    {
        write("hidpp_battery_0",
            { { "type", "Battery" }, { "scope", "Device" }, { "status", "Discharging" },
                { "power_now", "1000" } });
        QCOMPARE(read(), std::nullopt);
    }

    void whatWasAgreedUponAtAPortIsNoMeasurement()
    {
        write("ucsi-source-psy-USBC000:001",
            { { "type", "USB" }, { "online", "1" }, { "current_now", "3000000" },
                { "voltage_now", "20000000" } });
        QCOMPARE(read(), std::nullopt);
    }

    void aBatteryThatIsPutInIsFound()
    {
        SystemPower power(m_tree->root());
        QCOMPARE(power.read(), std::nullopt);
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "8000000" } });
        QCOMPARE(power.read(), std::optional(8.0));
        QVERIFY(QDir(m_tree->path(QStringLiteral("sys/class/power_supply/BAT0"))).removeRecursively());
        QCOMPARE(power.read(), std::nullopt);
    }

    void valuesAreReadAnew()
    {
        SystemPower power(m_tree->root());
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", "8000000" } });
        QCOMPARE(power.read(), std::optional(8.0));
        write("BAT0", { { "power_now", "9500000" } });
        QCOMPARE(power.read(), std::optional(9.5));
        write("BAT0", { { "status", "Charging" } });
        QCOMPARE(power.read(), std::nullopt);
    }

    void junkIsAbsent_data()
    {
        QTest::addColumn<QByteArray>("power");
        for (const char* power :
            { "", "0", "lots", "99999999999999999999", "20000000000000", "-9223372036854775808" })
            QTest::addRow("'%s'", power) << QByteArray(power);
    }
    void junkIsAbsent()
    {
        QFETCH(QByteArray, power);
        write("BAT0", { { "type", "Battery" }, { "status", "Discharging" }, { "power_now", power } });
        QCOMPARE(read(), std::nullopt);
        write("BAT0", { { "current_now", power }, { "voltage_now", power } });
        QCOMPARE(read(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SystemPowerTest)
#include "SystemPowerTest.moc"
