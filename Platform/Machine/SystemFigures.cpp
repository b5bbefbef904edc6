// SPDX-License-Identifier: MIT
#include "Platform/Machine/SystemFigures.h"

#include "Platform/Machine/KernelText.h"

namespace kestrum {
namespace {

// Larger than any number in these files, and small enough for every use of them. It also keeps out infinity.
constexpr double largestFigure = 1e12;

std::optional<double> takeFigure(std::string_view& line)
{
    const auto number = KernelText::wholeNumber<double>(KernelText::takeWord(line));
    return number && *number >= 0 && *number <= largestFigure ? number : std::nullopt;
}

} // namespace

LoadAverage::LoadAverage(const QString& root)
    : m_file(root + QStringLiteral("/proc/loadavg"))
{
}

// The line is "0.52 0.58 0.59 2/1213 45789".
std::optional<std::array<double, 3>> LoadAverage::read()
{
    std::string_view line = m_file.readWord();
    std::array<double, 3> loads {};
    for (double& load : loads) {
        const auto figure = takeFigure(line);
        if (!figure)
            return std::nullopt;
        load = *figure;
    }
    return loads;
}

Uptime::Uptime(const QString& root)
    : m_file(root + QStringLiteral("/proc/uptime"))
{
}

// The line is "351735.47 2709381.05"; the second number is the time that all processors were idle.
std::optional<std::chrono::seconds> Uptime::read()
{
    std::string_view line = m_file.readWord();
    const auto seconds = takeFigure(line);
    return seconds ? std::optional(std::chrono::seconds(qint64(*seconds))) : std::nullopt;
}

} // namespace kestrum
