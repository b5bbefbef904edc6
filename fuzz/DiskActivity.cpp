// SPDX-License-Identifier: MIT
#include "Platform/Machine/DiskActivity.h"

#include "fuzz/FuzzTarget.h"

#include <cmath>

namespace kestrum {

namespace {

bool isDisk(const std::string& name)
{
    return name == "sda" || name == "nvme0n1";
}

// The file "diskstats" at two moments.
void runDiskActivity(std::string_view input)
{
    const auto moments = parts(input, 2);
    DiskActivity activity(isDisk);
    const DiskActivity::Clock::time_point begin;
    expect(!activity.sample(moments[0], begin), "one sample gives no rate");
    const auto rates = activity.sample(moments[1], begin + std::chrono::seconds(1));
    if (rates) {
        expect(std::isfinite(rates->read) && std::isfinite(rates->write), "rates are numbers");
        expect(rates->read >= 0 && rates->write >= 0, "rates are not negative");
    }
    const auto soon = begin + std::chrono::milliseconds(1010);
    expect(activity.sample(moments[0], soon) == rates, "a sample too soon changes nothing");
    const auto idle = activity.sample(moments[1], begin + std::chrono::seconds(2));
    expect(!idle || *idle == DiskActivity::Rates(), "the same counters are no activity");
}

const FuzzTarget diskActivityTarget("DiskActivity", runDiskActivity);

} // namespace
} // namespace kestrum
