// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/SampleReadings.h"

#include <algorithm>
#include <iterator>

namespace kestrum {
namespace {

constexpr double efficiencyLoads[]
    = { 0.18, 0.32, 0.12, 0.44, 0.22, 0.09, 0.51, 0.16, 0.27, 0.35, 0.14, 0.40 };
constexpr double performanceLoads[] = { 0.72, 0.88, 0.64, 0.95, 0.58, 0.81 };
constexpr double historyLoads[] = { 0.14, 0.22, 0.18, 0.35, 0.48, 0.41, 0.62, 0.55, 0.74, 0.68, 0.52, 0.38 };
constexpr int historyLength = 36;

template <std::size_t size> void appendRepeated(QList<double>& list, const double (&loads)[size], int count)
{
    for (int i = 0; i < count; ++i)
        list.append(loads[std::size_t(i) % size]);
}

} // namespace

SampleReadings::SampleReadings()
    : SampleReadings(CoreTopology::tiers(), CoreTopology::totalCores())
{
}

SampleReadings::SampleReadings(const QList<CoreTier>& tiers, int totalCores)
{
    const int total = std::max(totalCores, 1);
    m_performanceCoreCount = tiers.isEmpty() ? 0 : std::clamp(tiers.first().count, 0, total);
    appendRepeated(m_coreUsages, efficiencyLoads, total - m_performanceCoreCount);
    appendRepeated(m_coreUsages, performanceLoads, m_performanceCoreCount);
    appendRepeated(m_cpuHistory, historyLoads, historyLength);
}

} // namespace kestrum
