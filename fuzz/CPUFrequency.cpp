// SPDX-License-Identifier: MIT
#include "Platform/Machine/CPUFrequency.h"

#include "Platform/Machine/KernelText.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr double mostHertz = 100e9;

bool isFrequency(std::optional<double> hertz)
{
    return !hertz || (*hertz > 0 && *hertz <= mostHertz);
}

// The file of a group of cores, and "cpuinfo".
void runCPUFrequency(std::string_view input)
{
    const auto files = parts(input, 2);
    expect(isFrequency(CPUFrequency::ofPolicy(files[0])), "a group's frequency can be true");
    const auto highest = CPUFrequency::ofCPUInfo(files[1]);
    expect(isFrequency(highest), "the highest frequency can be true");
    std::optional<double> highestLine;
    for (std::string_view rest = files[1]; !rest.empty();)
        highestLine = std::max(highestLine, CPUFrequency::ofCPUInfo(KernelText::takeLine(rest)));
    expect(highest == highestLine, "the highest is that of a line");
}

const FuzzTarget cpuFrequencyTarget("CPUFrequency", runCPUFrequency);

} // namespace
} // namespace kestrum
