// SPDX-License-Identifier: MIT
#include "Platform/Machine/CPUPower.h"

#include <QDir>
#include <algorithm>

namespace kestrum {
namespace {

// No processor package uses more power. A higher result means that a counter was reset and did not wrap around.
constexpr double largestPackageWatts = 5000;

} // namespace

CPUPower::CPUPower(const QString& root)
    : m_folder(root + QStringLiteral("/sys/class/powercap/"))
{
}

std::optional<double> CPUPower::read(Clock::time_point now)
{
    if (m_packages.empty()) {
        if (m_passOver-- > 0)
            return std::nullopt;
        m_passOver = KernelFile::longestPause;
        findPackages();
    }
    const double seconds = std::chrono::duration<double>(now - m_before).count();
    m_before = now;
    bool isWhole = !m_packages.empty() && seconds > 0;
    double joules = 0;
    for (Package& package : m_packages) {
        const auto spent = package.spent();
        isWhole = isWhole && spent;
        joules += double(spent.value_or(0)) / 1e6;
    }
    const double watts = isWhole ? joules / seconds : 0;
    // A running processor uses some power. A counter that stands still, as in virtual machines, does not measure it.
    if (watts <= 0 || watts > largestPackageWatts * double(m_packages.size()))
        return std::nullopt;
    return watts;
}

bool CPUPower::isDenied() const
{
    return std::any_of(m_packages.begin(), m_packages.end(),
        [](const Package& package) { return package.energy.isDenied(); });
}

void CPUPower::pause()
{
    for (Package& package : m_packages)
        package.before.reset();
}

std::optional<qint64> CPUPower::Package::spent()
{
    const auto last = before;
    before = energy.readNumber();
    if (before && (*before < 0 || *before > range))
        before.reset();
    if (!last || !before)
        return std::nullopt;
    return *before >= *last ? *before - *last : *before - *last + range;
}

// The folder "intel-rapl:0" is a processor package, also of AMD. "intel-rapl:0:1" is a part of this package, and
// "intel-rapl-mmio:0" is the same package again. A folder whose file "name" contains "psys" measures the whole machine on
// some models. So a folder counts only if its file "name" begins with "package-".
void CPUPower::findPackages()
{
    for (const QString& name : QDir(m_folder).entryList({ QStringLiteral("intel-rapl:*") }, QDir::Dirs)) {
        const QString folder = m_folder + name + u'/';
        if (!KernelFile(folder + QStringLiteral("name")).readWord().starts_with("package-"))
            continue;
        const auto range = KernelFile(folder + QStringLiteral("max_energy_range_uj")).readNumber();
        if (range && *range > 0)
            m_packages.push_back({ KernelFile(folder + QStringLiteral("energy_uj")), *range, {} });
    }
}

} // namespace kestrum
