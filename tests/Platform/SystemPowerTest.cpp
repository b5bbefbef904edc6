#include "Platform/Machine/SystemPower.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
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
    static Attributes battery(const char* status, const Attributes& others)
    {
        return Attributes { { "type", "Battery" }, { "status", status } } + others;
    }
    std::optional<double> read() const { return SystemPower(m_tree->root()).read(); }
    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void powerIsWhatDischargingBatteriesOrAdaptersMeasure()
    {
        const Attributes discharging = battery("Discharging", { { "power_now", "8000000" } });
        const struct {
            const char* name;
            QList<std::pair<const char*, Attributes>> supplies;
            std::optional<double> watts;
        } rows[] {
            { "a discharging battery",
                { { "AC", { { "type", "Mains" }, { "online", "0" } } },
                    { "BAT0", battery("Discharging", { { "power_now", "8400000" } }) } },
                8.4 },
            { "current and voltage",
                { { "BAT0",
                    battery(
                        "Discharging", { { "current_now", "1500000" }, { "voltage_now", "12000000" } }) } },
                18.0 },
            // Some drivers report the current of a discharging battery as negative.
            { "negative current",
                { { "BAT0",
                    battery(
                        "Discharging", { { "current_now", "-2000000" }, { "voltage_now", "12000000" } }) } },
                24.0 },
            { "several batteries",
                { { "BAT0", discharging }, { "BAT1", battery("Discharging", { { "power_now", "0" } }) },
                    { "BAT2", battery("Discharging", { { "power_now", "3000000" } }) },
                    { "BAT3", battery("Not charging", { { "power_now", "7000000" } }) } },
                11.0 },
            { "one battery without a measurement",
                { { "BAT0", discharging }, { "BAT1", battery("Discharging", {}) } }, {} },
            { "only what goes into a battery",
                { { "AC", { { "type", "Mains" }, { "online", "1" } } },
                    { "BAT0", battery("Charging", { { "power_now", "30000000" } }) } },
                {} },
            { "an adapter's power less the battery's",
                { { "AC", { { "type", "Mains" }, { "online", "1" }, { "power_now", "52000000" } } },
                    { "BAT0", battery("Charging", { { "power_now", "30000000" } }) } },
                22.0 },
            { "an adapter that is off",
                { { "AC", { { "type", "Mains" }, { "online", "0" }, { "power_now", "52000000" } } } }, {} },
            { "a mouse's battery",
                { { "hidpp_battery_0",
                    battery("Discharging", { { "scope", "Device" }, { "power_now", "1000" } }) } },
                {} },
            { "what was agreed upon at a port",
                { { "ucsi-source-psy-USBC000:001",
                    { { "type", "USB" }, { "online", "1" }, { "current_now", "3000000" },
                        { "voltage_now", "20000000" } } } },
                {} },
        };
        for (const auto& row : rows) {
            init();
            for (const auto& [supply, attributes] : row.supplies)
                write(supply, attributes);
            QCOMPARE_ROW(row.name, read(), row.watts);
        }
    }

    void aBatteryThatIsPutInIsFound()
    {
        SystemPower power(m_tree->root());
        QCOMPARE(power.read(), std::nullopt);
        write("BAT0", battery("Discharging", { { "power_now", "8000000" } }));
        QCOMPARE(power.read(), std::optional(8.0));
        QVERIFY(QDir(m_tree->path(QStringLiteral("sys/class/power_supply/BAT0"))).removeRecursively());
        QCOMPARE(power.read(), std::nullopt);
    }

    void valuesAreReadAnew()
    {
        SystemPower power(m_tree->root());
        write("BAT0", battery("Discharging", { { "power_now", "8000000" } }));
        QCOMPARE(power.read(), std::optional(8.0));
        write("BAT0", { { "power_now", "9500000" } });
        QCOMPARE(power.read(), std::optional(9.5));
        write("BAT0", { { "status", "Charging" } });
        QCOMPARE(power.read(), std::nullopt);
    }

    void junkIsAbsent()
    {
        for (const char* power :
            { "", "0", "lots", "99999999999999999999", "20000000000000", "-9223372036854775808" }) {
            init();
            write("BAT0", battery("Discharging", { { "power_now", power } }));
            QCOMPARE_ROW(power, read(), std::nullopt);
            write("BAT0", { { "current_now", power }, { "voltage_now", power } });
            QCOMPARE_ROW(power, read(), std::nullopt);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SystemPowerTest)
#include "SystemPowerTest.moc"
