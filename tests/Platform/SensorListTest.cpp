#include "Platform/Machine/SensorList.h"
#include "Platform/Machine/SensorKinds.h"
#include "Platform/Machine/Sensors.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SensorsMachine.h"
#include "tests/Support/TestHome.h"

#include <future>

using namespace kestrum;
using Kind = SensorDevice::Kind;

namespace {

constexpr const char* boardInput = "sys/devices/virtual/thermal/thermal_zone0/hwmon0/temp1_input";
constexpr const char* graphicsState = "sys/devices/pci0000:00/0000:00:01.0/0000:01:00.0/power/runtime_status";

} // namespace

class SensorListTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void machines()
    {
        const struct {
            const char* name;
            const char* devices;
            const char* inputs;
            const char* ids;
            const char* fans;
            const char* watts;
        } rows[] {
            { "laptop",
                "cpu 48; disk \"WD_BLACK SN850X 2000GB\" 41.85; mainboard 38; chipset 51; wiFi 47; battery "
                "31; "
                "other \"thinkpad\" 49;",
                "Package id 0 48, Core 0 47, Core 1 52, ; Composite 41.85, Sensor 1 55.85, ; temp1 38, ; "
                "temp1 51, ; "
                "temp1 47, ; temp1 31, ; CPU 49, temp3 40, ;",
                "coretemp-isa-0000; nvme-pci-0100; acpitz-virtual-0; pch_cannonlake-virtual-0; "
                "iwlwifi_1-virtual-0; BAT0-acpi-0; thinkpad-isa-0000;",
                "Processor fan 2700;", "-" },
            // Disks have the order of their buses and not the kernel's. The disk that must not be asked is not there.
            { "amd-desktop",
                "cpu 47.5; gpu 52; disk#1 \"Samsung SSD 980 PRO 1TB\" 38.85; "
                "disk#2 \"Samsung SSD 980 PRO 1TB\" 41.85; memory 46.25; mainboard 36;",
                "Tctl 74.5, Tdie 47.5, Tccd1 88, ; edge 52, junction 66, mem 70, ; Composite 38.85, ; "
                "Composite 41.85, Sensor 1 55.85, ; spd5118-i2c-0-51 44.5, spd5118-i2c-0-53 46.25, ; SYSTIN "
                "36, ;",
                "k10temp-pci-00c3; amdgpu-pci-0300; nvme-pci-0100; nvme-pci-1000; spd5118-i2c-0-51; "
                "nct6795-isa-0290;",
                "#1 1340; #2 0; #3 900;", "33" },
            { "server", "cpu#1 58; cpu#2 64; other \"dell_smm\" 30;",
                "Package id 0 58, Core 0 71, ; Package id 1 64, Core 0 63, ; CPU 30, ;",
                "coretemp-isa-0000; coretemp-isa-0001; dell_smm-isa-0001;", "#1 9800; #2 9750;", "-" },
            { "laptop-with-graphics", "cpu 55; gpu asleep; other \"thinkpad\" 57;",
                "Package id 0 55, Core 0 61, Core 1 54, ; ; CPU 57, GPU 0, ;",
                "coretemp-isa-0000; nouveau-pci-0100; thinkpad-isa-0000;", "#1 2700;", "-" },
            { "small-board", "cpu 52.582;", "temp1 52.582, ;", "cpu_thermal-virtual-0;", "", "-" },
            { "virtual", "", "", "", "", "-" },
            { "hostile", "", "", "", "", "-" },
        };
        for (const auto& row : rows) {
            SensorsMachine machine(row.name);
            for (int times = 0; times < 2; ++times)
                QCOMPARE_ROW(row.name, machine.read("devices"), QByteArray(row.devices));
            QCOMPARE_ROW(row.name, machine.read("inputs"), QByteArray(row.inputs));
            QCOMPARE_ROW(row.name, machine.read("ids"), QByteArray(row.ids));
            QCOMPARE_ROW(row.name, machine.read("fans"), QByteArray(row.fans));
            QCOMPARE_ROW(row.name, machine.read("watts"), QByteArray(row.watts));
        }
    }

    void driversTellTheKind()
    {
        const std::pair<const char*, Kind> rows[] {
            { "coretemp", Kind::cpu },
            { "zenpower", Kind::cpu },
            { "k10temp", Kind::cpu },
            { "k8temp", Kind::cpu },
            { "via_cputemp", Kind::cpu },
            { "cpu0_thermal", Kind::cpu },
            { "i915", Kind::gpu },
            { "xe", Kind::gpu },
            { "radeon", Kind::gpu },
            { "nouveau", Kind::gpu },
            { "amdgpu", Kind::gpu },
            { "nvidia", Kind::gpu },
            { "gpu_thermal", Kind::gpu },
            { "nvme", Kind::disk },
            { "drivetemp", Kind::disk },
            { "jc42", Kind::memory },
            { "spd5118", Kind::memory },
            { "it8688", Kind::mainboard },
            { "asusec", Kind::mainboard },
            { "ath10k_hwmon", Kind::wiFi },
            { "mt7921_phy0", Kind::wiFi },
            { "pch_skylake", Kind::chipset },
            { "r8169_0_300:00", Kind::network },
            { "igc_0000:05:00.0", Kind::network },
            { "BAT1", Kind::battery },
            { "xen", Kind::other },
            { "nvmem", Kind::other },
            { "gpu", Kind::other },
            { "", Kind::other },
        };
        for (const auto& [driver, kind] : rows)
            QCOMPARE_ROW(driver, SensorKinds::kindOf(driver), kind);
    }

    void theUsersNamesDoNotChangeWhatSensorsStandFor()
    {
        QCOMPARE(SensorKinds::cpuRank("coretemp", "Package id 0", "Processor"), 1);
        QCOMPARE(SensorKinds::cpuRank("coretemp", "Core 0", "Package"), 2);
        QCOMPARE(SensorKinds::cpuRank("k10temp", "Tdie", "Processor"), 1);
        // Only the user knows what is connected to a mainboard.
        QCOMPARE(SensorKinds::cpuRank("it8688", "temp1", "CPU Temp"), SensorChip::worstRank);
        QCOMPARE(SensorKinds::cpuRank("it8688", "temp1", "CPUTIN"), 0);
    }

    void theUsersNameOfTheSensorIsTheDevices()
    {
        // The library's own configuration names the first sensor of this chip.
        SensorsMachine machine("small-board");
        machine.write("sys/devices/virtual/thermal/thermal_zone0/hwmon0/name", "lm78\n");
        QCOMPARE(machine.read("devices"), "other \"M/B Temp\" 52.582;");
        // With two sensors, neither of them stands for the device.
        SensorsMachine other("small-board");
        other.write("sys/devices/virtual/thermal/thermal_zone0/hwmon0/name", "lm87\n");
        other.write("sys/devices/virtual/thermal/thermal_zone0/hwmon0/temp2_input", "60000\n");
        QCOMPARE(other.read("devices"), "other \"lm87\" 60;");
        QCOMPARE(other.read("inputs"), "M/B Temp 52.582, CPU Temp 60, ;");
    }

    void devicesOfOneNameAreToldApart()
    {
        SensorsMachine machine("small-board");
        QByteArray devices = "cpu#1 52.582;";
        QByteArray ids = "cpu_thermal-virtual-0;";
        for (int zone = 1; zone <= 5; ++zone) {
            const QByteArray number = QByteArray::number(zone);
            const QByteArray device = "devices/virtual/thermal/thermal_zone" + number;
            const QByteArray sensor = device + "/hwmon" + number;
            machine.write("sys/" + sensor + "/name", "cpu_thermal\n");
            machine.write("sys/" + sensor + "/temp1_input", "6" + number + "000\n");
            machine.link("sys/" + sensor + "/device", "../../thermal_zone" + number);
            machine.link("sys/" + device + "/subsystem", "../../../../class/thermal");
            machine.link("sys/class/hwmon/hwmon" + number, "../../" + sensor);
            devices += " cpu#" + QByteArray::number(zone + 1) + " 6" + number + ";";
            ids += " cpu_thermal-virtual-0 /sys/" + device + ";";
        }
        QCOMPARE(machine.read("devices"), devices);
        QCOMPARE(machine.read("ids"), ids);
    }

    void withoutItsBestSensorADeviceHasTheNextOne()
    {
        SensorsMachine machine("amd-desktop");
        machine.remove("sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp2_input");
        machine.remove("sys/devices/pci0000:00/0000:00:02.1/0000:10:00.0/nvme/nvme0/hwmon6/temp1_input");
        QCOMPARE(machine.read("devices"),
            "cpu 74.5; gpu 52; disk#1 \"Samsung SSD 980 PRO 1TB\" 38.85; "
            "disk#2 \"Samsung SSD 980 PRO 1TB\" 55.85; memory 46.25; mainboard 36;");
    }

    void aDiskWithoutAModelIsADisk()
    {
        SensorsMachine machine("laptop");
        const char* model = "sys/devices/pci0000:00/0000:00:06.0/0000:01:00.0/nvme/nvme0/model";
        machine.write(model, "  \n");
        QVERIFY(machine.read("devices").startsWith("cpu 48; disk 41.85; mainboard"));
    }

    void aCardIsReadWhileItIsAwake()
    {
        SensorsMachine machine("laptop-with-graphics");
        QCOMPARE(machine.read("devices"), "cpu 55; gpu asleep; other \"thinkpad\" 57;");
        machine.write(graphicsState, "active\n");
        QCOMPARE(machine.read("devices"), "cpu 55; gpu 99; other \"thinkpad\" 57;");
        QCOMPARE(machine.read("fans"), "#1 2700; #3 4800;");
        machine.write(graphicsState, "suspending\n");
        QCOMPARE(machine.read("devices"), "cpu 55; gpu asleep; other \"thinkpad\" 57;");
        QCOMPARE(
            machine.read("inputs"), "Package id 0 55, Core 0 61, Core 1 54, ; temp1 -, ; CPU 57, GPU 0, ;");
        QCOMPARE(machine.read("fans"), "#1 2700; #3 -;");
    }

    void powerIsThatOfAnAwakeCard()
    {
        SensorsMachine machine("amd-desktop");
        const char* power = "sys/devices/pci0000:00/0000:03:00.0/hwmon/hwmon4/power1_average";
        const auto watts = [&machine] {
            machine.read("devices");
            return machine.read("watts");
        };
        QCOMPARE(watts(), "33");
        for (const char* junk : { "0\n", "-4000000\n", "99000000000\n", "\n" }) {
            machine.write(power, junk);
            QCOMPARE_ROW(junk, watts(), QByteArray("-"));
        }
        machine.write(power, "4500000\n");
        QCOMPARE(watts(), "4.5");
        machine.write("sys/devices/pci0000:00/0000:03:00.0/power/runtime_status", "suspended\n");
        QCOMPARE(watts(), "-");
    }

    void whatIsLostStaysUntilTheNextOpening()
    {
        SensorsMachine machine("laptop");
        machine.read("devices");
        machine.write("sys/devices/platform/thinkpad_hwmon/hwmon/hwmon4/temp1_input", "-128000\n");
        machine.write("sys/devices/platform/thinkpad_hwmon/hwmon/hwmon4/fan1_input", "65535\n");
        machine.remove("sys/class/hwmon/hwmon2");
        machine.remove("sys/class/hwmon/hwmon5");
        QCOMPARE(machine.read("devices"),
            "cpu -; disk \"WD_BLACK SN850X 2000GB\" -; mainboard 38; chipset 51; wiFi 47; battery 31; "
            "other \"thinkpad\" 40;");
        QVERIFY(machine.read("inputs").endsWith("CPU -, temp3 40, ;"));
        QCOMPARE(machine.read("fans"), "Processor fan -;");
        machine.read("open");
        QCOMPARE(
            machine.read("devices"), "mainboard 38; chipset 51; wiFi 47; battery 31; other \"thinkpad\" 40;");
        QVERIFY(machine.read("inputs").endsWith("; temp3 40, ;"));
        QCOMPARE(machine.read("fans"), "");
    }

    void aSlowDeviceIsReadEveryTenthTime()
    {
        SensorsMachine machine("small-board");
        const auto readSlowly = [&machine](const char* slowness) {
            machine.read(slowness);
            return machine.read("devices");
        };
        readSlowly("slow 1 21");
        QCOMPARE(readSlowly("slow 1 21"), "cpu 52.582;");
        machine.write(boardInput, "60000\n");
        for (int times = 2; times <= SlowDevice::slowInterval; ++times)
            QCOMPARE(machine.read("devices"), "cpu 52.582;");
        QCOMPARE(machine.read("devices"), "cpu 60;");
        // It was quick now.
        machine.write(boardInput, "61000\n");
        QCOMPARE(machine.read("devices"), "cpu 61;");
        readSlowly("slow 1 20");
        readSlowly("slow 1 20");
        machine.write(boardInput, "62000\n");
        QCOMPARE(machine.read("devices"), "cpu 62;");
    }

    void aVerySlowDeviceIsReadOncePerOpening()
    {
        SensorsMachine machine("small-board");
        for (int times = 0; times < 2; ++times) {
            machine.read("slow 1 201");
            QCOMPARE(machine.read("devices"), "cpu 52.582;");
        }
        machine.write(boardInput, "60000\n");
        for (int times = 0; times < 3 * SlowDevice::slowInterval; ++times)
            QCOMPARE(machine.read("devices"), "cpu 52.582;");
        machine.read("open");
        QCOMPARE(machine.read("devices"), "cpu 60;");
    }

    // A reading takes long also when the thread has to wait for a core.
    void oneSlowReadingDoesNotMakeADeviceSlow()
    {
        SensorsMachine machine("small-board");
        for (const char* slowness : { "slow 1 500", "slow 1 0", "slow 1 500", "slow 1 0" }) {
            machine.read(slowness);
            machine.read("devices");
        }
        machine.write(boardInput, "60000\n");
        QCOMPARE(machine.read("devices"), "cpu 60;");
    }

    void devicesThatWereNotReadSaySo()
    {
        SensorsMachine machine("server");
        for (int times = 0; times < 2; ++times) {
            machine.read("slow 1 300");
            machine.read("devices");
            QCOMPARE(machine.read("old"), "");
        }
        machine.read("devices");
        QCOMPARE(machine.read("old"), "coretemp-isa-0000;");
        machine.read("open");
        machine.read("devices");
        QCOMPARE(machine.read("old"), "");
    }

    void aSlowDeviceSlowsNoOther()
    {
        SensorsMachine machine("server");
        for (int times = 0; times < 2; ++times) {
            machine.read("slow 1 300");
            QCOMPARE(machine.read("devices"), "cpu#1 58; cpu#2 64; other \"dell_smm\" 30;");
        }
        machine.write("sys/devices/platform/coretemp.0/hwmon/hwmon0/temp1_input", "90000\n");
        machine.write("sys/devices/platform/coretemp.1/hwmon/hwmon1/temp1_input", "91000\n");
        QCOMPARE(machine.read("devices"), "cpu#1 58; cpu#2 91; other \"dell_smm\" 30;");
    }

    void aReaderWaitsForAnotherOneButNotForever()
    {
        SensorList list;
        auto lock = std::make_unique<SensorChips::Lock>(SensorChips::ofThisMachine().lock());
        QVERIFY(*lock);
        const auto read = [&list] { return list.read().has_value(); };
        auto item
            = std::async(std::launch::async, [] { return Sensors().read({ .cpu = true }).has_value(); });
        QCOMPARE(std::async(std::launch::async, read).get(), false);
        QVERIFY2(!item.get(), "what could not be read looks like a missing sensor");
        auto answer = std::async(std::launch::async, read);
        QVERIFY(answer.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout);
        lock.reset();
        QCOMPARE(answer.get(), true);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SensorListTest)
#include "SensorListTest.moc"
