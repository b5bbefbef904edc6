#include "tests/Support/Rows.h"
#include "tests/Support/SensorsMachine.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

namespace {

constexpr const char* everything = "cpu gpu hottest fan";

} // namespace

class SensorsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void machines()
    {
        const std::pair<const char*, const char*> rows[] {
            // The CPU's value is the package's, not the hottest core's. A sleeping card and a starting fan are skipped.
            { "laptop-with-graphics", "55 - 61 2700" },
            // An AMD processor is measured at its die, and a graphics card at its edge. Unconnected inputs are ignored.
            { "amd-desktop", "47.5 52 88 1340" },
            { "small-board", "52.582 - 52.582 -" },
            { "server", "64 - 71 9800" },
            { "virtual", "- - - -" },
            { "hostile", "- - - -" },
        };
        for (const auto& [name, values] : rows) {
            SensorsMachine machine(name);
            for (int times = 0; times < 2; ++times)
                QCOMPARE_ROW(name, machine.read(everything), QByteArray(values));
        }
    }

    void onlyWhatIsWantedIsGiven()
    {
        SensorsMachine machine("amd-desktop");
        QCOMPARE(machine.read("cpu"), "47.5 - - -");
        QCOMPARE(machine.read("gpu"), "- 52 - -");
        QCOMPARE(machine.read("hottest"), "- - 88 -");
        QCOMPARE(machine.read("fan"), "- - - 1340");
        QCOMPARE(machine.read(""), "- - - -");
    }

    void aCardIsReadOnceItIsAwake()
    {
        SensorsMachine machine("laptop-with-graphics");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
        const char* state = "sys/devices/pci0000:00/0000:00:01.0/0000:01:00.0/power/runtime_status";
        machine.write(state, "active\n");
        QCOMPARE(machine.read(everything), "55 99 99 4800");
        machine.write(state, "suspending\n");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
    }

    void withoutADieTheControlValueStandsForIt()
    {
        SensorsMachine machine("amd-desktop");
        machine.remove("sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp2_input");
        QCOMPARE(machine.read("cpu"), "74.5 - - -");
    }

    void aSensorIsKnownByItsChipWhateverItsNumber()
    {
        SensorsMachine machine("laptop-with-graphics");
        QCOMPARE(machine.read("cpu"), "55 - - -");
        // The driver was loaded again with another number. Its old number now belongs to another chip.
        machine.remove("sys/class/hwmon/hwmon3");
        machine.remove("sys/class/hwmon/hwmon5");
        machine.rename(
            "sys/devices/platform/coretemp.0/hwmon/hwmon3", "sys/devices/platform/coretemp.0/hwmon/hwmon9");
        machine.link("sys/class/hwmon/hwmon9", "../../devices/platform/coretemp.0/hwmon/hwmon9");
        machine.link("sys/class/hwmon/hwmon3", "../../devices/platform/thinkpad_hwmon/hwmon/hwmon5");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
    }

    void aSensorThatGoesIsAbsentAndComesBack()
    {
        SensorsMachine machine("small-board");
        const char* input = "sys/devices/virtual/thermal/thermal_zone0/hwmon0/temp1_input";
        QCOMPARE(machine.read(everything), "52.582 - 52.582 -");
        machine.remove(input);
        QCOMPARE(machine.read(everything), "- - - -");
        machine.write(input, "40000\n");
        QCOMPARE(machine.read(everything), "40 - 40 -");
    }

    void aFanThatStandsStillTurnsAtZero()
    {
        SensorsMachine machine("amd-desktop");
        machine.write("sys/devices/platform/nct6775.656/hwmon/hwmon2/fan1_input", "0\n");
        machine.write("sys/devices/pci0000:00/0000:03:00.0/hwmon/hwmon4/fan1_input", "0\n");
        QCOMPARE(machine.read("fan"), "- - - 0");
    }

    void aFanIsNotFasterThanFansCanBe()
    {
        SensorsMachine machine("laptop-with-graphics");
        const char* fan = "sys/devices/platform/thinkpad_hwmon/hwmon/hwmon5/fan1_input";
        machine.write(fan, "29999\n");
        QCOMPARE(machine.read("fan"), "- - - 29999");
        machine.write(fan, "30000\n");
        QCOMPARE(machine.read("fan"), "- - - -");
    }

    void aSlowDeviceIsReadRarelyAndSlowsNoOther()
    {
        const struct {
            const char* slowness;
            int interval;
        } rows[] {
            { "slow 2 20", 1 },
            { "slow 2 21", SlowDevice::slowInterval },
            { "slow 2 201", Sensors::verySlowInterval },
        };
        for (const auto& [slowness, interval] : rows) {
            SensorsMachine machine("amd-desktop");
            // The graphics card's fan is read first, then the mainboard's.
            for (int times = 0; times < 2; ++times) {
                machine.read(slowness);
                QCOMPARE_ROW(slowness, machine.read("fan cpu"), QByteArray("47.5 - - 1340"));
            }
            machine.write("sys/devices/platform/nct6775.656/hwmon/hwmon2/fan1_input", "1500\n");
            machine.write("sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp2_input", "50000\n");
            for (int times = 1; times < interval; ++times)
                QCOMPARE_ROW(slowness, machine.read("fan cpu"), QByteArray("50 - - 1340"));
            QCOMPARE_ROW(slowness, machine.read("fan cpu"), QByteArray("50 - - 1500"));
        }
    }

    void whatIsNewlyWantedIsReadAtOnce()
    {
        SensorsMachine machine("small-board");
        for (int times = 0; times < 2; ++times) {
            machine.read("slow 1 21");
            machine.read("cpu");
        }
        QCOMPARE(machine.read("cpu hottest"), "52.582 - 52.582 -");
    }

    void aSensorThatSaysItIsFaultyIsNotBelieved()
    {
        SensorsMachine machine("server");
        machine.write("sys/devices/platform/coretemp.1/hwmon/hwmon1/temp1_fault", "1\n");
        QCOMPARE(machine.read(everything), "58 - 71 9800");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SensorsTest)
#include "SensorsTest.moc"
