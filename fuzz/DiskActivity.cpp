// SPDX-License-Identifier: MIT
#include "Platform/Machine/DiskActivity.h"

#include "fuzz/FuzzHome.h"
#include "fuzz/FuzzTarget.h"

#include <cmath>

namespace kestrum {

namespace {

// The file "diskstats" at two moments.
void runDiskActivity(std::string_view input)
{
    static const bool isMade = [] {
        for (const char* name : { "sda", "nvme0n1" })
            FuzzHome::write(QStringLiteral("/sys/block/%1/hidden").arg(QLatin1StringView(name)), "0\n");
        FuzzHome::write(QStringLiteral("/sys/block/dm-0/slaves/sda"), "");
        return true;
    }();
    Q_UNUSED(isMade)
    const auto moments = parts(input, 2);
    const QString path = QStringLiteral("/proc/diskstats");
    DiskActivity activity(FuzzHome::root());
    const DiskActivity::Clock::time_point begin;
    FuzzHome::write(path, moments[0]);
    expect(!activity.sample(begin), "one sample gives no rate");
    FuzzHome::write(path, moments[1]);
    const auto rates = activity.sample(begin + std::chrono::seconds(1));
    if (rates) {
        expect(std::isfinite(rates->read) && std::isfinite(rates->write), "rates are numbers");
        expect(rates->read >= 0 && rates->write >= 0, "rates are not negative");
    }
    const auto soon = begin + std::chrono::milliseconds(1010);
    expect(activity.sample(soon) == rates, "a sample too soon changes nothing");
    const auto idle = activity.sample(begin + std::chrono::seconds(2));
    expect(!idle || *idle == DiskActivity::Rates(), "the same counters are no activity");
}

const FuzzTarget diskActivityTarget("DiskActivity", runDiskActivity);

} // namespace
} // namespace kestrum
