// SPDX-License-Identifier: MIT
#include "Platform/Machine/Pressure.h"

#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

void runPressure(std::string_view input)
{
    const auto share = Pressure::shareIn(input);
    expect(!share || (*share >= 0 && *share <= 1), "pressure is a share");
}

const FuzzTarget pressureTarget("Pressure", runPressure);

} // namespace
} // namespace kestrum
