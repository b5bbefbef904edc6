// SPDX-License-Identifier: MIT
#include "Platform/Machine/CPUFrequency.h"

#include "Platform/Machine/KernelText.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <utility>

namespace kestrum {
namespace {

// No processor runs faster. A larger value is an error of the firmware.
constexpr double largestHertz = 100e9;

std::optional<double> plausible(double hertz)
{
    return hertz > 0 && hertz <= largestHertz ? std::optional(hertz) : std::nullopt;
}

} // namespace

CPUFrequency::CPUFrequency(const QString& root)
    : m_root(root)
    , m_folder(root + QStringLiteral("/sys/devices/system/cpu/cpufreq/"))
    , m_cpuInfo(root + QStringLiteral("/proc/cpuinfo"))
{
}

std::optional<double> CPUFrequency::read()
{
    const auto hertz = ofPolicies();
    // Here the kernel writes pages about every core, so this file comes second.
    return hertz ? hertz : ofCPUInfo(m_cpuInfo.read().value_or(std::string_view()));
}

// The first of the kernel's pages about the cores tells enough.
bool CPUFrequency::isReported()
{
    constexpr qint64 pageSize = 4096;
    if (!QDir(m_folder).entryList({ QStringLiteral("policy*") }, QDir::Dirs).isEmpty())
        return true;
    QFile info(m_root + QStringLiteral("/proc/cpuinfo"));
    return info.open(QFile::ReadOnly | QFile::Unbuffered) && info.read(pageSize).contains("cpu MHz");
}

std::optional<double> CPUFrequency::ofPolicies()
{
    // Policies come and go with the cores that are switched on.
    if (m_untilSearch-- <= 0)
        findPolicies();
    std::optional<double> highest;
    // Each core can be a group of its own, so the files do not stay open.
    for (const QString& policy : std::as_const(m_policies))
        highest = std::max(highest, ofPolicy(KernelFile(policy).readWord()));
    return highest;
}

std::optional<double> CPUFrequency::ofPolicy(std::string_view text)
{
    return plausible(double(KernelText::wholeNumber<qint64>(text).value_or(0)) * 1e3);
}

std::optional<double> CPUFrequency::ofCPUInfo(std::string_view content)
{
    std::optional<double> highest;
    while (!content.empty()) {
        std::string_view line = KernelText::takeLine(content);
        if (KernelText::trimmed(KernelText::takeUpTo(':', line)) == "cpu MHz")
            highest = std::max(highest,
                plausible(KernelText::wholeNumber<double>(KernelText::trimmed(line)).value_or(0) * 1e6));
    }
    return highest;
}

void CPUFrequency::findPolicies()
{
    m_untilSearch = KernelFile::longestPause;
    m_policies.clear();
    for (const QString& name : QDir(m_folder).entryList({ QStringLiteral("policy*") }, QDir::Dirs))
        m_policies.append(m_folder + name + QStringLiteral("/scaling_cur_freq"));
}

} // namespace kestrum
