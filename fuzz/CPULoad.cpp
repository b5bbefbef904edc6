// SPDX-License-Identifier: MIT
#include "Platform/Machine/CPULoad.h"

#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <functional>
#include <tuple>

namespace kestrum {

namespace {

constexpr int fastProcessors = 4;

bool isShare(double value)
{
    return value >= 0 && value <= 1;
}

void loadsAreSound(const CPULoad& load)
{
    expect(isShare(load.total()), "the load is a share");
    expect(std::all_of(load.cores().begin(), load.cores().end(), isShare), "each core's load is a share");
    expect(
        std::all_of(load.history().begin(), load.history().end(), isShare), "each load of before is a share");
    expect(load.history().size() <= CPULoad::historyLength, "the history is not long");
    const QList<int>& numbers = load.numbers();
    expect(numbers.size() == load.cores().size(), "each core has a number");
    const auto isFast = [](int number) { return number < fastProcessors; };
    const auto fast = std::find_if(numbers.begin(), numbers.end(), isFast);
    expect(std::all_of(fast, numbers.end(), isFast), "the fastest level comes last");
    expect(
        load.performanceCount() == int(numbers.end() - fast), "the cores of the fastest level are counted");
    for (const auto& [begin, end] : { std::pair(numbers.begin(), fast), std::pair(fast, numbers.end()) })
        expect(std::adjacent_find(begin, end, std::greater_equal<>()) == end,
            "a level has each core once, in order");
}

// The file "stat" at three moments, on a machine whose first processors are fast.
void runCPULoad(std::string_view input)
{
    CPULoad load([] { return QList<QList<int>> { { 0, 1, 2, 3 } }; });
    for (const std::string_view moment : parts(input, 3)) {
        load.sample(moment);
        loadsAreSound(load);
        const auto state
            = [&load] { return std::tuple(load.total(), load.cores(), load.numbers(), load.history()); };
        const auto before = state();
        load.sample(moment);
        expect(state() == before, "the same counters change nothing");
    }
    load.pause();
    expect(load.history().isEmpty(), "a pause begins a new history");
}

const FuzzTarget cpuLoadTarget("CPULoad", runCPULoad);

} // namespace
} // namespace kestrum
