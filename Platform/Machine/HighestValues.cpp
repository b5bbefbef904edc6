// SPDX-License-Identifier: MIT
#include "Platform/Machine/HighestValues.h"

#include <cmath>

namespace kestrum {

void HighestValues::add(const QString& id, const std::optional<double>& value, Clock::time_point now)
{
    if (!value || !std::isfinite(*value))
        return;
    if (!m_since)
        m_since = now;
    const auto known = m_values.find(id);
    if (known == m_values.end())
        m_values.insert(id, *value);
    else if (*known < *value)
        *known = *value;
}

void HighestValues::reset()
{
    m_values.clear();
    m_since.reset();
}

} // namespace kestrum
