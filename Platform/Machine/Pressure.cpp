// SPDX-License-Identifier: MIT
#include "Platform/Machine/Pressure.h"

#include "Platform/Machine/KernelText.h"

#include <algorithm>

namespace kestrum {

Pressure::Pressure(Resource resource, const QString& root)
    : m_file(root
        + (resource == Resource::memory ? QStringLiteral("/proc/pressure/memory")
                                        : QStringLiteral("/proc/pressure/io")))
{
}

std::optional<double> Pressure::read()
{
    return shareIn(m_file.read().value_or(std::string_view()));
}

// The line is "some avg10=1.53 avg60=0.87 avg300=0.21 total=1234567"; the line "full" has the same form. The averages
// are in percent, with two decimals.
std::optional<double> Pressure::shareIn(std::string_view content)
{
    static constexpr std::string_view label = "avg10=";
    while (!content.empty()) {
        std::string_view line = KernelText::takeLine(content);
        if (KernelText::takeWord(line) != "some")
            continue;
        std::string_view word = KernelText::takeWord(line);
        if (!word.starts_with(label))
            return std::nullopt;
        word.remove_prefix(label.size());
        const auto whole = KernelText::wholeNumber<quint32>(KernelText::takeUpTo('.', word));
        const auto hundredths = KernelText::wholeNumber<quint32>(word);
        if (!whole || !hundredths || word.size() != 2)
            return std::nullopt;
        return std::min((double(*whole) + double(*hundredths) / 100) / 100, 1.0);
    }
    return std::nullopt;
}

} // namespace kestrum
