// SPDX-License-Identifier: MIT
#include "Platform/Machine/SensorKinds.h"

#include "Platform/Machine/KernelText.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

// A line each for the driver, the kernel's label and that of the configuration.
void runSensorKinds(std::string_view input)
{
    const std::string_view driver = KernelText::takeLine(input);
    const std::string_view own = KernelText::takeLine(input);
    const std::string_view label = KernelText::takeLine(input);
    const auto kind = SensorKinds::kindOf(driver);
    const auto cpu = SensorKinds::cpuRank(driver, own, label);
    const auto gpu = SensorKinds::gpuRank(driver, own);
    const auto best = SensorKinds::ownRank(driver, own);
    for (const SensorChip::Rank rank : { cpu, gpu, best })
        expect(rank >= 0 && rank <= SensorChip::worstRank, "a rank is one of the ranks");
    expect(best > 0, "every sensor stands for its device");
    expect((gpu > 0) == (kind == SensorDevice::Kind::gpu), "only graphics cards stand for a GPU");
    expect(kind != SensorDevice::Kind::cpu || cpu > 0, "every sensor of a CPU can stand for it");
}

const FuzzTarget sensorKindsTarget("SensorKinds", runSensorKinds);

} // namespace
} // namespace kestrum
