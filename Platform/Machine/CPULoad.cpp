// SPDX-License-Identifier: MIT
#include "Platform/Machine/CPULoad.h"

#include "Platform/Machine/KernelText.h"
#include "Platform/Machine/KernelValues.h"

#include <algorithm>
#include <numeric>
#include <utility>

// A line of "/proc/stat" is "cpuN user nice system idle iowait irq softirq steal guest guest_nice". The values are
// hundredths of a second since boot. The last two values are skipped, because user and nice already contain them. Waiting
// for a disk (iowait) counts as idle, because another process could run. Time that a hypervisor gave to other machines
// (steal) counts as busy, because there was work to do.
//
// Cores can go offline and come back. A counter can decrease: iowait sometimes does, and the counters of a core that
// comes back start again. So a counter is compared only with its own last value, and a decrease counts as zero.

namespace kestrum {
namespace {

constexpr std::size_t idleCounter = 3;
constexpr std::size_t waitingCounter = 4;
// The largest accepted core number. The kernel can be built for 8192 cores.
constexpr int maximumNumber = 65535;
// The shortest measured time per core, in hundredths of a second. A load over less time would be meaningless.
constexpr quint64 shortestTime = 4;

struct Spent {
    quint64 time = 0;
    quint64 busy = 0;
    bool wentBack = false;
};

template <std::size_t size>
Spent spentBetween(const std::array<quint64, size>& before, const std::array<quint64, size>& now)
{
    // Hundredths of a second; more than 300 years. Longer times are errors, and are cut so that sums cannot overflow.
    static constexpr quint64 longest = quint64(1) << 40;
    Spent spent;
    for (std::size_t i = 0; i < size; ++i) {
        const quint64 time = now[i] > before[i] ? std::min(now[i] - before[i], longest) : 0;
        spent.time += time;
        spent.wentBack = spent.wentBack || now[i] < before[i];
        if (i != idleCounter && i != waitingCounter)
            spent.busy += time;
    }
    return spent;
}

double share(const Spent& spent)
{
    return double(spent.busy) / double(spent.time);
}

} // namespace

CPULoad::CPULoad(const QString& root)
    : m_file(root + QStringLiteral("/proc/stat"))
    , m_levels([root] { return KernelValues(root).levelProcessors(); })
{
}

CPULoad::CPULoad(Levels levels)
    : m_file({})
    , m_levels(std::move(levels))
{
}

void CPULoad::sample()
{
    if (const auto content = m_file.read())
        sample(*content);
}

void CPULoad::sample(std::string_view content)
{
    parse(content);
    if (m_now.empty())
        return;

    const bool sameCores = std::equal(m_now.begin(), m_now.end(), m_base.begin(), m_base.end(),
        [](const Core& one, const Core& other) { return one.number == other.number; });
    Spent sum;
    quint64 compared = 0;
    auto before = m_base.begin();
    for (Core& core : m_now) {
        while (before != m_base.end() && before->number < core.number)
            ++before;
        if (before == m_base.end() || before->number != core.number)
            continue;
        const Spent spent = spentBetween(before->counters, core.counters);
        core.load = spent.time > 0 ? share(spent) : before->load;
        sum.time += spent.time;
        sum.busy += spent.busy;
        sum.wentBack = sum.wentBack || spent.wentBack;
        ++compared;
    }
    const bool counts = compared > 0 && sum.time >= shortestTime * compared;
    if (sameCores && !counts && !sum.wentBack)
        return;

    std::swap(m_base, m_now);
    if (!sameCores)
        arrange();
    if (counts) {
        m_total = share(sum);
        if (m_history.size() == historyLength)
            m_history.removeFirst();
        m_history.append(m_total);
    }
    m_cores.resize(qsizetype(m_order.size()));
    std::transform(m_order.begin(), m_order.end(), m_cores.begin(),
        [this](std::size_t place) { return m_base[place].load; });
}

void CPULoad::pause()
{
    m_base.clear();
    m_history.clear();
}

// The first line, "cpu", holds the sum of all cores and is skipped. The lines of the cores follow.
void CPULoad::parse(std::string_view content)
{
    m_now.clear();
    while (!content.empty()) {
        std::string_view line = KernelText::takeLine(content);
        std::string_view name = KernelText::takeWord(line);
        if (!name.starts_with("cpu"))
            break;
        name.remove_prefix(3);
        const auto number = KernelText::wholeNumber<int>(name);
        const int least = m_now.empty() ? 0 : m_now.back().number + 1;
        if (!number || *number < least || *number > maximumNumber)
            continue;
        Core core { *number, {}, 0 };
        std::size_t known = 0;
        for (quint64& counter : core.counters) {
            const auto value = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
            if (!value)
                break;
            counter = *value;
            ++known;
        }
        // At least four counters are needed. Very old kernels report no more than four.
        if (known > idleCounter)
            m_now.push_back(core);
    }
}

// Sorts the cores by level. Called whenever the set of cores changes; the levels are read again each time.
void CPULoad::arrange()
{
    const QList<QList<int>> levels = m_levels();
    const auto rank = [&levels](int number) {
        for (qsizetype level = 0; level < levels.size(); ++level) {
            if (levels[level].contains(number))
                return level;
        }
        return levels.size();
    };
    std::vector<qsizetype> ranks(m_base.size());
    std::transform(
        m_base.begin(), m_base.end(), ranks.begin(), [&](const Core& core) { return rank(core.number); });
    m_order.resize(m_base.size());
    std::iota(m_order.begin(), m_order.end(), std::size_t(0));
    std::stable_sort(m_order.begin(), m_order.end(),
        [&](std::size_t one, std::size_t other) { return ranks[one] > ranks[other]; });
    m_numbers.resize(qsizetype(m_order.size()));
    std::transform(m_order.begin(), m_order.end(), m_numbers.begin(),
        [this](std::size_t place) { return m_base[place].number; });
    m_performanceCount = levels.isEmpty() ? 0 : int(std::count(ranks.begin(), ranks.end(), 0));
}

} // namespace kestrum
