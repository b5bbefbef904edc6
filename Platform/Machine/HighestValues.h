// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>
#include <chrono>
#include <optional>

namespace kestrum {

/// The highest value of each device and fan since it was first seen, in memory only.
class HighestValues {
public:
    using Clock = std::chrono::system_clock;

    /// Takes note of a value in any unit. An absent or infinite one is ignored. Only tests pass `now`.
    void add(const QString& id, const std::optional<double>& value, Clock::time_point now = Clock::now());

    /// Forgets all values; the next ones are the first.
    void reset();

    const QHash<QString, double>& values() const { return m_values; }
    /// When the first value was added; nothing if there is none.
    const std::optional<Clock::time_point>& since() const { return m_since; }

private:
    QHash<QString, double> m_values;
    std::optional<Clock::time_point> m_since;
};

} // namespace kestrum
