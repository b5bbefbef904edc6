#include "Platform/Machine/Battery.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;
using Status = BatteryState::Status;

class BatteryTest : public QObject {
    Q_OBJECT
private:
    using Attributes = QList<std::pair<const char*, QByteArray>>;
    void write(const char* supply, const Attributes& attributes) const
    {
        for (const auto& [name, value] : attributes)
            m_tree->write(path(supply, name), value + '\n');
    }
    static QString path(const char* supply, const char* file)
    {
        return QStringLiteral("sys/class/power_supply/%1/%2")
            .arg(QLatin1StringView(supply), QLatin1StringView(file));
    }
    static Attributes battery(const char* status, const Attributes& others)
    {
        return Attributes { { "type", "Battery" }, { "status", status } } + others;
    }
    static Attributes energy(const char* now, const char* full, const char* power)
    {
        return { { "energy_now", now }, { "energy_full", full }, { "power_now", power } };
    }
    /// The state after reads in the course of 20 s.
    std::optional<BatteryState> read() const
    {
        Battery battery(m_tree->root());
        for (const auto time : { 0s, 5s, 10s, 15s })
            battery.read(m_start + time);
        return battery.read(m_start + 20s);
    }

    std::unique_ptr<FileTree> m_tree;
    const std::chrono::nanoseconds m_start = 1000s;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void batteriesAreAsOne()
    {
        const auto whole = energy("20000000", "40000000", "10000000");
        const struct {
            const char* name;
            QList<std::pair<const char*, Attributes>> supplies;
            std::optional<BatteryState> state;
        } rows[] {
            { "none", { { "AC", { { "type", "Mains" }, { "online", "1" } } } }, {} },
            { "discharging", { { "BAT0", battery("Discharging", whole) } },
                BatteryState { 0.5, Status::discharging, 120 } },
            { "charging", { { "BAT0", battery("Charging", energy("10000000", "40000000", "20000000")) } },
                BatteryState { 0.25, Status::charging, 90 } },
            { "nearly full", { { "BAT0", battery("Charging", energy("39950000", "40000000", "20000000")) } },
                BatteryState { 0.99875, Status::charging, {} } },
            { "a minute until full",
                { { "BAT0", battery("Charging", energy("39800000", "40000000", "12000000")) } },
                BatteryState { 0.995, Status::charging, 1 } },
            { "full", { { "BAT0", battery("Full", energy("40000000", "40000000", "0")) } },
                BatteryState { 1, Status::full, {} } },
            { "held at a limit", { { "BAT0", battery("Not charging", energy("32000000", "40000000", "0")) } },
                BatteryState { 0.8, Status::notCharging, {} } },
            { "unknown status", { { "BAT0", battery("Unknown", whole) } },
                BatteryState { 0.5, Status::notCharging, {} } },
            // Only one of the two works at a time, but the other one's energy lasts too.
            { "two of different sizes",
                { { "BAT0", battery("Full", energy("20000000", "20000000", "0")) },
                    { "BAT1", battery("Discharging", energy("10000000", "60000000", "15000000")) } },
                BatteryState { 0.375, Status::discharging, 120 } },
            { "two that discharge",
                { { "BAT0", battery("Discharging", whole) }, { "BAT1", battery("Discharging", whole) } },
                BatteryState { 0.5, Status::discharging, 120 } },
            { "two of which one charges",
                { { "BAT0", battery("Full", energy("20000000", "20000000", "0")) },
                    { "BAT1", battery("Charging", energy("30000000", "60000000", "15000000")) } },
                BatteryState { 0.625, Status::charging, 120 } },
            { "one of two without a power",
                { { "BAT0", battery("Discharging", whole) },
                    { "BAT1",
                        battery("Discharging", { { "energy_now", "0" }, { "energy_full", "40000000" } }) } },
                BatteryState { 0.25, Status::discharging, {} } },
            { "charge instead of energy",
                { { "BAT0",
                    battery("Discharging",
                        { { "charge_now", "2000000" }, { "charge_full", "4000000" },
                            { "current_now", "-1000000" }, { "voltage_now", "12000000" } }) } },
                BatteryState { 0.5, Status::discharging, 120 } },
            { "charge without a voltage",
                { { "BAT0",
                    battery("Discharging",
                        { { "charge_now", "3000000" }, { "charge_full", "4000000" },
                            { "power_now", "9000000" } }) } },
                BatteryState { 0.75, Status::discharging, {} } },
            { "percentage only",
                { { "BAT0", battery("Discharging", { { "capacity", "78" }, { "power_now", "9000000" } }) } },
                BatteryState { 0.78, Status::discharging, {} } },
            { "two of which one has a percentage only",
                { { "BAT0", battery("Discharging", whole) },
                    { "BAT1", battery("Full", { { "capacity", "100" } }) } },
                BatteryState { 0.75, Status::discharging, {} } },
            { "more than full", { { "BAT0", battery("Full", energy("41000000", "40000000", "0")) } },
                BatteryState { 1, Status::full, {} } },
            { "no power", { { "BAT0", battery("Discharging", energy("20000000", "40000000", "0")) } },
                BatteryState { 0.5, Status::discharging, {} } },
            { "99 hours", { { "BAT0", battery("Discharging", energy("39600000", "79200000", "400000")) } },
                BatteryState { 0.5, Status::discharging, 5940 } },
            { "more than 99 hours",
                { { "BAT0", battery("Discharging", energy("39600000", "79200000", "399000")) } },
                BatteryState { 0.5, Status::discharging, {} } },
            { "a mouse's battery",
                { { "hidpp_battery_0",
                    battery("Discharging", whole + Attributes { { "scope", "Device" } }) } },
                {} },
        };
        for (const auto& row : rows) {
            init();
            for (const auto& [supply, attributes] : row.supplies)
                write(supply, attributes);
            const auto state = read();
            QCOMPARE_ROW(row.name, state.has_value(), row.state.has_value());
            const BatteryState expected = row.state.value_or(BatteryState());
            const BatteryState actual = state.value_or(BatteryState());
            QCOMPARE_ROW(row.name, actual.charge, expected.charge);
            QCOMPARE_ROW(row.name, actual.status, expected.status);
            QCOMPARE_ROW(row.name, actual.minutes, expected.minutes);
        }
    }

    void timeIsThatOfTheLastMinutesMeanPower()
    {
        write("BAT0", battery("Discharging", energy("20000000", "40000000", "10000000")));
        Battery battery(m_tree->root());
        const auto minutes = [&](std::chrono::seconds time, const char* power) {
            write("BAT0", { { "power_now", power } });
            return battery.read(m_start + time)->minutes;
        };
        QCOMPARE(minutes(0s, "10000000"), std::nullopt);
        QCOMPARE(minutes(9s, "10000000"), std::nullopt);
        QCOMPARE(minutes(10s, "10000000"), std::optional(120));
        QCOMPARE(minutes(40s, "50000000"), std::optional(60));
        // A power that cannot be read once is left out.
        QCOMPARE(minutes(41s, ""), std::optional(60));
        QCOMPARE(minutes(69s, "30000000"), std::optional(48));
        QCOMPARE(minutes(90s, "40000000"), std::optional(30));
        // After a suspension, all reads are old.
        QCOMPARE(minutes(4000s, "10000000"), std::nullopt);
    }

    void anotherStatusBeginsAnew()
    {
        write("BAT0", battery("Discharging", energy("20000000", "40000000", "10000000")));
        Battery battery(m_tree->root());
        battery.read(m_start);
        QCOMPARE(battery.read(m_start + 20s)->minutes, std::optional(120));
        write("BAT0", { { "status", "Charging" }, { "power_now", "40000000" } });
        QCOMPARE(battery.read(m_start + 21s), (BatteryState { 0.5, Status::charging, {} }));
        QCOMPARE(battery.read(m_start + 31s), (BatteryState { 0.5, Status::charging, 30 }));
    }

    void aBatteryThatIsTakenOutIsLost()
    {
        write("BAT0", battery("Discharging", energy("20000000", "40000000", "10000000")));
        Battery battery(m_tree->root());
        QCOMPARE(battery.read(m_start)->charge, 0.5);
        QVERIFY(QDir(m_tree->path(QStringLiteral("sys/class/power_supply/BAT0"))).removeRecursively());
        QCOMPARE(battery.read(m_start + 1s), std::nullopt);
        write("BAT1", BatteryTest::battery("Full", { { "capacity", "100" } }));
        QCOMPARE(battery.read(m_start + 2s), (BatteryState { 1, Status::full, {} }));
    }

    void junkIsAbsent()
    {
        for (const char* junk : { "", "lots", "-5", "99999999999999999999" }) {
            init();
            write("BAT0",
                battery(junk,
                    { { "energy_now", junk }, { "energy_full", junk }, { "charge_now", junk },
                        { "charge_full", junk }, { "capacity", junk }, { "power_now", junk } }));
            QCOMPARE_ROW(junk, read().has_value(), false);
            write("BAT0", { { "status", "Discharging" }, { "capacity", "50" } });
            QCOMPARE_ROW(junk, read().value_or(BatteryState()).charge, 0.5);
            write("BAT0",
                { { "energy_now", "9223372036854775807" }, { "energy_full", "9223372036854775807" } });
            QCOMPARE_ROW(junk, read().value_or(BatteryState()).charge, 1.0);
        }
        init();
        write("BAT0", battery("Full", { { "energy_now", "0" }, { "energy_full", "0" } }));
        QCOMPARE(read(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, BatteryTest)
#include "BatteryTest.moc"
