// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Readings/PopoverReader.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/PopoverFixture.h"
#include "tests/Support/TestHome.h"

#include <QTest>

namespace kestrum {

/// What tests of popovers' readings share: a machine of files, and a reader of it.
class PopoverMachineTest : public QObject {
protected:
    /// Makes an empty machine of four cores. Call this before each test.
    void begin()
    {
        forgetSettings();
        m_fixture.reset();
        m_machine = std::make_unique<FakeMachine>(4);
        m_fixture = std::make_unique<PopoverFixture>(*m_machine);
    }
    void end()
    {
        m_fixture.reset();
        m_machine.reset();
    }

    /// The files of a machine that has everything.
    static void fill(const PopoverFixture& fixture)
    {
        fixture.write("proc/meminfo",
            "MemTotal: 100000 kB\nMemFree: 10000 kB\nMemAvailable: 40000 kB\nSwapTotal: 50000 kB\n"
            "SwapFree: 20000 kB\nZswap: 5000 kB\nAnonPages: 30000 kB\nShmem: 4000 kB\n");
        fixture.write("proc/pressure/memory", "some avg10=4.00 avg60=0.00 avg300=0.00 total=0\n");
        fixture.write("proc/pressure/io", "some avg10=2.00 avg60=0.00 avg300=0.00 total=0\n");
        fixture.write("proc/loadavg", "5.24 3.96 2.71 2/500 999\n");
        fixture.write("proc/uptime", "273600.33 1000.00\n");
        fixture.write("proc/diskstats", "   8       0 sda 10 0 1000 5 20 0 2000 6 0 7 8\n");
        fixture.write("sys/block/sda/hidden", "0\n");
        fixture.write("proc/self/mountinfo", localLine(1, "/"));
        fixture.write("sys/devices/system/cpu/cpufreq/policy0/scaling_cur_freq", "1200000\n");
        fixture.write("sys/devices/system/cpu/cpufreq/policy1/scaling_cur_freq", "3420000\n");
        fixture.write("sys/class/powercap/intel-rapl:0/name", "package-0\n");
        fixture.write("sys/class/powercap/intel-rapl:0/max_energy_range_uj", "262143328850\n");
        fixture.write("sys/class/powercap/intel-rapl:0/energy_uj", "1000000\n");
        fixture.write("proc/7/stat", "7 (worker) S 1 7 7 0 -1 0 0 0 0 0 5 5 0 0 20 0 1 0 100 0 10\n");
        fixture.devices.setSensors({ 48.0, {}, {}, {} });
    }

    static void spend(const PopoverFixture& fixture, const QByteArray& microjoules)
    {
        fixture.write("sys/class/powercap/intel-rapl:0/energy_uj", microjoules + '\n');
    }

    const CPUPopoverReadings& cpu() const { return m_fixture->readings().cpu; }
    const MemoryPopoverReadings& memory() const { return m_fixture->readings().memory; }

    /// Opens the CPU's popover and waits until its rows are decided.
    void openCPU()
    {
        m_fixture->open(MonitorSection::cpu);
        QTest::qWait(20); // the power is that of this time
        spend(*m_fixture, QByteArray::number(m_joules += 1'000'000));
        m_fixture->tick();
    }

    std::unique_ptr<FakeMachine> m_machine;
    std::unique_ptr<PopoverFixture> m_fixture;
    int m_joules = 1'000'000;
};

} // namespace kestrum
